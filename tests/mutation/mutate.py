#!/usr/bin/env python3
"""Do the tests test? Changes the library and the tool in one small way at a time, and lists the changes that no test notices.

    ./dev mutate [COUNT] [SEED]

A change is a swapped comparison, a number one greater, another character, text or message key, a dropped statement, or a
turned condition, in a random sample of COUNT places. Each is built, in a copy of the tree under build/mutants, and the test
programs run until one fails or crashes. What does not compile does not count. A test program that does not end in time is
counted apart: it shows that something changed, not that a test asks for it.

Every result is appended to build/mutants/seed-SEED.jsonl at once. A run with the same seed goes on where the last one ended.
"""

import json
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
WORK = ROOT / "build" / "mutants"
SOURCE = WORK / "source"
BUILD = WORK / "build"
PROGRAMS = ["text_tests", "serial_tests", "localization_tests", "independent_tests", "memory_tests", "files_tests",
            "markup_tests", "fault_tests", "tool_tests"]
# Linked with the library's objects. The others see the shared library, and need not be built again with it.
LINKED = ["memory_tests", "fault_tests"]
# The program that is likely to notice comes first.
FIRST = {"velmora/text": "text_tests", "velmora/containers": "text_tests", "velmora/serial": "serial_tests",
         "velmora/localization": "localization_tests", "velmora/markup": "independent_tests",
         "velmora/files": "files_tests", "velmora/platform": "files_tests", "tools": "tool_tests"}
# Tests that compile locales or measure time, for what all others have let through.
SLOW = "HostLocale*:LinearTime*:ToolCosts*"
SECONDS = 90  # after which a program hangs
MEMORY = 6 << 30

SWAPS = [(" < ", " <= "), (" <= ", " < "), (" > ", " >= "), (" >= ", " > "), (" == ", " != "), (" != ", " == "),
         (" && ", " || "), (" || ", " && "), (" + ", " - "), (" - ", " + "), ("if (!", "if ("), ("while (!", "while ("),
         ("return true;", "return false;"), ("return false;", "return true;"), ("++", "--"), (" += ", " -= ")]
STATEMENT = re.compile(r"^(\s*)([A-Za-z_][\w:.\->\[\]*]*(\(.*\)| [-+*/|&]?= .*|\+\+|--)|\+\+\w+|--\w+);$")
NUMBER = re.compile(r"(?<![\w.])(0[xX][0-9a-fA-F]+|\d+)(?=[uUlL]*(?![\w.]))")
CHARACTER = re.compile(r"'(\\x[0-9a-fA-F]{2}|\\.|[^\\'])'")
TEXT = re.compile(r'"((?:\\.|[^\\"])+)"')
KEY = re.compile(r"\bLCA__\w+")
SKIPPED = re.compile(r"^\s*(//|#|static_assert|template|using|namespace|return \*this;|assert)|\bassert\(|init_priority|extern \"C\"")


def files():
    listed = subprocess.run(["git", "ls-files", "velmora", "tools"], cwd=ROOT, capture_output=True, text=True,
                            check=True).stdout
    for name in listed.split():
        if name.endswith((".cpp", ".h")) and "windows" not in name and not name.endswith("localization/keys.h"):
            yield name


def keys():
    return list(dict.fromkeys(KEY.findall((ROOT / "velmora/localization/keys.h").read_text())))


def without_comment(line):
    quoted = ""
    for index, letter in enumerate(line):
        if quoted:
            if letter == quoted and (line[index - 1] != "\\" or line[index - 2: index] == "\\\\"):
                quoted = ""
        elif letter == '"' or letter == "'" and not line[index - 1: index].isalnum():
            quoted = letter
        elif line.startswith("//", index):
            return line[:index].rstrip()
    return line.rstrip()


def other_character(literal):
    """Another byte, which is no terminator."""
    if literal.startswith("\\x"):
        return "\\x%02x" % (int(literal[2:], 16) % 255 + 1)
    if literal.startswith("\\"):
        return "~"
    return chr(ord(literal) + 1) if literal not in "&[" else "~"


