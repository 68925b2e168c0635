#!/usr/bin/env python3
"""Checks documents that grallocinfo prints against the schemas in docs/: documents.py TOOL SCHEMA"""
import json
import os
import subprocess
import sys
import tempfile

try:
    import jsonschema
except ImportError:
    sys.exit(77)

NO_SERVICES = {"ZELKCAM_HOST_SERVICES": "none"}
CASES = [
    ("query", "query IMPLEMENTATION_DEFINED 640x480 --usage HW_CAMERA_ZSL", {}),
    ("query", "query YV12 1921x1083 --backend hidl", {}),
    ("formats", "formats 1921x1083", {}),
    ("name", "name --format 6", {}),
    ("name", "name --usage 0xffffffff", {}),
    ("list", "list formats", {}),
    ("list", "list usages", {}),
    ("list", "list dataspaces", {}),
    ("info", "info", {}),
    ("info", "info", NO_SERVICES),
    ("diff", "diff a.json b.json", {}),
    ("profile", "profile show compressing", {}),
    ("profileDiff", "diff default strict", {}),
    ("watch", "watch log", {}),
    ("failure", "query RGBX_8888 64x64", {}),
    ("failure", "query NV12 64x64", NO_SERVICES),
    ("failure", "bogus", {}),
]


def main(tool, schema_file):
    schema_file = os.path.abspath(schema_file)
    with open(schema_file, encoding="utf-8") as file:
        definitions = json.load(file)["definitions"]

    def run(words, environment, **streams):
        return subprocess.run([tool, *words.split()], env={**os.environ, **environment},
                              text=True, check=False, **streams)

    def check(text, kind, what):
        document = json.loads(text)
        assert next(iter(document)) == "schemaVersion", what
        jsonschema.validate(document, {"$ref": f"#/definitions/{kind}", "definitions": definitions})
        print(f"{what}: {kind}")

    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        for name, words in (("a.json", "formats 64x64"), ("b.json", "formats 64x64")):
            with open(name, "w", encoding="utf-8") as file:
                run(words + " --json", {}, stdout=file)
        with open("b.json", encoding="utf-8") as file:
            moved = file.read().replace('"rowStrideInBytes": 64', '"rowStrideInBytes": 72')
        with open("b.json", "w", encoding="utf-8") as file:
            file.write(moved)
        with open("log", "w", encoding="utf-8") as file:
            run("query 0x23 64x64 --usage 0x20003 --verbose", {"ZELKCAM_ULOG_LEVEL": "5"},
                stdout=subprocess.DEVNULL, stderr=file)
        share = [tool, *"share NV12 64x48 socket --once --json".split()]
        with subprocess.Popen(share, stdout=subprocess.PIPE, text=True) as server:
            first = server.stdout.readline()  # it listens before it prints
            attached = run("attach socket --json", {}, capture_output=True).stdout
            check(first + server.stdout.read(), "buffer", "share")
        check(attached, "buffer", "attach")
        profile_schema = os.path.join(os.path.dirname(schema_file), "profile.schema.json")
        with open(profile_schema, encoding="utf-8") as file:
            profiles = json.load(file)
        jsonschema.validate(json.loads(run("profile record", {}, capture_output=True).stdout),
                            profiles)
        for kind, words, environment in CASES:
            check(run(words + " --json", environment, capture_output=True).stdout, kind, words)


main(*sys.argv[1:])
