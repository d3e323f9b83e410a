"""Calls mendkit.exe, bounds the time, checks the exit code, parses the answer, tells a failure.

    python call_mendkit.py <seconds> <full path of mendkit.exe> <command> [--name=value ...]

Exit code: 0 answered, 1 mendkit tells a failure, 2 time-out, 3 no answer: not started, or not ended by itself.
Needs Python 3.8 or later on Windows, nothing else. Copy the part above "main".
"""
import json
import re
import subprocess
import sys
import threading


def is_trail(line):
    return line.startswith("   at (")


class Failure(Exception):
    """The command has failed. message: for people, in the system's language; code: of Windows, or None;
    trail: where in mendkit it happened, for its developers."""

    def __init__(self, text):
        lines = text.rstrip("\n").split("\n")
        begin = end = len(lines)
        while end and is_trail(lines[end - 1]):
            begin = end = end - 1
        while begin and not is_trail(lines[begin - 1]):  # above is an earlier failure: the last counts
            begin -= 1
        # The output of a utility that failed may look like anything, also like trails and messages.
        utility = [at for at in range(end) if re.match(r"Execute .* failed with error code -?\d+:", lines[at])
                   and (at == 0 or not lines[at - 1] or is_trail(lines[at - 1]))]
        if utility:
            begin = utility[0]
        self.message, self.trail = "\n".join(lines[begin:end]), "\n".join(lines[end:])
        code = None if utility else re.search(r"\(Error code (\d+)\)", self.message)
        self.code = int(code.group(1)) if code else None
        super().__init__(self.message.strip())


class TimeOut(Exception):
    """mendkit has not ended in time. Nothing is known about what it has done."""


class NoAnswer(Exception):
    """mendkit was not started or not allowed to end, or this is no mendkit."""


def collect(pipe, parts):
    for part in iter(lambda: pipe.read(65536), b""):
        parts.append(part)


def call(program, arguments, seconds):
    """Returns the parsed answer, some seconds after the time limit at the latest. Not subprocess.run(timeout=...):
    after a time-out it waits for the end of the output, however long another process keeps the pipe open."""
    try:
        process = subprocess.Popen(
            [program, *arguments],  # a list: Python quotes it for Windows, no shell takes part
            stdin=subprocess.DEVNULL,  # mendkit's utilities inherit it
            stdout=subprocess.PIPE,  # not a file: the disk may be full
            stderr=subprocess.PIPE,
            bufsize=0,  # unbuffered: a reader that is left behind holds no lock when Python ends
            creationflags=getattr(subprocess, "CREATE_NO_WINDOW", 0))
    except OSError as error:
        raise NoAnswer(f"{program} cannot be started: {error}") from error
    output, errors, readers = [], [], []
    for pipe, parts in (process.stdout, output), (process.stderr, errors):  # while it runs: a full pipe would stop it
        readers.append(threading.Thread(target=collect, args=(pipe, parts), daemon=True))
        readers[-1].start()
    try:
        code = process.wait(seconds)
    except subprocess.TimeoutExpired:
        # A query changes nothing and may be ended. Anything else is left to end by itself and must not be repeated
        # before: the panel's utility would run on without mendkit, and may fail in the middle of a repair.
        if not arguments or not arguments[0].startswith("--get-"):
            raise TimeOut(f"no answer within {seconds:g} s; it runs on as process {process.pid}") from None
        process.kill()
        raise TimeOut(f"no answer within {seconds:g} s; it was ended") from None
    for reader in readers:
        reader.join(2)  # bounded: a process that was started at the same moment may hold the pipe open
    text = b"".join(output).decode("utf-8", "replace").replace("\r\n", "\n")
    if code == 1 and text.strip():
        raise Failure(text)
    if code != 0:  # 0xC0000005: a fault, 0xC000013A: Ctrl+C, others, also 1 without a text: somebody has ended it
        told = b"".join(errors).decode("utf-8", "replace")
        raise NoAnswer(f"mendkit ended without an answer: exit code 0x{code & 0xFFFFFFFF:X} {told}".rstrip())
    try:
        return json.loads(text)
    except ValueError as error:
        raise NoAnswer(f"the output is no JSON document ({error}): {text}") from error


def show(command, answer):
    if command.endswith("-disk-space"):
        for volume in answer:
            # A used beyond total is no figure: an account with a quota sees a smaller total.
            used = volume["used"] if volume["used"] <= volume["total"] else "unknown"
            print(f"{volume['volume']} {volume['free']} of {volume['total']} bytes free, used: {used}")
    elif command.endswith("-system-resources"):
        for name in "memory", "swap":
            print(f"{name}: {answer[name].get('free', 'unknown')} of {answer[name].get('total', 'unknown')} bytes free")
    elif command == "--reboot":
        print(answer["message"])
    else:
        print(f"{answer['name']}: {answer.get('status', 'unknown')}")


def main():
    for stream in sys.stdout, sys.stderr:  # the machine's own code page lacks letters
        stream.reconfigure(encoding="utf-8", errors="replace")
    if len(sys.argv) < 3:
        print(__doc__, file=sys.stderr)
        return 3
    seconds, program, arguments = float(sys.argv[1]), sys.argv[2], sys.argv[3:]
    try:
        show(arguments[0] if arguments else "", call(program, arguments, seconds))
        return 0
    except Failure as failure:  # decide by the exit code and failure.code, never by words
        print(f"failure: {failure}\ncode: {failure.code or 'none'}\n{failure.trail}", file=sys.stderr)
        return 1
    except TimeOut as timeout:
        print(f"time-out: {timeout}", file=sys.stderr)
        return 2
    except (NoAnswer, KeyError, TypeError) as reason:  # the last two: a member is missing
        print(f"no answer: {reason}", file=sys.stderr)
        return 3


if __name__ == "__main__":
    sys.exit(main())
