#!/usr/bin/env python3
"""report.py TRACE SOURCES REASONS OUT: what the tests reached, from a trace in lcov's form.

Prints a line for each directory of SOURCES and writes every line and branch that nothing reached to
OUT, with the reason that REASONS has for the file. Fails below the floors that the project has set
itself, and for lines without a reason.
"""
import collections
import os
import sys

LINES, BRANCHES = 95.0, 85.0


class Count:
    def __init__(self):
        self.lines = self.lines_hit = self.branches = self.branches_hit = 0

    def add(self, lines, branches):
        self.lines += len(lines)
        self.lines_hit += sum(hits > 0 for hits in lines.values())
        self.branches += len(branches)
        self.branches_hit += sum(hits > 0 for hits in branches.values())

    def row(self, name):
        return "%-24s %6d lines %6.2f %%   %6d branches %6.2f %%" % (
            name, self.lines, share(self.lines_hit, self.lines),
            self.branches, share(self.branches_hit, self.branches))


def share(part, whole):
    return 100.0 * part / whole if whole else 100.0


def files(trace):
    """Yields path, {line: hits}, {(line, block, branch): hits}."""
    path, lines, branches = None, {}, {}
    with open(trace) as text:
        for record in text:
            kind, _, value = record.strip().partition(":")
            if kind == "SF":
                path, lines, branches = value, {}, {}
            elif kind == "DA":
                line, hits = value.split(",")[:2]
                lines[int(line)] = int(hits)
            elif kind == "BRDA":
                line, block, branch, hits = value.split(",")
                branches[int(line), block, branch] = 0 if hits == "-" else int(hits)
            elif kind == "end_of_record":
                yield path, lines, branches


def ranges(numbers):
    """[1, 2, 3, 7] as "1-3, 7"."""
    found = []
    for number in sorted(numbers):
        if found and number == found[-1][1] + 1:
            found[-1][1] = number
        else:
            found.append([number, number])
    return ", ".join("%d-%d" % (a, b) if a != b else str(a) for a, b in found)


def main():
    trace, sources, reasons, out = sys.argv[1:]
    sources = os.path.realpath(sources)
    with open(reasons) as rows:
        reasons = dict(row.rstrip("\n").split("\t") for row in rows)
    unexplained = []
    floors, total = collections.defaultdict(Count), Count()
    with open(out, "w") as unreached:
        for path, lines, branches in sorted(files(trace), key=lambda file: file[0]):
            path = os.path.realpath(path)
            if not path.startswith(sources + os.sep):
                continue
            name = os.path.relpath(path, sources)
            floors[os.path.dirname(name)].add(lines, branches)
            total.add(lines, branches)
            missed = [line for line, hits in lines.items() if not hits]
            halves = {branch[0] for branch, hits in branches.items() if not hits}
            if missed or halves:
                unreached.write("%s: %s\n  lines: %s\n  branches in lines: %s\n" % (
                    name, reasons.get(name, "branches only"), ranges(missed),
                    ranges(halves - set(missed))))
            if missed and name not in reasons:
                unexplained.append("%s: %s" % (name, ranges(missed)))
    for name in sorted(floors):
        print(floors[name].row(name))
    print(total.row("all"))
    print("what is left: " + os.path.relpath(out))
    for lines in unexplained:
        print("not reached, and no reason given: " + lines)
    isLow = share(total.lines_hit, total.lines) < LINES or \
        share(total.branches_hit, total.branches) < BRANCHES
    if isLow:
        print("below the floors of %.0f %% and %.0f %%" % (LINES, BRANCHES))
    sys.exit(1 if isLow or unexplained else 0)


main()
