# Runs one of the examples under Wine, with every command of the program, right and wrong, and with a stand-in for the
# program that ends, waits and prints in unusual ways. Compares what it tells with what the program itself gives.
# Usage: examples_test.py <source> <build> python|csharp|cpp. Installs the stand-in for the panel into the Wine prefix.
import atexit
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

source, build = map(pathlib.Path, sys.argv[1:3])
language = sys.argv[3]
examples = source / "examples"
prefix = pathlib.Path(os.environ["WINEPREFIX"]) / "drive_c"
panel = prefix / "Program Files/Kelvo Panel"
work = pathlib.Path(tempfile.mkdtemp(dir=prefix))  # below it the stand-in's log: ../../var of its directory
(work / "admin/bin").mkdir(parents=True)
(work / "var").mkdir()
odd = work / "admin/bin/odd.exe"
shutil.copy(build / "devpanel/devutility.exe", odd)
failures = []


def wine(*command, check=True):
    subprocess.run(["wine", *command], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                   check=check)


def callable_as(program):
    """The path of a program for the example. Those that run outside Wine get a script."""
    if language == "cpp":
        return "Z:" + str(program)
    wrapper = work / program.stem
    wrapper.write_text(f'#!/bin/sh\nexec wine "{program}" "$@"\n')
    wrapper.chmod(0o755)
    return wrapper


def example():
    """The command that runs it."""
    if language == "cpp":
        return ["wine", build / "examples/call_mendkit.exe"]
    if language == "python":
        return ["/usr/bin/python3", examples / "call_mendkit.py"]
    compiled = work / "CallMendkit.exe"
    # The newest language that the compiler of the .NET Framework knows.
    subprocess.run(["mcs", "-langversion:5", "-warnaserror", "-r:System.Runtime.Serialization", f"-out:{compiled}",
                    examples / "CallMendkit.cs"], check=True)
    return ["mono", compiled]


def output_of(command, stderr):
    """Its exit code and output. Repeats it when Wine did not start a process: about one start in 3,000."""
    for attempt in range(3):
        # Files: processes that were started by the command may outlive it.
        with tempfile.TemporaryFile() as out, open(__file__, "rb") as unwanted:
            code = subprocess.run(command, stdin=unwanted, stdout=out, stderr=stderr).returncode
            out.seek(0)
            text = out.read().decode()
        if text.strip() and not re.search(r"1359|exit code 0x1\b", text):
            break
    return code, text


def check(name, program, arguments, code, *told, seconds=30):
    """Runs the example. @param told  patterns that match what it prints one after the other"""
    begun = time.monotonic()
    ended, text = output_of([*caller, str(seconds), program, *arguments], subprocess.STDOUT)
    if language == "cpp":
        text = text.replace("\r\n", "\n")
    took = time.monotonic() - begun
    if ended != code or not re.fullmatch(r"\s*".join(told), text.strip(), re.DOTALL) or took > 25:
        failures.append(name)
        print(f"{name}: exit code {ended} instead of {code} after {took:.1f} s, {text[:2000]!r}\n"
              f"  instead of {told!r}")


def figures(command, answer):
    """What the example prints for an answer."""
    if command.endswith("-disk-space"):
        # Other processes of the machine use its disk.
        return [rf"{re.escape(v['volume'])} \d+ of {v['total']} bytes free, used: \d+" for v in answer]
    if command.endswith("-system-resources"):
        return [f"{name}: {answer[name]['free']} of {answer[name]['total']} bytes free" for name in ("memory", "swap")]
    return [answer["message"]] if command == "--reboot" else [f"{answer['name']}: {answer['status']}"]


def compare(*arguments):
    """Runs the program by itself, then by the example."""
    code, text = output_of(["wine", mendkit_exe, *arguments], subprocess.DEVNULL)
    text = text.replace("\r\n", "\n")
    if code == 0:
        told = figures(arguments[0], json.loads(text))
    else:
        # The last failure counts. The last line of its trail has the command line, whose quotation marks may differ.
        message, trail = re.findall(r"((?:(?!   at ).*\n)*)((?:   at .*\n?)*)", text + "\n")[-2]
        number = re.search(r"Error code (\d+)", message)
        told = ["failure:", re.escape(message.strip()), f"code: {number[1] if number else 'none'}",
                re.escape(trail.strip("\n").rpartition("\n")[0].lstrip()) + r"(\n[^\n]*)?"]
    check(arguments, mendkit, arguments, code, *told)
    return code


def script(utility, *steps):
    file = utility.with_suffix(".script")
    file.write_text("".join(step + "\n" for step in steps))
    return file


@atexit.register
def restore():
    for file in panel.glob("admin/*/*.script"):
        file.unlink()
    wine(build / "devpanel/devpanel.exe", "install", check=False)
    shutil.rmtree(work, ignore_errors=True)


caller = example()
mendkit_exe = build / "app/mendkit.exe"
mendkit, standin = callable_as(mendkit_exe), callable_as(odd)
wine(build / "devpanel/devpanel.exe", "install")
wine(build / "devpanel/devpanel.exe", "ensure")

