#!/usr/bin/env python3
"""lint.py ROOT CHECK: one check of the sources, silent and zero when all is well."""
import glob
import os
import re
import subprocess
import sys

ROOT = sys.argv[1]
FLOORS = ["compound", "platform", "store", "board", "net", "frame", "text", "shared"]
# What each floor may include, beside itself and the public headers.
ALLOWED = {
    "compound": [],
    "platform": ["compound"],
    "store": ["platform"],
    "board": ["platform", "store"],
    "net": ["platform", "store"],
    "frame": ["platform", "store", "board", "net"],
    "text": ["platform", "store", "board", "net", "frame"],
    "shared": ["platform", "store", "board", "net", "frame", "text"],
}


def tracked():
    """Files of the project: what git knows or would add; without git, what is there."""
    try:
        out = subprocess.run(["git", "-C", ROOT, "ls-files", "-co", "--exclude-standard"],
                             capture_output=True, text=True, check=True).stdout
        names = out.splitlines()
    except (OSError, subprocess.CalledProcessError):
        names = []
        for folder, folders, files in os.walk(ROOT):
            folders[:] = [f for f in folders if f not in ("build", "out", ".git")]
            names += [os.path.relpath(os.path.join(folder, f), ROOT) for f in files]
    return sorted(n for n in names if os.path.isfile(os.path.join(ROOT, n)))


def read(name):
    with open(os.path.join(ROOT, name), encoding="utf-8", errors="replace") as file:
        return file.read()


def sources(*folders):
    """C++ sources and headers; the recorded generators of the golden files are data."""
    for name in tracked():
        if not name.endswith((".cpp", ".h")) or name.startswith(("tests/golden/", "bench/peers/")):
            continue
        if not folders or name.split("/")[0] in folders:
            yield name


def blank_out(text):
    """Comments and literals become blanks, line ends stay."""
    def hide(match):
        piece = match.group(0)
        return re.sub(r"[^\n]", " ", piece)
    pattern = (r'R"(\w*)\((?s:.*?)\)\1"|"(?:\\.|[^"\\\n])*"|(?<![\w])\'(?:\\.|[^\'\\\n])+\''
               r'|//[^\n]*|/\*(?s:.*?)\*/')
    return re.sub(pattern, hide, text)


def conditionals():
    """Platform names in conditionals live below the seam only."""
    words = r"_WIN32|_WIN64|WIN32|__linux__|__unix__|__APPLE__|__MINGW\w*|_MSC_VER|__GNUC__|__clang__"
    for name in sources():
        if name.startswith("src/platform/"):
            continue
        for number, line in enumerate(read(name).splitlines(), 1):
            if re.match(r"\s*#\s*(if|ifdef|ifndef|elif)\b.*(" + words + ")", line):
                yield "%s:%d: platform conditional above the seam" % (name, number)


def floors():
    """Includes run downward; above the seam there is no system header."""
    system = re.compile(r"#include <((sys|netinet|arpa|net)/|unistd|fcntl|dirent|pthread|poll|windows|"
                        r"winsock2?|ole2|objidl|objbase|signal\.h|time\.h|dlfcn)")
    for name in sources("src", "tests", "include"):
        parts = name.split("/")
        for number, line in enumerate(read(name).splitlines(), 1):
            where = "%s:%d: " % (name, number)
            seam = name.startswith(("src/platform/", "src/compound/", "tests/unit/compound/",
                                    "tests/unit/platform/", "tests/interop/", "tests/fuzz/",
                                    "tests/support/posix/", "tests/support/windows/"))
            if system.match(line) and not seam:
                yield where + "system header above the seam: " + line.strip()
            match = re.match(r'#include "(\w+)/', line)
            if parts[0] != "src" or parts[1] not in ALLOWED or not match:
                continue
            target = match.group(1)
            if target in FLOORS and target != parts[1] and target not in ALLOWED[parts[1]]:
                yield where + "floor %s may not include floor %s" % (parts[1], target)
            if target == "compound" and not name.startswith(("src/compound/", "src/platform/posix/")):
                yield where + "only the POSIX platform uses the engine"


def build_list():
    """Every source is named in the build list of its folder or one above."""
    for name in sources():
        if not name.endswith(".cpp"):
            continue
        folder = os.path.dirname(name)
        found = False
        while folder and not found:
            for script in ("CMakeLists.txt",):
                path = folder + "/" + script
                if os.path.exists(os.path.join(ROOT, path)):
                    relative = os.path.relpath(name, folder)
                    generic = re.sub(r"^(posix|windows)/", "${BREVANT_PLATFORM}/", relative)
                    text = re.sub(r"#[^\n]*", "", read(path))
                    found = found or any(re.search(r"(?<![\w/])" + re.escape(n) + r"(?![\w])", text)
                                         for n in (relative, generic))
            folder = os.path.dirname(folder)
        if not found:
            yield name + ": in no CMakeLists.txt"


