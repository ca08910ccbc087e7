#!/usr/bin/env python3
"""Prints the size of a stripped shared library as JSON: file, sections, relocations, symbols.

    bench/memory/sizes.py build/bench/bench/memory/libvaxo_bench_front_stripped.so
"""
import json
import pathlib
import re
import subprocess
import sys


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def sizes(library):
    # text data bss dec hex filename
    text, data, bss = (int(field) for field in output("size", library).splitlines()[1].split()[:3])
    # A relocation begins with its offset and its info, both of 8 or 16 hex digits.
    relocations = re.findall(r"^[0-9a-f]{8,16}\s+[0-9a-f]{8,16}\s+(\S+)", output("readelf", "-rW", library),
                             re.MULTILINE)
    exported = output("nm", "-D", "--defined-only", library).splitlines()
    undefined = output("nm", "-D", "--undefined-only", library).splitlines()
    sections = dict(re.findall(r"^(\.\S+)\s+(\d+)\s+\d+$", output("size", "-A", library), re.MULTILINE))
    return {
        "file_bytes": pathlib.Path(library).stat().st_size,
        "text_bytes": text,
        "data_bytes": data,
        "bss_bytes": bss,
        "sections": {name: int(size) for name, size in sections.items() if int(size) >= 1024},
        "relocations": len(relocations),
        "relocations_by_type": {kind: relocations.count(kind) for kind in sorted(set(relocations))},
        "exported_symbols": len(exported),
        "undefined_symbols": len(undefined),
    }


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    print(json.dumps(sizes(sys.argv[1]), indent=2))


if __name__ == "__main__":
    main()
