#!/usr/bin/env python3
"""count_results.py BUILD: adds up what the last ctest run in BUILD left behind.

Prints "PASSED FAILED" and, to standard error, the names of the cases that were left out. A
GoogleTest program counts with its cases, any other test as one. A program that died without a
report, or failed after all its cases had passed, counts as one failure more.
"""
import os
import sys
import xml.etree.ElementTree as xml


def reports(build):
    found = {}
    for folder, _, files in os.walk(build):
        for name in files:
            if name.endswith(".gtest.xml"):
                found[name[:-len(".gtest.xml")]] = os.path.join(folder, name)
    return found


def count_cases(path):
    passed, failed, left_out = 0, 0, []
    for case in xml.parse(path).getroot().iter("testcase"):
        name = case.get("classname", "") + "." + case.get("name", "")
        if case.find("failure") is not None or case.find("error") is not None:
            failed += 1
        elif case.get("result") == "skipped" or case.get("status") == "notrun":
            reason = case.find("skipped")
            left_out.append(name + (": " + reason.get("message", "") if reason is not None else ""))
        else:
            passed += 1
    return passed, failed, left_out


def main():
    build = sys.argv[1]
    found = reports(build)
    passed, failed, left_out = 0, 0, []
    for test in xml.parse(os.path.join(build, "ctest.xml")).getroot().iter("testcase"):
        ok = test.get("status") == "run"
        cases = (0, 0, [])
        if test.get("name") in found:
            try:
                cases = count_cases(found[test.get("name")])
            except xml.ParseError:
                cases = (0, 0, [])
        elif ok:
            cases = (1, 0, [])
        passed += cases[0]
        failed += cases[1] + (0 if ok or cases[1] else 1)
        left_out += cases[2]
    for name in left_out:
        print("left out: " + " ".join(name.split()), file=sys.stderr)
    print(passed, failed)


main()
