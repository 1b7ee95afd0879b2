#!/usr/bin/env python3
"""check_product.py VERSION FILE...: what a Windows product needs besides itself, and what it says it is.

Each FILE imports from libraries only that every Windows has (or from one that stands beside it), was
linked against nothing by number alone, and carries a version resource. Reads the files itself: no tool
of either platform is needed.
"""
import os
import struct
import sys

# What Windows 7 and everything since brings along.
SYSTEM = {"advapi32.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll", "shell32.dll", "user32.dll", "ws2_32.dll"}


class Image:
    def __init__(self, path):
        self.data = open(path, "rb").read()
        header = struct.unpack_from("<I", self.data, 0x3C)[0]
        if self.data[header:header + 4] != b"PE\0\0":
            raise ValueError("no Windows program")
        sections, optional_size = (struct.unpack_from("<H", self.data, header + at)[0] for at in (6, 20))
        optional = header + 24
        self.bits = {0x10B: 32, 0x20B: 64}[struct.unpack_from("<H", self.data, optional)[0]]
        self.directories = optional + (96 if self.bits == 32 else 112)
        table = optional + optional_size
        self.sections = [struct.unpack_from("<8sIIII", self.data, table + 40 * i) for i in range(sections)]

    def offset(self, address):
        for _, size, start, raw_size, raw in self.sections:
            if start <= address < start + max(size, raw_size):
                return address - start + raw
        raise ValueError("address outside the file")

    def directory(self, number):
        return struct.unpack_from("<II", self.data, self.directories + 8 * number)

    def text(self, address):
        at = self.offset(address)
        return self.data[at:self.data.index(b"\0", at)].decode("ascii")

    def imports(self):
        """The libraries by name, of the usual table and of the delayed one."""
        for number, size, name_at in ((1, 20, 12), (13, 32, 4)):
            address, length = self.directory(number)
            if not length:
                continue
            at = self.offset(address)
            while True:
                name = struct.unpack_from("<I", self.data, at + name_at)[0]
                if not name:
                    break
                yield self.text(name)
                at += size


def problems(path, version, beside):
    image = Image(path)
    names = sorted(image.imports(), key=str.lower)
    print("%s: %d bit, imports %s" % (os.path.basename(path), image.bits, ", ".join(names)))
    if len(names) < 2:
        yield "no imports were found"
    for name in names:
        if name.lower() not in SYSTEM | beside:
            yield "needs " + name
    address, length = image.directory(2)
    if not length:
        yield "no resources"
        return
    at = image.offset(address)
    resources = image.data[at:at + length]
    for text in ("FileVersion", version, os.path.basename(path), "FileDescription", "Brevant"):
        if text.encode("utf-16-le") not in resources:
            yield "the version resource lacks " + text
    numbers = [int(n) for n in version.split(".")] + [0]
    fixed = struct.pack("<IIII", 0xFEEF04BD, 0x10000, numbers[0] << 16 | numbers[1], numbers[2] << 16)
    if fixed not in resources:
        yield "the version in numbers is not " + version


def main():
    version, files = sys.argv[1], sys.argv[2:]
    beside = {os.path.basename(f).lower() for f in files}
    failed = False
    for path in files:
        for problem in problems(path, version, beside):
            print("  " + problem)
            failed = True
    return 1 if failed or not files else 0


sys.exit(main())