def functions(name):
    """(length in lines, first line, head) of the functions that a source defines."""
    text = blank_out(read(name))
    text = re.sub(r"(?m)^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", "", text)
    stack, start = [], 0
    for match in re.finditer(r"[{};]", text):
        char, at = match.group(0), match.start()
        if char == "{":
            head = text[start:at]
            kind = "scope" if re.search(r"\b(namespace|class|struct|union|enum|extern)\b[^()]*$", head) \
                and not re.search(r"\)\s*(const|noexcept|override|final|->[^{]*|\s)*$", head) else "block"
            inside = any(k == "function" for k, _, _ in stack)
            if kind == "block" and not inside and "(" in head:
                kind = "function"
            lead = len(head) - len(head.lstrip())
            stack.append((kind, start + lead, " ".join(head.split())))
            start = match.end()
        elif char == "}":
            if stack:
                kind, first, head = stack.pop()
                if kind == "function":
                    line = text.count("\n", 0, first) + 1
                    yield text.count("\n", first, at) + 1, line, head
            start = match.end()
        else:
            start = match.end()


def function_length():
    """No function reaches 100 lines; the twenty longest are printed."""
    found = []
    for name in sources("src", "include", "host", "demo", "tests", "bench"):
        found += [(length, name, line, head) for length, line, head in functions(name)]
    found.sort(reverse=True)
    print("the twenty longest of %d functions:" % len(found))
    for length, name, line, head in found[:20]:
        print("%4d  %s:%d  %s" % (length, name, line, head[-60:]))
    over = sum(1 for f in found if f[0] > 50)
    print("over 50 lines: %.1f %%" % (100.0 * over / max(1, len(found))))
    for length, name, line, head in found:
        if length >= 100:
            yield "%s:%d: %d lines: %s" % (name, line, length, head[-60:])


def file_length():
    """Sources stay near 500 lines; a table may take more and says so in its first lines."""
    for name in sources():
        text = read(name)
        lines = text.count("\n")
        limit = 700 if name.startswith("tests/") else 550
        if lines > limit and "long on purpose" not in text[:400]:
            yield "%s: %d lines" % (name, lines)


def banned_functions():
    """Unbounded text functions, hidden state, naked arrays; `// lint: allowed, REASON` excepts a line."""
    banned = re.compile(r"(?<![\w.>])(?:std::|::)?(sprintf|vsprintf|strcpy|strcat|strtok|atoi|atol|atof|"
                        r"sscanf|gmtime|localtime|rand|srand|gets|tmpnam|alloca)\s*\(|\bnew\s+\w+\s*\[")
    for name in sources():
        raw = read(name).splitlines()
        for number, line in enumerate(blank_out(read(name)).splitlines(), 1):
            match = banned.search(line)
            if match and "lint: allowed" not in raw[number - 1]:
                yield "%s:%d: banned: %s" % (name, number, match.group(0).strip())


def banned_members():
    """Members that windows.h defines as macros would change their names on one platform."""
    names = ("GetMessage|SendMessage|PostMessage|DeleteFile|CreateFile|CopyFile|MoveFile|GetObject|"
             "GetCurrentTime|FindFirstFile|FindNextFile|GetTempPath|GetFileAttributes|LoadString|"
             "CreateDirectory|RemoveDirectory|GetUserName|DrawText|CreateProcess|GetFullPathName|"
             "SetFileAttributes|GetModuleFileName|ReplaceFile|GetTimeFormat|GetDateFormat|Yield")
    use = re.compile(r"(?:\.|->|\b\w+::)(%s)\s*\(|^\s+(?:virtual\s+|static\s+)?[\w:<>&*]+[ &*]+(%s)\s*\([^;]*\)"
                     r"(?:\s*const)?\s*(?:override)?\s*;" % (names, names))
    for name in sources("src", "include", "host", "demo", "tests"):
        if name.startswith("src/platform/"):
            continue
        for number, line in enumerate(blank_out(read(name)).splitlines(), 1):
            match = use.search(line)
            if match:
                yield "%s:%d: a name that windows.h defines as a macro: %s" % (
                    name, number, match.group(1) or match.group(2))


def disabled_tests():
    """A test that does not run fails; one that is left out says why."""
    weak = re.compile(r"DISABLED_|GTEST_SKIP\(\)\s*;|(EXPECT|ASSERT)_TRUE\(true\)|\bTODO\b|\bFIXME\b|\bXXX\b")
    for name in sources():
        for number, line in enumerate(read(name).splitlines(), 1):
            if weak.search(line):
                yield "%s:%d: %s" % (name, number, line.strip())


def words():
    """Documents of the building site are no part of the building."""
    # Spelled in pieces, so that this file does not hold what it looks for.
    pieces = ["spec" + "ification", r"\bspec" + r"\.md\b", r"\b(the|per) spec" + r"\b", r"\bPar" + r"ts? [1-6]\.[1-5]\b",
              "left to the impl" + "ementer", r"\bsub" + r"agents?\b", "helper" + " session", "/wo" + "rk/"]
    bad = re.compile("|".join(pieces), re.I)
    fine = re.compile(r"(noexcept|exception|format)[. ]" + pieces[0], re.I)
    for name in tracked():
        if name.startswith(("tests/golden/", "bench/peers/")) or re.search(r"\.(gz|mwd|png|ico)$", name):
            continue
        if re.search(r"spec(ification)?[._-]|[._-]spec\b", name, re.I):
            yield name + ": file name"
        for number, line in enumerate(read(name).splitlines(), 1):
            if bad.search(line) and not fine.search(line):
                yield "%s:%d: %s" % (name, number, line.strip()[:100])


