# Checks that the program's answers match the schemas of docs/schema/ and that wrong values do not. The schemas leave
# room for members that may come; today's answers must not have them.
# Usage: schema_test.py <source> <build>. Installs the stand-in for the panel into the Wine prefix.
import json
import pathlib
import subprocess
import sys

from jsonschema import Draft202012Validator

source, build = map(pathlib.Path, sys.argv[1:])


def run(program, *arguments, stdout=subprocess.DEVNULL):
    command = ["wine", build / program, *arguments]
    return subprocess.run(command, stdout=stdout, stderr=subprocess.DEVNULL, check=True).stdout


def close(schema):
    return {"additionalProperties": False, **schema} if "properties" in schema else schema


run("devpanel/devpanel.exe", "install")
run("devpanel/devpanel.exe", "ensure")
for name, commands in {
    "service-status": [["--get-service-status", "--name=Ж"], ["--repair-kelvo-sql-server"]],
    "system-resources": [["--get-system-resources"], ["--free-system-resources"]],
    "disk-space": [["--get-disk-space"], ["--free-disk-space"]],
    "reboot": [["--reboot", "--timeout=5"]],
}.items():
    text = (source / "docs/schema" / f"{name}.json").read_text()
    schema = json.loads(text)
    closed = json.loads(text, object_hook=close)
    Draft202012Validator.check_schema(schema)
    assert schema["$id"] == f"urn:mendkit:schema:{name}:1"
    for command in commands:
        answer = json.loads(run("app/mendkit.exe", *command, stdout=subprocess.PIPE))
        Draft202012Validator(closed).validate(answer)
        one_too_many = {**answer, "x": 1} if isinstance(answer, dict) else [{**answer[0], "x": 1}]
        Draft202012Validator(schema).validate(one_too_many)
        for wrong in None, -1, {}, [None]:
            assert not Draft202012Validator(schema).is_valid(wrong), f"{name} lets {wrong} pass"
        assert not Draft202012Validator(closed).is_valid(one_too_many), f"{name} lets an unexpected member pass"
