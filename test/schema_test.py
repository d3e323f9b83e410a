# The program's real answers fit the schemas of docs/schema/, and answers that were tampered with do not.
# Usage: schema_test.py <source> <build>; the stand-in panel is put into Wine's prefix.
import json
import pathlib
import subprocess
import sys

from jsonschema import Draft202012Validator

source, build = map(pathlib.Path, sys.argv[1:])


def run(program, *arguments, stdout=subprocess.DEVNULL):
    command = ["wine", build / program, *arguments]
    return subprocess.run(command, stdout=stdout, stderr=subprocess.DEVNULL, check=True).stdout


def tampered(value, name=None):
    """The value replaced, one of its members replaced or left out, one too many: none is an answer."""
    yield from [None, -1, 0.5, 2**64, []] + ["x"] * (name != "name")
    if isinstance(value, dict):
        yield {**value, "one too many": "x"}
        for member, child in value.items():
            if member != "status" and name not in ("memory", "swap"):  # these may be missing
                yield {other: value[other] for other in value if other != member}
            yield from ({**value, member: wrong} for wrong in tampered(child, member))
    if isinstance(value, list):
        yield from ([wrong] for child in value for wrong in tampered(child))


run("devpanel/devpanel.exe", "install")
run("devpanel/devpanel.exe", "ensure")
for name, commands in {
    "service-status": [["--get-service-status", "--name=Ж"], ["--repair-kelvo-sql-server"]],
    "system-resources": [["--get-system-resources"], ["--free-system-resources"]],
    "disk-space": [["--get-disk-space"], ["--free-disk-space"]],
    "reboot": [["--reboot", "--timeout=5"]],
}.items():
    schema = json.loads((source / "docs/schema" / f"{name}.json").read_text())
    Draft202012Validator.check_schema(schema)
    for command in commands:
        answer = json.loads(run("app/mendkit.exe", *command, stdout=subprocess.PIPE))
        Draft202012Validator(schema).validate(answer)
        for wrong in tampered(answer):
            assert not Draft202012Validator(schema).is_valid(wrong), f"{name} lets {wrong} pass"