def public_names():
    """Exported functions and classes that the public headers declare."""
    functions_, classes = set(), set()
    for path in glob.glob(ROOT + "/include/brevant/*.h"):
        text = open(path).read()
        text = re.sub(r"//[^\n]*", "", text)
        functions_ |= set(re.findall(r"BREVANT_EXPORTED_AS\((\w+)\)", text))
        functions_ |= set(re.findall(r"^BREVANT_API [\w *]+?(\w+)\([^)]*\)\s*(?:BREVANT_PRINTF\([^)]*\))?;", text, re.M))
        classes |= set(re.findall(r"class BREVANT_API (\w+)", text))
    return functions_, classes


def reference():
    """Public headers = list of exports = reference page."""
    functions_, classes = public_names()
    page = read("docs/reference.md")
    documented = set(re.findall(r"^\| `(\w+)` \|", page, re.M))
    flat = set(read("tests/api/exports.txt").split())
    for name in sorted((functions_ | classes) - documented):
        yield "docs/reference.md: `%s` is missing" % name
    for name in sorted(documented - functions_ - classes):
        yield "docs/reference.md: `%s` is in no public header" % name
    for name in sorted(flat - functions_):
        yield "tests/api/exports.txt: %s is in no public header" % name


def settings():
    """Keys that the library reads, those that the host offers and those that are documented."""
    use = re.compile(r'(?:[sS]etup_?|[sS]etup\(\)|[sS]tate_?|[sS]tate\(\)|settings)\s*(?:->|\.)\s*'
                     r'(?:String|Number|Integer|Time|Date|DefaultString)\(\s*"([^"]+)"')
    page = read("docs/formats/profile-keys.md")
    documented = {k.lower() for k in re.findall(r'^\| "([^"]+)"', page, re.M)}
    for line in re.findall(r'^\| (".*?) \|', page, re.M):
        documented |= {k.lower() for k in re.findall(r'"([^"]+)"', line)}
    for name in sources("src", "host"):
        for key in use.findall(read(name)):
            if key.lower() not in documented:
                yield '%s: setting "%s" is not in docs/formats/profile-keys.md' % (name, key)
    for key in re.findall(r'^    \{"([^"]+)",', read("host/settings_list.cpp"), re.M):
        if key.lower() not in documented:
            yield 'host/settings_list.cpp: "%s" is not in docs/formats/profile-keys.md' % key


def page_fields():
    """Tags in the table = documented tags; tags in the default templates are in the table."""
    code = set(re.findall(r'^\s*\{"([A-Z]+(?:_[A-Z]+)*)"', read("src/text/page_fields_table.cpp"), re.M))
    page = read("docs/formats/templates.md")
    documented = set()
    for cell in re.findall(r"^\| (`[A-Z_`, ]+`) \|", page, re.M):
        documented |= set(re.findall(r"`([A-Z_]+)`", cell))
    if len(code) < 30:
        yield "only %d page fields were found in src/text/page_fields_table.cpp" % len(code)
    for tag in sorted(code - documented):
        yield "docs/formats/templates.md: `%s` is missing" % tag
    for tag in sorted(documented - code):
        yield "docs/formats/templates.md: `%s` is no page field" % tag
    for name in tracked():
        if re.match(r"templates/.*\.ht(ml?|f)$", name):
            for tag in re.findall(r"\$(?:[\w~* ]+\.)*([A-Z][A-Z_]+)(?:\([^$]*\))?\$", read(name)):
                if tag not in code:
                    yield "%s: $%s$ is no page field" % (name, tag)


def platform_subset():
    """Every imitated function has its row in SUBSET.md."""
    page = read("src/platform/SUBSET.md") if os.path.exists(ROOT + "/src/platform/SUBSET.md") else ""
    known = set(re.findall(r"\w+", page))
    for name in sources("src"):
        if re.match(r"src/platform/posix/\w+\.h$", name):
            # What stands in a namespace is the platform floor's own.
            text = blank_out(read(name)).split("\nnamespace ")[0]
            for function in re.findall(r"^(?:[A-Z]+|int|HANDLE|void|unsigned \w+)\s\*?\s*([A-Za-z]\w+)\([^;{]*\);", text, re.M):
                if function not in known:
                    yield "src/platform/SUBSET.md: %s (%s) is missing" % (function, name)


def scripts():
    """Shell scripts parse."""
    for name in tracked():
        if name in ("run", ".ci/run") or name.endswith(".sh") and not name.startswith(("bench/peers/", "tests/golden/")):
            result = subprocess.run(["bash", "-n", os.path.join(ROOT, name)], capture_output=True, text=True)
            if result.returncode:
                yield name + ": " + result.stderr.strip()


def main():
    check = globals()[sys.argv[2].replace("-", "_")]
    problems = list(check())
    for problem in problems:
        print(problem)
    return 1 if problems else 0


sys.exit(main())
