"""One (peer, workload, size) in this process; prints one JSON line.

python worker.py PEER WORKLOAD SIZE SOLVE
"""

import importlib
import json
import os
import resource
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
sys.setrecursionlimit(20000)


class Clock:
    """A stop watch with named marks: clock("build") is the time since the last mark."""

    def __init__(self, solve):
        self.solve, self.marks, self.last = solve, {}, time.perf_counter()

    def __call__(self, name, count=1):
        """Seconds since the last mark, divided by count; no name only restarts the watch."""
        now = time.perf_counter()
        if name is not None:
            self.marks[name] = (now - self.last) / count
        self.last = time.perf_counter()

    def put(self, name, value):
        """A figure measured otherwise."""
        self.marks[name] = value
        self.last = time.perf_counter()


def peak_mb():
    return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024


def main(peer, workload, size, solve):
    function = getattr(importlib.import_module("peers." + peer), workload)
    base = peak_mb()
    clock = Clock(solve == "1")
    value = function(int(size), clock)
    report = {"marks": clock.marks, "peak_mb": peak_mb() - base, "value": value}
    print("RESULT " + json.dumps(report), flush=True)
    os._exit(0)


main(*sys.argv[1:])
