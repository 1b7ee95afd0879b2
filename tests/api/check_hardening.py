#!/usr/bin/env python3
"""check_hardening.py PROGRAM_OR_LIBRARY...: are the compiler's defences really in what was built?"""
import re
import struct
import subprocess
import sys

ASLR, NX, HIGH_ENTROPY = 0x0040, 0x0100, 0x0020
RELOCATIONS_STRIPPED = 0x0001
PE32_PLUS = 0x20B


def output(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def windows_problems(path):
    data = open(path, "rb").read()
    optional = struct.unpack_from("<I", data, 0x3C)[0] + 24
    magic = struct.unpack_from("<H", data, optional)[0]
    flags = struct.unpack_from("<H", data, optional + 70)[0]
    wanted = {"DYNAMICBASE": ASLR, "NXCOMPAT": NX}
    if magic == PE32_PLUS:
        wanted["high entropy"] = HIGH_ENTROPY
    yield from (name for name, bit in wanted.items() if not flags & bit)
    # Without relocations the loader cannot move a program, whatever its flags say.
    directories = optional + (112 if magic == PE32_PLUS else 96)
    relocations = struct.unpack_from("<I", data, directories + 5 * 8 + 4)[0]
    characteristics = struct.unpack_from("<H", data, optional - 2)[0]
    if not relocations or characteristics & RELOCATIONS_STRIPPED:
        yield "relocations"
    if b"stack smashing detected" not in data:
        yield "stack protector"


def elf_problems(path):
    segments, dynamic = output("readelf", "-Wl", path), output("readelf", "-Wd", path)
    symbols = output("readelf", "-W", "--dyn-syms", path)
    if "GNU_RELRO" not in segments or not re.search(r"\(FLAGS\).*BIND_NOW|FLAGS_1\).*\bNOW\b", dynamic):
        yield "full RELRO"
    if not re.search(r"GNU_STACK .* RW ", segments):
        yield "a stack that is not executable"
    if "DYN (" not in output("readelf", "-h", path):
        yield "position independence"
    if "__stack_chk_fail" not in symbols:
        yield "stack protector"
    # A program may happen to call nothing that could be fortified; the library does call it.
    if ".so" in path and not re.search(r"__\w+_chk@", symbols.replace("__stack_chk_fail", "")):
        yield "fortified functions"
    if "X86-64" in output("readelf", "-h", path) and "endbr64" not in output("objdump", "-d", path):
        yield "control-flow protection"


def main():
    failed = False
    for path in sys.argv[1:]:
        find = windows_problems if open(path, "rb").read(2) == b"MZ" else elf_problems
        problems = list(find(path))
        print(path + ": " + ("missing: " + ", ".join(problems) if problems else "hardened"))
        failed |= bool(problems)
    return failed


sys.exit(main())