def other_text(text):
    """Without its last character, or with another one where there is only one."""
    parts = re.findall(r"\\x[0-9a-fA-F]{2}|\\[0-7]{1,3}|\\.|.", text)
    return "".join(parts[:-1]) if len(parts) > 1 else other_character(parts[0])


def mutations(name, all_keys):
    """All (line number, new line, what) of a file."""
    for number, line in enumerate((ROOT / name).read_text().splitlines()):
        code = without_comment(line)
        if not code.strip() or SKIPPED.search(code) or code.rstrip().endswith("\\"):
            continue

        def change(match, new, group=0):
            return number, code[: match.start(group)] + new + code[match.end(group):], f"{match.group(group)} to {new}"

        blank = lambda match: " " * len(match.group())
        plain = CHARACTER.sub(blank, TEXT.sub(blank, code))
        for old, new in SWAPS:
            for match in re.finditer(re.escape(old), plain):
                yield change(match, new)
        for match in NUMBER.finditer(plain):
            value = match.group(1)
            yield change(match, hex(int(value, 16) + 1) if value[:2] in ("0x", "0X") else str(int(value) + 1), 1)
        for match in CHARACTER.finditer(TEXT.sub(blank, code)):
            yield change(match, other_character(match.group(1)), 1)
        for match in TEXT.finditer(code):
            yield change(match, other_text(match.group(1)), 1)
        for match in KEY.finditer(plain):
            if match.group() in all_keys:
                yield change(match, all_keys[(all_keys.index(match.group()) + 1) % len(all_keys)])
        if STATEMENT.match(code):
            yield number, STATEMENT.match(code).group(1) + ";", "dropped"


def passes(program, filter="-" + SLOW):
    """Whether it ends well, or None when it does not end in time."""

    def limit():
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

    # A session of its own, so that what the tests have started ends with them.
    process = subprocess.Popen([str(BUILD / "bin" / program), "--gtest_brief=1", "--gtest_fail_fast",
                                f"--gtest_filter={filter}"], cwd=BUILD,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, preexec_fn=limit,
                               start_new_session=True)
    try:
        return process.wait(timeout=SECONDS) == 0
    except subprocess.TimeoutExpired:
        return None
    finally:
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.wait()


def build(*targets):
    return subprocess.run(["cmake", "--build", str(BUILD), "--target", *targets], stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL).returncode == 0


