#!/usr/bin/env python3
"""check_exports.py LIBRARY INCLUDE_DIR EXPORTS_TXT NM

Compares what a built library exports with what it should: the flat names of exports.txt, each with
its leading underscore, and every member of the exported classes. Both directions for the flat
names, so that nothing leaks and nothing is lost.
"""
import re
import subprocess
import sys


def exported_names(library, nm):
    """The names in the library's export table, as the table spells them."""
    if library.endswith(".dll"):
        tool = nm.replace("nm", "objdump")
        text = subprocess.run([tool, "-p", library], capture_output=True, text=True, check=True).stdout
        table = text.split("[Ordinal/Name Pointer] Table", 1)[1]
        return re.findall(r"^\t\[ *\d+\] (\S+)$", table, re.M)
    text = subprocess.run([nm, "-D", "--defined-only", library], capture_output=True, text=True,
                          check=True).stdout
    return [line.split()[-1].split("@")[0] for line in text.splitlines() if line.strip()]


def demangle(names):
    text = subprocess.run(["c++filt"], input="\n".join(names), capture_output=True, text=True,
                          check=True).stdout
    return text.splitlines()


def strip_comments(text):
    return re.sub(r"//[^\n]*", "", text)


def classes(include_dir):
    """(class, body) of every exported class."""
    import glob
    for path in sorted(glob.glob(include_dir + "/brevant/*.h")):
        text = strip_comments(open(path).read())
        for match in re.finditer(r"class BREVANT_API (\w+)[^;{]*\{", text):
            depth, at = 1, match.end()
            while depth:
                depth += {"{": 1, "}": -1}.get(text[at], 0)
                at += 1
            yield match.group(1), text[match.end():at - 1]


def members(name, body):
    """Names of the member functions and static data that stand in a source file."""
    flat, depth = "", 0
    for char in body:
        if char == "{":
            if depth == 0:
                flat += "{};"
            depth += 1
        elif char == "}":
            depth -= 1
        elif depth == 0:
            flat += char
    access = "private"
    for statement in flat.split(";"):
        for label in re.findall(r"\b(public|protected|private)\s*:", statement):
            access = label
        statement = re.sub(r"\b(public|protected|private)\s*:", "", statement).strip()
        if access == "private" or not statement or "{}" in statement:
            continue
        if re.search(r"=\s*(0|delete|default)\s*$", statement) or statement.startswith(("using", "enum", "static constexpr")):
            continue
        statement = re.sub(r"BREVANT_PRINTF\([^)]*\)", "", statement)
        if statement.startswith("static") and "(" not in statement:
            yield re.split(r"\s+", statement)[-1]
            continue
        match = re.search(r"(~?\w+|operator\s*\S+?)\s*\(", statement)
        if match and not statement.startswith(("friend", "constexpr")):
            yield match.group(1).replace("operator ", "operator")


def main():
    library, include_dir, exports_file, nm = sys.argv[1:5]
    names = exported_names(library, nm)
    wanted = {"_" + line for line in open(exports_file).read().split()}
    problems = []

    declared = set()
    import glob
    for path in glob.glob(include_dir + "/brevant/*.h"):
        declared |= {"_" + n for n in re.findall(r"BREVANT_EXPORTED_AS\((\w+)\)", open(path).read())}
    problems += ["declared in a header, not in the list: " + n for n in sorted(declared - wanted)]
    problems += ["in the list, declared in no header: " + n for n in sorted(wanted - declared)]

    flat = {n for n in names if not re.match(r"_?_Z", n)}
    problems += ["not exported: " + n for n in sorted(wanted - flat)]
    problems += ["exported, but not in the list: " + n for n in sorted(flat - wanted)]

    readable = demangle([n for n in names if n not in flat])
    known = set()
    count = 0
    for name, body in classes(include_dir):
        known.add(name)
        for member in members(name, body):
            count += 1
            start = name + "::" + member
            if not any(r == start or r.startswith(start + "(") for r in readable):
                problems.append("class member not exported: " + start)
    for r in readable:
        # Instantiations of the standard library may be visible; the project's own insides may not.
        if re.match(r"(\w+ )?(brevant|compound|host|test)::", r):
            problems.append("internal name exported: " + r)
    if len(known) < 5 or count < 50:
        problems.append("only %d members of %d classes were found in the headers" % (count, len(known)))
    for problem in problems:
        print(problem)
    print("%s: %d flat names, %d members of %d classes" % (library, len(flat), count, len(known)))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
