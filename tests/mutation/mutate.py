#!/usr/bin/env python3
"""Do the tests test? Changes the library in one small way at a time, and tells which changes no test notices.

    ./dev mutate [COUNT] [SEED]

A change is a swapped comparison, an off-by-one, a dropped statement, or a turned condition, in a random sample of COUNT
places. Each is built, in a copy of the tree under build/mutants, and the test programs run until one fails, crashes or
hangs. What does not compile does not count. The survivors are listed with their place.
"""

import os
import pathlib
import random
import re
import resource
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
WORK = ROOT / "build" / "mutants"
SOURCE = WORK / "source"
BUILD = WORK / "build"
# The first need nothing but the shared library; the others are linked with its objects.
SHARED = ["text_tests", "serial_tests", "localization_tests", "independent_tests", "markup_tests", "files_tests"]
LINKED = ["memory_tests", "fault_tests"]
# The programs that are likely to notice come first.
FIRST = {"text": "text_tests", "containers": "text_tests", "serial": "serial_tests", "localization": "localization_tests",
         "markup": "independent_tests", "files": "files_tests", "platform": "files_tests"}
SECONDS = 60  # after which a program hangs
MEMORY = 6 << 30

SWAPS = [(" < ", " <= "), (" <= ", " < "), (" > ", " >= "), (" >= ", " > "), (" == ", " != "), (" != ", " == "),
         (" && ", " || "), (" || ", " && "), (" + ", " - "), (" - ", " + "), ("if (!", "if ("), ("while (!", "while ("),
         ("return true;", "return false;"), ("return false;", "return true;"), ("++", "--"), (" += ", " -= ")]
STATEMENT = re.compile(r"^(\s*)([A-Za-z_][\w:.\->\[\]*]*(\(.*\)| [-+*/|&]?= .*|\+\+|--)|\+\+\w+|--\w+);$")
NUMBER = re.compile(r"(?<![\w.'\"])(\d+)(?![\w.'\"])")
SKIPPED = re.compile(r"^\s*(//|#|static_assert|template|using|namespace|return \*this;|assert)|\bassert\(|init_priority")


def files():
    listed = subprocess.run(["git", "ls-files", "velmora"], cwd=ROOT, capture_output=True, text=True, check=True).stdout
    for name in listed.split():
        if name.endswith(".cpp") and "windows" not in name or name.endswith(("scan.h", "mldocout_stage.h")):
            yield name


def mutations(name):
    """All (line number, new line, what) of a file."""
    for number, line in enumerate((ROOT / name).read_text().splitlines()):
        code = line.split("//")[0].rstrip()
        if not code.strip() or SKIPPED.search(code) or code.count('"') % 2:
            continue
        plain = re.sub(r'"[^"]*"', lambda m: " " * len(m.group()), code)
        for old, new in SWAPS:
            for match in re.finditer(re.escape(old), plain):
                yield number, code[: match.start()] + new + code[match.end():], f"'{old.strip()}' to '{new.strip()}'"
        for match in NUMBER.finditer(plain):
            changed = str(int(match.group()) + 1)
            yield number, code[: match.start()] + changed + code[match.end():], f"{match.group()} to {changed}"
        if STATEMENT.match(code):
            yield number, STATEMENT.match(code).group(1) + ";", "dropped"


def run(arguments, **options):
    def limit():
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

    try:
        return subprocess.run(arguments, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=SECONDS,
                              preexec_fn=limit, **options).returncode
    except subprocess.TimeoutExpired:
        return -1


def build(*targets):
    return subprocess.run(["cmake", "--build", str(BUILD), "--target", *targets], stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL).returncode == 0


def passes(program):
    return run([str(BUILD / "bin" / program), "--gtest_brief=1", "--gtest_fail_fast"]) == 0


def survives(name):
    """None when it does not compile."""
    if not build("velmora"):
        return None
    first = FIRST[name.split("/")[1]]
    if not all(passes(program) for program in sorted(SHARED, key=lambda program: program != first)):
        return False
    return build(*LINKED) and all(passes(program) for program in LINKED)


def prepare():
    shutil.rmtree(SOURCE, ignore_errors=True)
    listed = subprocess.run(["git", "ls-files"], cwd=ROOT, capture_output=True, text=True, check=True).stdout
    for name in listed.split("\n"):
        if not name or not (ROOT / name).is_file():
            continue
        (SOURCE / name).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy2(ROOT / name, SOURCE / name)
    # Without optimisation, which would cost more than it gains.
    subprocess.run(["cmake", "-S", str(SOURCE), "-B", str(BUILD), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                    "-DVELMORA_BUILD_EXAMPLES=OFF", "-DVELMORA_INSTALL=OFF"], check=True, stdout=subprocess.DEVNULL)
    if not build("velmora_dictionaries", "service_child", *SHARED, *LINKED):
        sys.exit("the library as it is does not build")
    for program in SHARED + LINKED:
        if not passes(program):
            sys.exit(f"the library as it is does not pass {program}")


def main():
    count = int(sys.argv[1]) if len(sys.argv) > 1 else 300
    seed = int(sys.argv[2]) if len(sys.argv) > 2 else 1
    os.environ.setdefault("GTEST_COLOR", "no")
    prepare()
    candidates = [(name, *mutation) for name in files() for mutation in mutations(name)]
    random.Random(seed).shuffle(candidates)
    caught, survivors, invalid = 0, [], 0
    for name, number, line, what in candidates:
        if caught + len(survivors) == count:
            break
        path = SOURCE / name
        original = path.read_text()
        lines = original.splitlines()
        before = lines[number].strip()
        lines[number] = line
        path.write_text("\n".join(lines) + "\n")
        outcome = survives(name)
        path.write_text(original)
        if outcome is None:
            invalid += 1
        elif outcome:
            survivors.append((name, number + 1, what, before))
            print(f"survived: {name}:{number + 1}: {what}: {before}", flush=True)
        else:
            caught += 1
        if (caught + len(survivors)) % 25 == 0:
            print(f"{caught} caught, {len(survivors)} survived, {invalid} do not compile", flush=True)
    tried = caught + len(survivors)
    print(f"{tried} of {len(candidates)} mutations tried, {caught} caught ({100 * caught / max(tried, 1):.1f} %)")


if __name__ == "__main__":
    main()
