# A copy of the checkout below build/mutants/ in which scripts/mutants plants errors: its files, its build, its tests.
import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import time

# The test programs, and the programs that each of them runs besides itself.
TESTS = {
    "mendkit_runtime_test": [],
    "mendkit_config_test": ["devpanel/devpanel"],
    "mendkit_logging_test": [],
    "mendkit_system_test": ["devpanel/devpanel"],
    "mendkit_repair_test": [],
    "mendkit_app_test": [],
    "fixed_texts_test": ["devpanel/devpanel"],
    "program_test": ["app/mendkit", "test/fault_program", "devpanel/devpanel"],
    "failing_calls_test": ["test/failing_calls", "devpanel/devpanel"],
}
LAST = "failing_calls_test"  # the slowest
# After so many seconds without a line of output a test counts as hanging, and so does a program that runs for so many
# times as long as without an error. Both are for a machine that is not busy.
SILENCE = 90
LONGEST = 5
PREPARE = """
ensure_packages "${build_packages[@]}"
ensure_jsoncpp
# Without debug information the programs link in a fraction of the time. The linker's maps tell what they consist of.
[ -e "$build_dir/build.ninja" ] ||
    quietly cmake --preset "$preset" -DCMAKE_BUILD_TYPE=None "-DCMAKE_C_FLAGS=-O2 -DNDEBUG" \
        "-DCMAKE_CXX_FLAGS=-O2 -DNDEBUG" "-DCMAKE_EXE_LINKER_FLAGS=-s -Wl,-Map=%"
quietly cmake --build "$build_dir"
ensure_prefix
"""
NEW_PREFIX = """
make_test_prefix
wineserver --persistent >/dev/null 2>&1 </dev/null || true
start_wine
"""


def started_in(text):
    """The test that the output names last."""
    return (re.findall(r"^\[ RUN      \] ([\w./]+)", text, re.MULTILINE) or [""])[-1]


def load():
    """How many processes want each processor."""
    return os.getloadavg()[0] / os.cpu_count()


