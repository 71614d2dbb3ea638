"""floor.cpp through ctypes.

What remains when Python costs nothing. Builds itself into $BENCH_TMP on first use.
"""

import ctypes
import os
import subprocess
import tempfile
from importlib.util import find_spec

import data
import numpy as np

BATCH = 1
_here = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
_tmp = os.environ.get("BENCH_TMP", tempfile.gettempdir())
_so = os.path.join(_tmp, "libfloor.so")
_src = os.path.join(_here, "floor.cpp")
if not os.path.exists(_so) or os.path.getmtime(_so) < os.path.getmtime(_src):
    d = os.path.join(os.path.dirname(find_spec("highsbox").origin), "highs_dist")
    subprocess.run(
        [
            "g++",
            "-O3",
            "-std=c++17",
            "-shared",
            "-fPIC",
            _src,
            "-I" + d + "/include/highs",
            "-L" + d + "/lib",
            "-lhighs",
            "-Wl,-rpath," + d + "/lib",
            "-o",
            _so,
        ],
        check=True,
    )
_lib = ctypes.CDLL(_so)


def _call(f, n, clock):
    t = (ctypes.c_double * 3)()
    f(n, BATCH, int(clock.solve), t)
    clock.put("build", t[0])
    clock.put("load", t[1])
    return t[2] if clock.solve else None


def fac(n, clock):
    return _call(_lib.fac, n, clock)


def lqcp(n, clock):
    return _call(_lib.lqcp, n, clock)


def assign(n, clock):
    return _call(_lib.assign, n, clock)


assign_vec = assign


def knap_sum(n, clock):
    return _call(_lib.knap, n, clock)


knap_inc = knap_sum


def modify(n, clock, steps=200):
    import numpy as np

    a, b, c = data.modify_lp(n)
    plan = [data.modify_step(b, k) for k in range(steps)]
    row = np.array([p[0] for p in plan], dtype=np.int32)
    rhs = np.array([p[1] for p in plan])
    start, index = a.indptr.astype(np.int32), a.indices.astype(np.int32)
    t = (ctypes.c_double * 3)()
    p = [v.ctypes.data_as(ctypes.c_void_p) for v in (start, index, a.data, b, c, row, rhs)]
    _lib.modify(n, a.nnz, *p[:5], steps, *p[5:], t)
    clock.put("iter", t[0] / steps)
    return t[2]


def query(n, clock):
    """What Python itself takes: one call per value that makes a float, in a list."""
    values = [float(k) for k in range(n)]
    clock(None)
    v = [abs(value) for value in values]
    clock("read", n)
    return sum(v)


def query_vec(n, clock):
    """What numpy itself takes: a new array, written once."""
    clock(None)
    v = np.ones(n)
    clock("read", n)
    return float(v.sum())
