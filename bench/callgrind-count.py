#!/usr/bin/python3
"""Totals of callgrind dumps: instructions executed and calls to the allocator.

    callgrind-count.py FILE...

Prints one line per file: "<file> <instructions> <malloc+calloc calls> <realloc calls>". The
instructions are the dump's total (Ir); the calls are summed over every call site of malloc,
calloc and realloc (operator new and Qt's containers allocate through them).
"""

import re
import sys

ALLOC = {"malloc", "calloc"}
REALLOC = {"realloc"}


def count(path):
    names = {}
    total = None
    allocs = reallocs = 0
    target = None
    name_re = re.compile(r"^cfn=\((\d+)\)(?: (.*))?$")
    with open(path, errors="replace") as dump:
        for line in dump:
            if line.startswith("cfn="):
                match = name_re.match(line.rstrip("\n"))
                if match:
                    ident, name = match.groups()
                    if name is not None:
                        names[ident] = name
                    target = names.get(ident)
                else:
                    target = line[4:].strip()
            elif line.startswith("fn="):
                match = re.match(r"^fn=\((\d+)\)(?: (.*))?$", line.rstrip("\n"))
                if match and match.group(2) is not None:
                    names[match.group(1)] = match.group(2)
            elif line.startswith("calls="):
                calls = int(line[6:].split()[0])
                if target in ALLOC:
                    allocs += calls
                elif target in REALLOC:
                    reallocs += calls
            elif line.startswith("summary:") or line.startswith("totals:"):
                total = int(line.split()[1])
    return total, allocs, reallocs


def main():
    for path in sys.argv[1:]:
        total, allocs, reallocs = count(path)
        print("%s %d %d %d" % (path, total or 0, allocs, reallocs))


if __name__ == "__main__":
    main()