class Header:
    """A header's change, seen by the test sources that are named after it: all that include it take minutes to compile.

    What they let through is met by all tests of the shared library with the header in the library alone.
    """

    def __init__(self, name):
        commands = json.loads((BUILD / "compile_commands.json").read_text())
        folder, stem = pathlib.Path(name).parent.name, pathlib.Path(name).stem
        self.units = [entry for entry in commands
                      if re.search(rf"/tests/{folder}/{stem}(_\w+)?_test\.cpp$", entry["file"]) and "memory" not in entry["file"]
                      or folder == "text" and "comparisons_20_test" in entry["command"]]

    def outcome(self):
        """'caught', 'timeout', or None when the rest of the tests must tell."""
        if not self.units:
            return None
        programs = {re.search(r" -o \S*?(\w+)\.dir/", unit["command"]).group(1) for unit in self.units}
        for program in sorted(programs):
            link = subprocess.run(["ninja", "-C", str(BUILD), "-t", "commands", "-s", f"bin/{program}"], capture_output=True,
                                  text=True).stdout.strip().splitlines()
            if not link:
                return None
            command = link[-1]
            for unit in self.units:
                output = re.search(r" -o (\S+)", unit["command"]).group(1)
                if f"/{program}.dir/" not in output:
                    continue
                compiled = subprocess.run(unit["command"].replace(f" -o {output}", f" -o {output}.quick.o"), shell=True,
                                          cwd=unit["directory"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                if compiled.returncode != 0:
                    return None  # the full build says whether the library compiles
                command = command.replace(output + " ", f"{output}.quick.o ")
            command = command.replace(f"-o bin/{program} ", f"-o bin/quick_{program} ")
            if subprocess.run(command, shell=True, cwd=BUILD, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL).returncode != 0:
                return None
            result = passes(f"quick_{program}")
            if result is None:
                return "timeout"
            if not result:
                return "caught"
        return None


def outcome(name):
    """'caught', 'survived', 'timeout', or 'invalid' for what does not compile."""
    if name.endswith(".h"):
        quick = Header(name).outcome()
        if quick:
            return quick
    first = FIRST.get(str(pathlib.Path(name).parent), "text_tests")
    ofTool = name.startswith("tools")
    if not build("velmora_tool" if ofTool else "velmora"):
        return "invalid"
    programs = ["tool_tests"] if ofTool else sorted(PROGRAMS, key=lambda program: program != first)
    if name.endswith(".h") and not ofTool:
        # Those that are linked with the library's objects include the header themselves, all of it.
        programs = [program for program in programs if program not in LINKED]
    slow = [(program, SLOW) for program in programs if program in ("text_tests", "tool_tests")]
    for program, filter in [(program, "-" + SLOW) for program in programs] + slow:
        if (ofTool or program in LINKED) and not build(program):
            return "invalid"
        result = passes(program, filter)
        if result is None:
            return "timeout"
        if not result:
            return "caught"
    return "survived"


def prepare():
    listed = subprocess.run(["git", "ls-files"], cwd=ROOT, capture_output=True, text=True, check=True).stdout
    wanted = {name for name in listed.split("\n") if name and (ROOT / name).is_file()}
    for name in wanted:
        copy, source = SOURCE / name, ROOT / name
        if not copy.is_file() or copy.read_bytes() != source.read_bytes():
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(source, copy)
            shutil.copymode(source, copy)
    for path in [path for path in SOURCE.rglob("*") if path.is_file()]:
        if str(path.relative_to(SOURCE)) not in wanted:
            path.unlink()
    # Without optimisation, which would cost more than it gains.
    subprocess.run(["cmake", "-S", str(SOURCE), "-B", str(BUILD), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                    "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", "-DVELMORA_BUILD_EXAMPLES=OFF", "-DVELMORA_INSTALL=OFF"],
                   check=True, stdout=subprocess.DEVNULL)
    if not build("velmora_dictionaries", "service_child", *PROGRAMS):
        sys.exit("the library as it is does not build")
    for program in PROGRAMS:
        if not passes(program):
            sys.exit(f"the library as it is does not pass {program}")


def main():
    count = int(sys.argv[1]) if len(sys.argv) > 1 else 100
    seed = int(sys.argv[2]) if len(sys.argv) > 2 else 1
    os.environ.setdefault("GTEST_COLOR", "no")
    prepare()
    all_keys = keys()
    candidates = [(name, *mutation) for name in files() for mutation in mutations(name, all_keys)]
    random.Random(seed).shuffle(candidates)
    results_path = WORK / f"seed-{seed}.jsonl"
    results = [json.loads(line) for line in results_path.read_text().splitlines()] if results_path.is_file() else []
    known = {(result["file"], result["line"], result["what"], result["to"]): result for result in results}
    tally = {"caught": 0, "survived": 0, "timeout": 0, "invalid": 0}
    for name, number, line, what in candidates:
        if sum(tally.values()) - tally["invalid"] == count:
            break
        path = SOURCE / name
        original = path.read_text()
        lines = original.splitlines()
        before = lines[number].strip()
        result = known.get((name, number + 1, what, line.strip()))
        if result is None:
            lines[number] = line
            path.write_text("\n".join(lines) + "\n")
            try:
                result = {"outcome": outcome(name), "file": name, "line": number + 1, "what": what, "from": before,
                          "to": line.strip()}
            finally:
                path.write_text(original)
            with results_path.open("a") as kept:
                kept.write(json.dumps(result) + "\n")
        tally[result["outcome"]] += 1
        if result["outcome"] in ("survived", "timeout"):
            print(f"{result['outcome']}: {name}:{number + 1}: {what}: {before}", flush=True)
    tried = sum(tally.values()) - tally["invalid"]
    print(f"{tried} of {len(candidates)} places tried, seed {seed}: {tally['caught']} caught "
          f"({100 * tally['caught'] / max(tried, 1):.1f} %), {tally['survived']} survived, {tally['timeout']} did not end "
          f"in time; {tally['invalid']} more did not compile")


if __name__ == "__main__":
    main()