# Every command, right and wrong; the other languages repeat one of each kind.
every = language == "python"
fixed = script(panel / "admin/bin/sysinfo.exe", "out 0.5 0.25 0.75", f"out Total: {2**64 - 1}", "out Free: 1")
codes = [compare(*arguments) for arguments in [
    ["--get-service-status", "--name=Ж \t"], ["--get-system-resources"], ["--get-disk-space"],
    ["--reboot", "--timeout=5"]
] + every * [
    ["--get-service-status", "--name=PlugPlay"], ["--repair-kelvo-sql-server"], ["--free-system-resources"],
    ["--free-disk-space"]]]
assert not any(codes), codes
check("--help", mendkit, ["--help"], 3, "no answer: .*usage: mendkit.*")

script(fixed, "out no counters", "exit 3")
for utility in "bin/mysqlmng_adm.exe", "bin/shutdown.exe", "bin64/websrvmng.exe":
    script(panel / "admin" / utility, "out it cannot", "exit 5")
# Mono on Linux takes an argument apart as a shell does: there a backslash counts before another one too.
marks = 'a "b" \\"c Ж\\' if language == "csharp" else 'a "b" \\"c\\\\ Ж\\'
codes = [compare(*arguments) for arguments in [
    [], ["--get-service-status"], ["--get-service-status", "--name=" + marks], ["--get-system-resources"]
] + every * [
    ["--bogus"], ["--get-service-status", "--name=x", "--y=1"], ["--get-service-status", "--name="],
    ["--repair-kelvo-sql-server"], ["--free-system-resources"], ["--reboot"], ["--reboot", "--timeout=5"]]]
wine("reg", "add", r"HKLM\SOFTWARE\WOW6432Node\Kelvo\ZRM Config\Config", "/v", "zrmpipe", "/d", "no_pipe", "/f")
codes += [compare(*arguments) for arguments in [["--get-disk-space"]] + every * [["--free-disk-space"]]]
assert set(codes) == {1}, codes

# No end in time: a query is ended, anything else runs on. What they note is looked at below.
notes = work / "var/devpanel.log"
for words, told in (["--get-x"], "it was ended"), (["--free-x"], r"it runs on as process \d+"):
    script(odd, "sleep 2500", "note " + words[0])
    check("a time-out", standin, words, 2, f"time-out: no answer .*; {told}", seconds=0.5)
timed_out = time.monotonic()

# Other ends. Outside Wine a process has the lowest eight bits of its exit code.
fault, killed = ("0x5", "0x3") if language != "cpp" else ("0xC0000005", "0x3")
script(odd, "out {}", "crash")
check("a fault", standin, [], 3, f"no answer: mendkit ended without an answer: exit code {fault} *")
script(odd, "err told", "exit 3")
check("an abort", standin, [], 3, f"no answer: mendkit ended without an answer: exit code {killed} told")
check("no program", str(standin) + "x", [], 3, "no answer: .*cannot be started: .*")
script(odd, "exit 1")
check("ended from outside", standin, [], 3, "no answer: mendkit ended without an answer: exit code 0x1 *")
script(odd, "out first (Error code 2) at x", "out    at (a line 1)", "out second (Error code 5) at y", "out    at (b line 2)",
       "exit 1")
check("two failures", standin, [], 1, "failure: second .Error code 5. at y", "code: 5", r"at \(b line 2\)")
script(odd, "out Execute x failed with error code 3: it says", "out    at (a line 1)", "out Pipe is finished. (Error code 5)",
       "out    at (b line 2)", "exit 1")
check("a utility's output", standin, [], 1, "failure: Execute x .*is finished.*", "code: none", r"at \(b line 2\)")
script(odd, "read", "exit 1")
check("standard input", standin, [], 1, "failure: 0", "code: none")
script(odd, 'out {"name": "x", "sta')
check("half an answer", standin, [], 3, "no answer: .*")
script(odd, "out {}")
check("an answer without members", standin, ["--reboot"], 3 if language != "cpp" else 0, "no answer: .*|unknown")
script(odd, *["err " + "x" * 1000] * 300, "bytes 300000", "exit 1")
check("full pipes", standin, [], 1, "failure: x{300000}", "code: none")
script(odd, "child 30000", 'out {"name": "x"}')
check("a pipe that stays open", standin, [], 0, "x: unknown")
script(odd, 'out [{"volume": "C:", "total": 3, "free": 7, "used": 18446744073709551612}]')
check("a quota", standin, ["--get-disk-space"], 0, "C: 7 of 3 bytes free, used: unknown")

noted = []
while "--free-x" not in noted and time.monotonic() < timed_out + 20:
    time.sleep(0.1)
    noted = notes.read_text().split() if notes.exists() else []
if noted != ["--free-x"]:
    failures.append("after a time-out")
    print(f"After a time-out a query has to be ended and anything else not. Those ran on: {noted}")
sys.exit(f"{len(failures)} failed" if failures else 0)