class Tree:
    def __init__(self, checkout, number, within):
        self.checkout, self.within = pathlib.Path(checkout), within
        self.root = self.checkout / "build/mutants" / str(number)
        self.build = self.root / "build/release"
        self.unchanged = self.root / "build/unchanged"  # the programs of the unchanged copy

    def shell(self, script, *arguments, **options):
        """Runs a script of this copy's functions (scripts/common.sh)."""
        environment = {**os.environ, "MENDKIT_PRESET": "release"}
        command = ["bash", "-euo", "pipefail", "-c", f'cd "{self.root}"; source scripts/common.sh; {script}', "bash"]
        return subprocess.run([*command, *arguments], env=environment, check=True, start_new_session=True, **options)

    def update(self):
        """Writes the files that differ from the checkout, also those that an interrupted run left changed. Tells a sum of
        what the tests depend on."""
        subprocess.run(["bash", "-euc", "source scripts/common.sh; ensure_packages git"], cwd=self.checkout, check=True)
        listed = subprocess.run(
            ["git", "-c", f"safe.directory={self.checkout}", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
            cwd=self.checkout, stdout=subprocess.PIPE, check=True, text=True).stdout.split("\0")
        files = {name for name in listed if name and (self.checkout / name).is_file()}
        content = hashlib.sha256()
        for name in sorted(files):
            source, copy = self.checkout / name, self.root / name
            if not name.startswith(("docs/", "scripts/")):
                content.update(name.encode() + b"\0" + source.read_bytes() + b"\0")
            if not copy.exists() or copy.read_bytes() != source.read_bytes():
                copy.parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(source, copy)
                shutil.copymode(source, copy)
        for folder, folders, names in os.walk(self.root):
            if pathlib.Path(folder) == self.root and "build" in folders:
                folders.remove("build")
            for name in names:
                path = pathlib.Path(folder, name)
                if str(path.relative_to(self.root)) not in files:
                    path.unlink()
        # What the checkout has already fetched and made. Hard links: neither is written in place.
        for part, sign in ("deps", "jsoncpp/.origin"), ("prefix", ".complete"):
            here, there = self.checkout / "build" / part, self.root / "build" / part
            if (here / sign).exists() and not there.exists():
                there.parent.mkdir(exist_ok=True)
                subprocess.run(["cp", "-al", here, there], check=True)
        return content.hexdigest()

    def prepare(self):
        """Builds the copy and runs its tests once. They must pass."""
        content = self.update()
        self.shell(PREPARE)
        for program in self.build.glob("*/*.exe"):
            (self.unchanged / program.parent.name).mkdir(parents=True, exist_ok=True)
            shutil.copy2(program, self.unchanged / program.parent.name)
        compiled = json.loads((self.build / "compile_commands.json").read_text())
        self.objects = {}
        for unit in compiled:
            name = os.path.relpath(unit["file"], self.root)
            if name.endswith(".cpp"):
                self.objects.setdefault(name, []).append(re.search(r" -o (\S+) ", unit["command"])[1])
        self.parts = {test: self.parts_of(test) for test in TESTS}
        self.usual, self.left_out, self.alone = {}, {}, {}
        self.shell(NEW_PREFIX)
        record = self.build / "usual.json"
        known = json.loads(record.read_text()) if record.exists() else {}
        if known.get("content") == content:
            self.usual, self.left_out, self.alone = known["usual"], known["left out"], known["alone"]
        else:
            for test in TESTS:
                self.try_unchanged(test)
            record.write_text(json.dumps(
                {"content": content, "usual": self.usual, "left out": self.left_out, "alone": self.alone}))
        for test in filter(None, self.left_out.values()):
            print(f"Left out, because it fails without any change: {', '.join(test)}", file=sys.stderr)

    def try_unchanged(self, test):
        """Notes how long the program runs, the tests that fail twice (on a busy machine some are too slow), and those that
        pass by themselves only: another test has changed what their process remembers."""
        started = time.monotonic()
        failed = self.run_test(test, "*", "--gtest_fail_fast=0")
        self.usual[test] = time.monotonic() - started
        self.left_out[test] = [name for name in failed if self.run_test(test, name)]
        self.alone[test] = [name for name in failed if name not in self.left_out[test]]
        if any(" " in name or "." not in name for name in failed):  # it hangs, or fails before its first test
            raise SystemExit(f"Without any change {test} fails.\n{self.output().read_text(errors='replace')}")

    def program(self, test):
        folder = "test" if not test.startswith("mendkit_") else test.split("_")[1]
        return f"{folder}/{test}"

    def parts_of(self, test):
        """The objects that a test reaches, as the linker's maps name them."""
        parts = set()
        for program in [self.program(test), *TESTS[test]]:
            text = (self.build / f"{program}.exe.map").read_text() if program != "app/mendkit" else \
                (self.build / "app/mendkit.map").read_text()
            parts.update(re.findall(r"^\S*?(lib\w+\.a\(\S+\))$", text, re.MULTILINE))
            parts.update(re.findall(r"^LOAD (\S+\.obj)$", text, re.MULTILINE))
        return parts

    def tests_of(self, file):
        """The tests that reach a source file: that of its own folder first, then the quick ones."""
        own = f"mendkit_{file.split('/')[0]}_test"
        names = set(self.objects[file])
        for name in self.objects[file]:
            library = re.search(r"CMakeFiles/(\w+)\.dir/(?:.*/)?([^/]+)$", name)
            names.add(f"lib{library[1]}.a({library[2]})")
        reached = [test for test in TESTS if names & self.parts[test] and self.usual[test] <= self.within]
        return sorted(reached, key=lambda test: (test != own, test == LAST, self.usual[test]))

    def ninja(self, *targets):
        return subprocess.run(["ninja", "-C", self.build, *targets], stdout=subprocess.DEVNULL,
                              stdin=subprocess.DEVNULL, start_new_session=True).returncode == 0

    def output(self):
        return self.build / "test-output.txt"

    def run_test(self, test, only, *options, build=None):
        """The names of the failing tests, by default of the first one alone."""
        folder = (build or self.build) / os.path.dirname(self.program(test))
        command = f'WINEPREFIX=$root/build/test-prefix; cd "{folder}"; exec "$@"'
        command = ["bash", "-c", f'cd "{self.root}"; source scripts/common.sh; {command}', "bash", "wine",
                   f"./{test}.exe", "--gtest_fail_fast", f"--gtest_filter={only}", *options]
        with open(self.output(), "wb") as output:
            process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.DEVNULL,
                                       start_new_session=True)
            size, since = 0, time.monotonic()
            begun, longest = since, max(SILENCE, LONGEST * self.usual.get(test, 7200))
            while process.poll() is None and time.monotonic() - since <= SILENCE * max(1, load()) and \
                    time.monotonic() - begun <= longest * max(1, load()):
                time.sleep(0.05)
                if os.fstat(output.fileno()).st_size != size:
                    size, since = os.fstat(output.fileno()).st_size, time.monotonic()
            hangs = process.poll() is None
            if hangs:
                process.kill()
                process.wait()
                self.close()
        text = self.output().read_text(errors="replace")
        if not hangs and process.returncode == 0:
            return []
        if hangs:
            return [(started_in(text) or test) + " (time limit)"]
        named = re.findall(r"^\[  FAILED  \] ([\w./]+),?.* \(\d+ ms\)", text, re.MULTILINE)
        return named or [started_in(text) or test]

    def run_tests(self, test, chosen, left_out):
        """The first failing test of the chosen ones, by default of all but those left out."""
        alone = [name for name in self.alone[test] if name not in left_out and (not chosen or name in chosen)]
        others = ":".join(name for name in chosen if name not in alone) if chosen else \
            "*-" + ":".join([*left_out, *self.alone[test]])
        for only in filter(None, [others, *alone]):
            if failed := self.run_test(test, only):
                return failed
        return []

    def judge(self, test, likely):
        """The test that notices the error, or "". Runs the likely ones first."""
        left_out = list(self.left_out[test])
        chosen = [name for name in likely if name not in left_out]
        while True:
            failed = self.run_tests(test, chosen, left_out)
            if failed:
                name = failed[0].split()[0]
                if name in left_out or self.is_noticed(test, name):
                    return failed[0]
                left_out.append(name)
                chosen = [other for other in chosen if other != name]
            elif chosen:
                left_out += chosen  # they have passed
                chosen = []
            else:
                return ""

    def is_noticed(self, test, name):
        """Whether the failure is no chance: it repeats in a new prefix and, on a busy machine, the unchanged program has no
        such failure now."""
        self.shell(NEW_PREFIX)
        if "." not in name:
            return True
        fails = self.run_test(test, name)
        if fails and load() > 1:
            self.shell(NEW_PREFIX)
            fails = not self.run_test(test, name, build=self.unchanged)
        self.shell(NEW_PREFIX)
        return bool(fails)

    def plant(self, mutant, likely):
        """The outcome of one error ("not built", "noticed", "survived") and the test that noticed it. The outcome is empty
        when no test reaches the file."""
        if not self.tests_of(mutant.file):
            return "", ""
        path = self.root / mutant.file
        source, times = path.read_text(), path.stat()
        objects = [self.build / name for name in self.objects[mutant.file]]
        for one in objects:
            shutil.copy2(one, f"{one}.right")
        try:
            path.write_text(mutant.apply(source))
            if not self.ninja(*self.objects[mutant.file]):
                return "not built", ""
            for test in self.tests_of(mutant.file):
                if not self.ninja(test):  # the checks of the program's image are part of its build
                    return "noticed", f"build of {test}"
                failed = self.judge(test, likely)
                if failed:
                    return "noticed", failed
            return "survived", ""
        finally:
            # Restores objects with their times, so that ninja does not compile the file again. It would take the
            # older objects for part of the libraries, so these are removed.
            path.write_text(source)
            os.utime(path, ns=(times.st_atime_ns, times.st_mtime_ns))
            for one, name in zip(objects, self.objects[mutant.file]):
                os.replace(f"{one}.right", one)
                for line in subprocess.run(["ninja", "-C", self.build, "-t", "query", name], stdout=subprocess.PIPE,
                                           check=True, text=True).stdout.split("outputs:")[-1].split():
                    if line.endswith((".a", ".exe")):
                        (self.build / line).unlink(missing_ok=True)

    def close(self):
        self.shell("WINEPREFIX=$root/build/test-prefix; wineserver --kill >/dev/null 2>&1 || true")
