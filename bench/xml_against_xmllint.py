#!/usr/bin/env python3
"""Walks one 90 MB XML document with the reader and with xmllint --stream, in one run.

usage: xml_against_xmllint.py FOLDER-OF-THE-PROGRAMS [MEGABYTES]

Prints the median time and the peak memory of both, and the ratio of the times.
"""
import os
import statistics
import subprocess
import sys
import tempfile
import time

RUNS = 5


def measure(command):
    """Median seconds of RUNS runs, and the peak memory in MB of one."""
    seconds = []
    for _ in range(RUNS):
        start = time.perf_counter()
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
        seconds.append(time.perf_counter() - start)
    pid = os.posix_spawnp(command[0], command, os.environ, file_actions=[
        (os.POSIX_SPAWN_OPEN, 1, os.devnull, os.O_WRONLY, 0)])
    _, status, usage = os.wait4(pid, 0)
    if status != 0:
        raise SystemExit(f"{command[0]} failed")
    return statistics.median(seconds), usage.ru_maxrss / 1024


def main():
    programs = sys.argv[1]
    megabytes = sys.argv[2] if len(sys.argv) > 2 else "90"
    here = os.path.dirname(os.path.abspath(__file__))
    with tempfile.TemporaryDirectory() as folder:
        document = os.path.join(folder, "records.xml")
        script = os.path.join(here, "..", "examples", "data", "make_records.py")
        subprocess.run([sys.executable, script, megabytes, document], check=True, stdout=subprocess.DEVNULL)
        size = os.path.getsize(document)
        own, own_memory = measure([os.path.join(programs, "walk_file"), document])
        other, other_memory = measure(["xmllint", "--stream", "--noout", document])
    print(f"document            {size / 1e6:8.1f} MB, median of {RUNS} runs, loading included")
    for name, seconds, memory in (("velmora, attributes", own, own_memory), ("xmllint --stream", other, other_memory)):
        print(f"{name:<20}{seconds:8.3f} s {size / 1e6 / seconds:8.0f} MB/s {memory:8.1f} MB peak")
    print(f"ratio               {other / own:8.1f}")


if __name__ == "__main__":
    main()
