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
    """A stop watch with named marks: clock("build") is the time since the last mark.

    Every mark is kept as elapsed time and as the processor time of this thread: on a machine that
    others use too, the second is nearer to what the program itself takes.
    """

    def __init__(self, solve):
        self.solve, self.wall, self.cpu = solve, {}, {}
        self._restart()

    def _restart(self):
        self._wall, self._cpu = time.perf_counter(), time.thread_time()

    def __call__(self, name, count=1):
        """Seconds since the last mark, divided by count; no name only restarts the watch."""
        wall, cpu = time.perf_counter(), time.thread_time()
        if name is not None:
            self.wall[name] = (wall - self._wall) / count
            self.cpu[name] = (cpu - self._cpu) / count
        self._restart()

    def put(self, name, value):
        """A figure measured otherwise."""
        self.wall[name] = self.cpu[name] = value
        self._restart()


def peak_mb():
    return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024


def main(peer, workload, size, solve):
    function = getattr(importlib.import_module("peers." + peer), workload)
    base = peak_mb()
    clock = Clock(solve == "1")
    report = {"marks": {"wall": clock.wall, "cpu": clock.cpu}}
    try:
        report["value"] = function(int(size), clock)
    except Exception as failure:
        # What was measured before stands: a peer may build what it cannot solve.
        report["error" if not clock.wall else "stopped"] = f"{type(failure).__name__}: {failure}"
    report["peak_mb"] = peak_mb() - base
    print("RESULT " + json.dumps(report), flush=True)
    os._exit(0)


main(*sys.argv[1:])
