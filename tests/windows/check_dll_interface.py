#!/usr/bin/env python3
"""Checks a Windows DLL's interface against the headers that declare it.

The DLL must export, undecorated, exactly the names its headers mark with
the export macro (functions and data alike, and the operations of every
sequence declared with ZEL_SEQUENCE_DECLARE) and import only from the DLLs
it is allowed to. Usage:
  check_dll_interface.py OBJDUMP DLL MACRO ALLOWED_IMPORTS SEQUENCE_H HEADER...
ALLOWED_IMPORTS is a comma-separated list of DLL names (any case);
SEQUENCE_H the header that defines ZEL_SEQUENCE_DECLARE.
"""
import re
import subprocess
import sys


def read_code(path):
    with open(path, encoding="utf-8") as f:
        return re.sub(r"/\*.*?\*/|//[^\n]*", "", f.read(), flags=re.S)


def sequence_operations(sequence_header):
    """The suffixes of the functions ZEL_SEQUENCE_DECLARE declares."""
    text = read_code(sequence_header).replace("\\\n", " ")
    definition = re.search(r"#define ZEL_SEQUENCE_DECLARE\(API, SEQ, T\)(.*)", text).group(1)
    return re.findall(r"SEQ##(_\w+)\s*\(", definition)


def declared_names(headers, macro, operations):
    names = set()
    pattern = re.compile(re.escape(macro) + r"\b[^;{]*?\b(\w+)\s*(?:\(|\[|;)", re.S)
    sequences = re.compile(r"ZEL_SEQUENCE_DECLARE\(\s*" + re.escape(macro) + r"\s*,\s*(\w+)")
    for header in headers:
        # The macro's own definition lines are not declarations.
        text = "\n".join(line for line in read_code(header).splitlines() if not line.lstrip().startswith("#"))
        names.update(match.group(1) for match in pattern.finditer(text))
        for sequence in sequences.findall(text):
            names.update(sequence + operation for operation in operations)
    return names


def dll_tables(objdump, dll):
    text = subprocess.run([objdump, "-p", dll], check=True, capture_output=True, text=True).stdout
    imports = {name.lower() for name in re.findall(r"^\s*DLL Name: (\S+)", text, re.M)}
    table = text.split("[Ordinal/Name Pointer] Table", 1)
    exports = set(re.findall(r"^\s*\[\s*\d+\]\s+(\S+)\s*$", table[1], re.M)) if len(table) > 1 else set()
    return exports, imports


def main():
    objdump, dll, macro, allowed, sequence_header = sys.argv[1:6]
    expected = declared_names(sys.argv[6:], macro, sequence_operations(sequence_header))
    exports, imports = dll_tables(objdump, dll)
    failures = []
    for name in sorted(expected - exports):
        failures.append(f"declared but not exported: {name}")
    for name in sorted(exports - expected):
        failures.append(f"exported but not declared: {name}")
    allowed_imports = {name.lower() for name in allowed.split(",")}
    for name in sorted(imports - allowed_imports):
        failures.append(f"imports from a DLL it may not use: {name}")
    for line in failures:
        print(line)
    print(f"{dll}: {len(exports)} exports, {len(expected)} declared; imports {', '.join(sorted(imports))}")
    return 1 if failures or not expected else 0


if __name__ == "__main__":
    sys.exit(main())
