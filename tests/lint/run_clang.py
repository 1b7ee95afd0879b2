#!/usr/bin/env python3
"""run_clang.py format|tidy|analyze ROOT BUILD: clang-format, clang-tidy or its analyzer over the sources.

What passed is remembered by the hash of all that went into it, so that a second run after a small
change is short: a source is looked at again when it, a header of the project that it includes, the
settings or the tool changed.
"""
import concurrent.futures
import hashlib
import json
import os
import re
import shutil
import subprocess
import sys

mode, root, build = sys.argv[1:4]


def tracked():
    try:
        out = subprocess.run(["git", "-C", root, "ls-files", "-co", "--exclude-standard"],
                             capture_output=True, text=True, check=True).stdout
        return [n for n in sorted(out.splitlines()) if os.path.isfile(os.path.join(root, n))]
    except (OSError, subprocess.CalledProcessError):
        names = []
        for folder, folders, files in os.walk(root):
            folders[:] = [f for f in folders if f not in ("build", "out", ".git")]
            names += [os.path.relpath(os.path.join(folder, f), root) for f in files]
        return sorted(names)


def content(name):
    with open(os.path.join(root, name), "rb") as file:
        return file.read()


def check_format(tool, names):
    result = subprocess.run([tool, "--dry-run", "-Werror"] + names, cwd=root, capture_output=True,
                            text=True)
    lines = [l for l in result.stderr.splitlines() if "error:" in l]
    print("\n".join(lines[:50]) or "%d files are formatted" % len(names))
    return result.returncode


def included(names):
    """For each file the project's own files that it includes, directly or not. An include is taken
    for every file whose path ends like it: too many rather than too few."""
    ends = {}
    for name in names:
        parts = name.split("/")
        for i in range(len(parts)):
            ends.setdefault("/".join(parts[i:]), set()).add(name)
    direct = {}
    for name in names:
        texts = re.findall(rb'^\s*#\s*include\s*["<]([^">]+)[">]', content(name), re.M)
        direct[name] = {n for t in texts for n in ends.get(t.decode(), ())}

    def closure(name):
        seen, todo = {name}, [name]
        while todo:
            new = direct[todo.pop()] - seen
            seen |= new
            todo += new
        return sorted(seen)

    return closure


def check_tidy(tool, names):
    # The analyzer takes as long as all the rest together: it is a check of its own.
    # The compiler's warnings are the compiler's; clang has some that the code is not held to.
    checks = "--checks=" + ("-*,clang-analyzer-*,-clang-analyzer-optin.performance.Padding"
                            if mode == "analyze" else "-clang-analyzer-*,-clang-diagnostic-*")
    compiled = {os.path.relpath(e["file"], root)
                for e in json.load(open(os.path.join(build, "compile_commands.json")))}
    # The library and the host; tests are held to the warnings of the compiler.
    files = [n for n in names if n.endswith(".cpp") and n.startswith(("src/", "host/"))
             and n in compiled]
    cache = os.path.join(build, "clang-tidy-passed")
    os.makedirs(cache, exist_ok=True)
    common = content(".clang-tidy") + mode.encode() + subprocess.run(
        [tool, "--version"], capture_output=True).stdout
    closure = included(names)

    def one(name):
        total = hashlib.sha256(common)
        for part in closure(name):
            total.update(part.encode() + b"\0" + content(part))
        mark = os.path.join(cache, total.hexdigest())
        if os.path.exists(mark):
            return name, 0, ""
        command = [tool, "-p", build, "--quiet", "--extra-arg=-Wno-error", checks, name]
        result = subprocess.run(command, cwd=root, capture_output=True, text=True)
        if result.returncode == 0:
            open(mark, "w").close()
        return name, result.returncode, result.stdout

    failed = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count() or 1) as pool:
        for name, code, text in pool.map(one, files):
            if code:
                failed += 1
                print(text.strip() or name + ": clang-tidy failed")
    print("%d files, %d with findings" % (len(files), failed))
    return 1 if failed else 0


def main():
    kind = "format" if mode == "format" else "tidy"
    tool = shutil.which("clang-" + kind) or shutil.which("clang-%s-14" % kind)
    if not tool:
        print("clang-%s is not installed" % kind)
        return 1
    names = [n for n in tracked() if n.endswith((".cpp", ".h"))
             and not n.startswith(("tests/golden/", "bench/peers/"))]
    return check_format(tool, names) if kind == "format" else check_tidy(tool, names)


sys.exit(main())
