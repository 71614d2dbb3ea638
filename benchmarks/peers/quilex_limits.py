"""Quilex against itself: growth with size, memory, products, import, repeated use. No peers."""

import ctypes
import gc
import subprocess
import sys
import time
from itertools import pairwise

import numpy as np
from targets import COMPARISONS

import quilex


def _resident_bytes(field="VmRSS"):
    with open("/proc/self/status") as status:
        for line in status:
            if line.startswith(field + ":"):
                return 1024 * int(line.split()[1])
    raise OSError(f"no {field} in /proc/self/status")


def _give_free_pages_back():
    ctypes.CDLL(None).malloc_trim(0)


def _settled_bytes():
    """Resident bytes without garbage and the allocator's free pages."""
    gc.collect()
    _give_free_pages_back()
    return _resident_bytes()


def linearity(n, clock):
    """Seconds per term of four ways to add up n, n/2, n/4 and n/8 distinct variables.

    Each sum starts from fresh memory. Of the times per term the least counts. How much longer 2n
    terms take than n is told by comparisons of one sum of 2n with the mean of the sums of n right
    before and after it, as a machine that others use changes its pace all the time; the median of
    all rounds' comparisons counts.
    """
    x = [quilex.var() for _ in range(n)]
    lengths = [n // part for part in (8, 4, 2, 1)]
    for name, build, collect in (
        ("Sum", lambda x: quilex.Sum(2.0 * v for v in x), list),
        ("+=", _by_plain_increments, list),
        ("chain", _by_chain, list),
        ("numpy sum", np.sum, _object_array),
    ):
        over = {length: collect(x[:length]) for length in lengths}
        times = {length: [] for length in lengths}
        for short, long in pairwise(lengths):
            for k in range(COMPARISONS):
                before, twice, after = (
                    _thread_seconds(build, over[length]) for length in (short, long, short)
                )
                clock.put(f"{name} doubling to {long} {k}", 2 * twice / (before + after))
                times[short] += before, after
                times[long].append(twice)
        for length, seconds in times.items():
            clock.put(f"{name} {length}", min(seconds) / length)


def _object_array(x):
    array = np.empty(len(x), dtype=object)
    array[:] = x
    return array


def _thread_seconds(build, x):
    _give_free_pages_back()
    began = time.thread_time()
    e = build(x)
    seconds = time.thread_time() - began
    del e
    return seconds


def _by_plain_increments(x):
    e = quilex.Sum()
    for v in x:
        e += 2.0 * v
    return e


def _by_chain(x):
    e = x[0]
    for v in x:
        e = e + v
    return e


def term_bytes(n, clock):
    """Bytes per term that an expression of n terms keeps resident, over variables that exist.

    The expression lives outside Python's heap, so resident pages are counted, not tracemalloc; peak
    is the high-water mark while it is built.
    """
    x = [quilex.var() for _ in range(n)]
    for name, build in (("Sum", _by_sum), ("+=", _by_increments)):
        before = _settled_bytes()
        with open("/proc/self/clear_refs", "w") as reset:
            reset.write("5")
        e = build(x)
        peak = _resident_bytes("VmHWM")
        clock.put(name, (_settled_bytes() - before) / n)
        clock.put(name + " peak", (peak - before) / n)
        c = e <= 1
        clock.put(name + " as a constraint", (_settled_bytes() - before) / n)
        del e, c


def _by_sum(x):
    return quilex.Sum((1.0 + k) * v for k, v in enumerate(x))


def _by_increments(x):
    e = quilex.Sum()
    for k, v in enumerate(x):
        e += (1.0 + k) * v
    return e


def dot(n, clock):
    """Seconds per product of Dot(A, x) with a dense n by n array A of constants."""
    a = np.random.default_rng(1).uniform(1.0, 2.0, (n, n))
    x = np.empty(n, dtype=object)
    x[:] = [quilex.var() for _ in range(n)]
    for name in ("first", "product"):
        clock(None)
        rows = quilex.Dot(a, x)
        clock(name, n * n)
    p = quilex.problem()
    p.addVariable(x)
    clock(None)
    p.addConstraint(rows <= 1)
    clock("as rows", n * n)


def import_time(n, clock):
    """Seconds of `import quilex` after numpy, the best of n fresh processes."""
    code = (
        "import numpy, time; began = time.perf_counter(); import quilex;"
        " print(time.perf_counter() - began)"
    )
    command = [sys.executable, "-c", code]
    times = [
        float(subprocess.run(command, capture_output=True, check=True).stdout) for _ in range(n)
    ]
    clock.put("best", min(times))
    clock.put("median", sorted(times)[n // 2])


def cycles(n, clock):
    """Bytes by which the process grows over n build-solve-drop cycles, after the first tenth."""
    for _ in range(n // 10):
        _cycle()
    before = _settled_bytes()
    clock(None)
    for _ in range(n - n // 10):
        _cycle()
    clock("cycle", n - n // 10)
    clock.put("growth", _settled_bytes() - before)


def _cycle():
    p = quilex.problem()
    p.controls.outputlog = 0
    x = [quilex.var(ub=10) for _ in range(5)]
    p.addVariable(x)
    p.addConstraint(x[k] + 2 * x[k + 1] <= 3 + k for k in range(4))
    p.setObjective(quilex.Sum(x), sense=quilex.maximize)
    p.solve()
    if p.getProbStatusString() != "lp_optimal" or abs(sum(p.getSolution()) - p.getObjVal()) > 1e-6:
        raise AssertionError("a cycle went wrong")
