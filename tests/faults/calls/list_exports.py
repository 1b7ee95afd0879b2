#!/usr/bin/env python3
"""list_exports.py INCLUDE_DIR EXPORTS_TXT OUTPUT

Writes the name of every exported function, a line each: those of exports.txt, and CLASS::MEMBER for
each public or protected member of an exported class that stands in a source file.
"""
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "api"))
import check_exports  # noqa: E402


def main():
    include_dir, exports_file, output = sys.argv[1:4]
    names = set(open(exports_file).read().split())
    for name, body in check_exports.classes(include_dir):
        names |= {"%s::%s" % (name, member) for member in check_exports.members(name, body)}
    with open(output, "w") as out:
        out.write("".join(name + "\n" for name in sorted(names)))


main()
