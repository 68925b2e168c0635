#!/usr/bin/env python3
"""Every header that a module of Android.bp includes is provided by a module that it lists.

    android_headers.py TREE TABLE

Also: what the library's public headers include is exported, so that a client needs to list nothing
else; and the file parses, where Debian's bpfmt is installed.
"""
import pathlib
import re
import shutil
import subprocess
import sys

# What each module compiles, headers included.
FOLDERS = {
    "libzelkcam_grallocutils": ("utils", "platform"),
    "libplexa": ("plexa", "platform"),
    "grallocinfo": ("tools", "utils", "platform"),
    "zelkcam_gralloc_device_test": ("tests/device", "utils", "platform"),
}
LIBRARY = "libzelkcam_grallocutils"
DEFAULTS = "zelkcam_gralloc_defaults"
LINUX_ONLY = re.compile(r"Linux\.(cpp|h)$")


def modules(text):
    """The text of each module by its name, and its type in front."""
    found = {}
    for block in re.finditer(r"^(\w+) \{\n(.*?)^\}", re.sub(r"//.*", "", text), re.M | re.S):
        name = re.search(r'^    name: "([^"]+)"', block[2], re.M)
        if name:
            found[name[1]] = f'"{block[1]}"\n{block[2]}'
    return found


def listed(text, key=r"\w+"):
    """The quoted words of the properties whose names match."""
    values = re.findall(rf'^    {key}: (\[.*?\]|"[^"]*")', text, re.M | re.S)
    return {word for value in [*values, text.split("\n", 1)[0]]
            for word in re.findall(r'"([^"]+)"', value)}


def includes(tree, folders):
    """The headers in angle brackets of the sources, each with a file that includes it."""
    found = {}
    for folder in folders:
        for path in sorted((tree / folder).rglob("*")):
            if path.suffix in (".cpp", ".h") and not LINUX_ONLY.search(path.name):
                for header in re.findall(r"^\s*#\s*include <([^>]+)>", path.read_text(), re.M):
                    found.setdefault(header, path.relative_to(tree))
    return found


def provider(table, header):
    if "/" not in header and (not header.endswith(".h") or header not in table):
        return "-"
    prefixes = [prefix for prefix in table if header.startswith(prefix)]
    return table[max(prefixes, key=len)] if prefixes else None


def main():
    tree, table_file = map(pathlib.Path, sys.argv[1:])
    table = dict(line.split() for line in table_file.read_text().splitlines()
                 if line and not line.startswith("#"))
    text = (tree / "Android.bp").read_text()
    found = modules(text)
    faults = []
    for name, folders in FOLDERS.items():
        have = listed(found[name]) | listed(found[DEFAULTS])
        for header, user in includes(tree, folders).items():
            module = provider(table, header)
            if module is None:
                faults.append(f"{user}: {table_file.name} has no module for <{header}>")
            elif module != "-" and module not in have:
                faults.append(f"{user}: <{header}> is of {module}, which {name} does not list")
    exported = listed(found[LIBRARY], r"export_\w+")
    # The defaults bring the allocator's interface under its own name.
    exported |= {re.sub(r"-V\d+-ndk$", "-ndk_shared", module) for module in exported}
    for header, user in includes(tree, ("platform",)).items():
        module = provider(table, header)
        if module != "-" and module not in exported:
            faults.append(f"{user}: <{header}> is of {module}, which {LIBRARY} does not export")
    if shutil.which("bpfmt"):
        check = subprocess.run(["bpfmt", "-d", tree / "Android.bp"], capture_output=True, text=True)
        faults += [check.stdout + check.stderr] if check.stdout or check.returncode else []
    print("\n".join(faults))
    return 1 if faults else 0


sys.exit(main())
