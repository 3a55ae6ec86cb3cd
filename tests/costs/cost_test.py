#!/usr/bin/env python3
"""Compares what chief operations cost in instructions with the numbers of costs.json.

    cost_test.py PROGRAM COSTS.json

A row that has grown by more than 3 % fails, and so does one that is in one of both only. Another compiler or C library
counts otherwise: then the test is skipped, with the reason. With VELMORA_UPDATE_COSTS set, it writes the numbers anew.
The C library is held to what every x86-64 processor has, so that the counts do not depend on the machine.
"""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

GROWTH = 1.03
SKIPPED = 77
BEYOND_SSE2 = ["AVX512F", "AVX512VL", "AVX512BW", "AVX512DQ", "AVX2", "AVX", "AVX_Fast_Unaligned_Load", "BMI1", "BMI2",
               "ERMS", "FSRM", "LZCNT", "MOVBE", "POPCNT", "RTM", "SSE4_2", "SSE4_1", "SSSE3", "SSE3"]


def skip(reason):
    print(f"skipped: {reason}")
    sys.exit(SKIPPED)


def count(program):
    """What the program is built with, and the instructions per item of each row."""
    environment = {"PATH": "/usr/bin:/bin", "LC_ALL": "C", "LD_BIND_NOW": "1",
                   "GLIBC_TUNABLES": "glibc.cpu.hwcaps=" + ",".join("-" + name for name in BEYOND_SSE2)}
    with tempfile.TemporaryDirectory() as folder:
        command = ["valgrind", "--tool=callgrind", "--collect-atstart=no", "--callgrind-out-file=counts",
                   str(pathlib.Path(program).resolve())]
        done = subprocess.run(command, env=environment, cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              text=True)
        if done.returncode != 0:
            sys.exit(done.stderr)
        totals = dict(parse_counts(path.read_text()) for path in pathlib.Path(folder).glob("counts.*"))
    return parse_rows(done.stdout, totals)


def parse_counts(text):
    """(row, instructions) of one file of callgrind."""
    row = re.search(r"^desc: Trigger: Client Request: (\S+)", text, re.MULTILINE)
    total = re.search(r"^(?:totals|summary): (\d+)", text, re.MULTILINE)
    return (row.group(1) if row else "", int(total.group(1)) if total else 0)


def parse_rows(text, totals):
    lines = text.splitlines()
    costs = {}
    for line in lines[1:]:
        _, row, items = line.split()
        costs[row] = round(totals[row] / int(items), 2)
    return lines[0], costs


def compare(recorded, counted):
    """Lines of a table, and the rows that fail."""
    lines = []
    failed = []
    for row in list(recorded) + [row for row in counted if row not in recorded]:
        if row not in recorded or row not in counted:
            lines.append(f"{row:<20} is {'not in the numbers' if row not in recorded else 'no longer counted'}")
            failed.append(row)
            continue
        change = counted[row] / recorded[row]
        lines.append(f"{row:<20}{recorded[row]:>12.2f}{counted[row]:>12.2f}{(change - 1) * 100:>+9.1f} %")
        if change > GROWTH:
            failed.append(row)
    return lines, failed


def main():
    program, path = sys.argv[1], pathlib.Path(sys.argv[2])
    if not shutil.which("valgrind"):
        skip("valgrind is not installed")
    built, counted = count(program)
    if os.environ.get("VELMORA_UPDATE_COSTS"):
        path.write_text(json.dumps({"built": built, "instructions": counted}, indent=2) + "\n")
        print(f"{path} has the numbers of today")
    recorded = json.loads(path.read_text())
    if recorded["built"] != built:
        skip(f"the counts are those of {recorded['built']}, and this program has {built}")
    lines, failed = compare(recorded["instructions"], counted)
    print(f"{'instructions per item':<20}{'recorded':>11}{'counted':>12}{'change':>11}")
    print("\n".join(lines))
    if failed:
        print(f"These have grown by more than {(GROWTH - 1) * 100:.0f} %, or are new or gone: {', '.join(failed)}\n"
              "./dev test --update-costs takes over numbers that are meant.")
        sys.exit(1)


if __name__ == "__main__":
    main()
