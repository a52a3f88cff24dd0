#!/usr/bin/env python3
"""Times whole runs of programs on one file, in turns, and prints their medians as rows of a table."""

import argparse
import json
import os
import pathlib
import shutil
import statistics
import subprocess
import time

FILE = "agent/Global.qxc"
COMMANDS = {
    "PlugSetter": ["-r", "ORACLE", "agent", "backup", "install.xlog"],
    "floor": [FILE, "agent/copy"],
    "floor-sync": [FILE, "backup/node/copy", ".", "backup", "backup/node"],
    "sed": ["-i.bak", "s/^Code = CLUSTER/Code = ORACLE/", FILE],
    "git": ["config", "--file", FILE, "plugin2.code", "ORACLE"],
}


class Contender:
    def __init__(self, text, inputs):
        self.label, kind, program = text.split(":")
        self.command = [program] + COMMANDS[kind]
        self.source = inputs / ("input.git" if kind == "git" else "input.qxc")
        self.walls, self.processors = [], []

    def prepare(self):
        for name in ("agent", "backup"):
            shutil.rmtree(name, ignore_errors=True)
        os.mkdir("agent")
        shutil.copyfile(self.source, FILE)

    def run(self):
        self.prepare()
        start = time.perf_counter()
        process = os.posix_spawnp(self.command[0], self.command, os.environ)
        _, status, usage = os.wait4(process, 0)
        self.walls.append(time.perf_counter() - start)
        self.processors.append(usage.ru_utime + usage.ru_stime)
        if status != 0:
            raise SystemExit(f"failed: {' '.join(self.command)}")

    def peak(self):
        """Peak memory in MiB. It includes that of the process that starts the program, so a small one does."""
        self.prepare()
        timed = subprocess.run(["/usr/bin/time", "-f", "%M"] + self.command, check=True, stderr=subprocess.PIPE)
        return int(timed.stderr.split()[-1]) / 1024


def quartiles(times):
    low, _, high = statistics.quantiles(times, n=4)
    return f"{1000 * low:.4g} to {1000 * high:.4g}"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("title")
    parser.add_argument("inputs", type=pathlib.Path, help="folder of input.qxc and input.git")
    parser.add_argument("runs", type=int, help="of each program, 2 or more")
    parser.add_argument("--record", metavar="FILE", help="add the size of the file and the medians, for plot.py")
    parser.add_argument("contenders", nargs="+", help=f"LABEL:KIND:PROGRAM, the kind one of {', '.join(COMMANDS)}")
    options = parser.parse_args()
    contenders = [Contender(text, options.inputs) for text in options.contenders]
    for _ in range(options.runs):
        for contender in contenders:
            contender.run()
    if options.record:
        medians = {contender.label: statistics.median(contender.walls) for contender in contenders}
        size = (options.inputs / "input.qxc").stat().st_size
        with open(options.record, "a", encoding="utf-8") as record:
            print(json.dumps({"size": size, "walls": medians}), file=record)
    first = statistics.median(contenders[0].walls)
    for contender in contenders:
        wall = statistics.median(contender.walls)
        processor = statistics.median(contender.processors)
        print(f"| {options.title} | {contender.label} | {1000 * wall:.4g} | {quartiles(contender.walls)} "
              f"| {wall / first:.2f} | {1000 * processor:.4g} | {contender.peak():.1f} |", flush=True)


if __name__ == "__main__":
    main()
