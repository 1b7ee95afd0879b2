#!/usr/bin/env python3
"""check_subset.py ROOT: compares src/platform/SUBSET.md with the headers of the Win32 subset.

Every constant, function, structure, structure field and interface operation that a header below the
seam declares must be named in the first column of a row, and every name in a first column must be
declared. Silent and zero when all is well."""
import os
import re
import sys

FAMILIES = ["clock", "errors", "file_io", "file_search", "module", "profile", "sockets",
            "structured_storage"]
TYPES = "src/platform/posix/include/brevant/platform_types.h"
PAGE = "src/platform/SUBSET.md"


def without_comments(text):
    return re.sub(r"//[^\n]*|/\*.*?\*/", "", text, flags=re.S)


def fields(body):
    """The data members of a structure, those of unnamed members inside it included."""
    body = re.sub(r"\bstruct\s*\{|\}\s*\w*\s*;|union\s*\{", "", body)
    for statement in body.split(";"):
        match = re.search(r"(\w+)\s*(?:\[[^\]]*\])?\s*$", statement.strip())
        if match and not statement.strip().startswith(("virtual", "protected", "public")):
            yield match.group(1)


def declared(text):
    """The names that a header declares: the subset's own, as the page spells them."""
    text = without_comments(text)
    names = set(re.findall(r"^inline (?:constexpr|const) [\w:]+ (\w+)", text, re.M))
    # Preprocessor lines cannot be seen by the patterns below.
    names |= set(re.findall(r"^#define (\w+)", text, re.M))
    text = re.sub(r"^#[^\n]*", "", text, flags=re.M)
    names |= set(re.findall(r"^using (\w+)", text, re.M))
    names |= set(re.findall(r"^(?:inline )?[A-Za-z_][\w:]*(?: \w+)*[ *]+(\w+)\([^;{}]*\)\s*[;{]", text,
                            re.M))
    for kind, name, body in re.findall(r"^(struct|union|class) (\w+)[^;{]*\{(.*?)^\};", text,
                                       re.M | re.S):
        names.add(name)
        if kind == "class":
            names |= {"%s.%s" % (name, op) for op in re.findall(r"virtual \w+ (\w+)\(", body)}
        else:
            names |= {"%s.%s" % (name, field) for field in fields(body)}
    return names


def documented(page):
    """The names in the first columns of the page's tables."""
    names = set()
    for line in page.splitlines():
        if line.startswith("| `"):
            first = re.split(r"(?<!\\)\|", line)[1]
            names |= set(re.findall(r"`([\w.]+)`", first))
    return names


def main():
    root = sys.argv[1]

    def read(name):
        with open(os.path.join(root, name), encoding="utf-8") as file:
            return file.read()

    headers = ["src/platform/posix/%s.h" % family for family in FAMILIES] + [TYPES]
    known = {}
    for header in headers:
        for name in declared(read(header)):
            known.setdefault(name, header)
    rows = documented(read(PAGE))
    problems = ["%s: no row for %s (%s)" % (PAGE, name, known[name])
                for name in sorted(set(known) - rows)]
    problems += ["%s: %s is declared nowhere" % (PAGE, name) for name in sorted(rows - set(known))]
    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
