#!/usr/bin/env python3
"""Prints how many lines of test code there are per line of code.

Counts non-blank, non-comment lines of C, C++ and Python sources that git
tracks: tests are everything under tests/, code everything else except
bench/ (generated sources live in build folders and are not tracked).
"""
import re
import subprocess
import sys
from collections import Counter
from pathlib import Path

SUFFIXES = {".c", ".cc", ".cpp", ".h", ".hpp", ".py"}


def code_lines(path: Path) -> int:
    text = path.read_text(errors="replace")
    if path.suffix == ".py":
        lines = [line for line in text.splitlines() if not line.strip().startswith("#")]
    else:
        text = re.sub(r"/\*.*?\*/", "", text, flags=re.S)
        lines = [line for line in text.splitlines() if not line.strip().startswith("//")]
    return sum(1 for line in lines if line.strip())


def main() -> int:
    root = Path(subprocess.check_output(["git", "rev-parse", "--show-toplevel"], text=True).strip())
    files = subprocess.check_output(["git", "ls-files"], cwd=root, text=True).split()
    tests, code = Counter(), Counter()
    for name in files:
        path = root / name
        if path.suffix not in SUFFIXES or name.startswith("bench/"):
            continue
        parts = Path(name).parts
        if parts[0] == "tests":
            tests[parts[1] if len(parts) > 2 else "."] += code_lines(path)
        else:
            code[parts[0]] += code_lines(path)
    for folder, count in sorted(tests.items()):
        print(f"tests/{folder:<16} {count:>7}")
    for folder, count in sorted(code.items()):
        print(f"{folder + '/':<22} {count:>7}")
    total_tests, total_code = sum(tests.values()), sum(code.values())
    print(f"tests {total_tests} lines, code {total_code} lines: {100.0 * total_tests / total_code:.1f} %")
    return 0


if __name__ == "__main__":
    sys.exit(main())
