#!/usr/bin/env python3
"""run_clang.py format|tidy ROOT BUILD: clang-format or clang-tidy over the sources.

What passed is remembered by the hash of all that went into it, so that a second run after a small
change is short: a source is looked at again when it, any header of the project, the settings or the
tool changed.
"""
import concurrent.futures
import hashlib
import json
import os
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


def includes_hash(names):
    total = hashlib.sha256()
    for name in names:
        if name.endswith(".h"):
            total.update(name.encode() + b"\0" + content(name))
    total.update(content(".clang-tidy"))
    return total.digest()


def check_tidy(tool, names):
    compiled = {os.path.relpath(e["file"], root)
                for e in json.load(open(os.path.join(build, "compile_commands.json")))}
    # The library and the host; tests are held to the warnings of the compiler.
    files = [n for n in names if n.endswith(".cpp") and n.startswith(("src/", "host/"))
             and n in compiled]
    cache = os.path.join(build, "clang-tidy-passed")
    os.makedirs(cache, exist_ok=True)
    common = includes_hash(names) + subprocess.run([tool, "--version"], capture_output=True).stdout

    def one(name):
        mark = os.path.join(cache, hashlib.sha256(common + name.encode() + content(name)).hexdigest())
        if os.path.exists(mark):
            return name, 0, ""
        result = subprocess.run([tool, "-p", build, "--quiet", name], cwd=root, capture_output=True,
                                text=True)
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
    tool = shutil.which("clang-" + mode) or shutil.which("clang-%s-14" % mode)
    if not tool:
        print("clang-%s is not installed" % mode)
        return 1
    names = [n for n in tracked() if n.endswith((".cpp", ".h"))
             and not n.startswith(("tests/golden/", "bench/peers/"))]
    return check_format(tool, names) if mode == "format" else check_tidy(tool, names)


sys.exit(main())
