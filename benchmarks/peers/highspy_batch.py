"""The floor that Python can reach.

Numpy arrays filled without loops, one passModel/addRows call.
"""

import data
import highspy
import numpy as np
from peers.highspy_scalar import _finish, _model

INF = highspy.kHighsInf


def _pass(h, cost, lb, ub, lo, hi, start, index, value, integer=None, off=0.0):
    m = highspy.HighsLp()
    m.num_col_, m.num_row_ = len(cost), len(lo)
    m.col_cost_, m.col_lower_, m.col_upper_ = cost, lb, ub
    m.row_lower_, m.row_upper_ = lo, hi
    a = m.a_matrix_
    a.format_ = highspy.MatrixFormat.kRowwise
    a.num_col_, a.num_row_ = len(cost), len(lo)
    a.start_, a.index_, a.value_ = start, index, value
    m.offset_ = off
    if integer is not None:
        m.integrality_ = integer
    h.passModel(m)


def fac(n, clock):
    h = _model()
    G = F = n
    N = (G + 1) ** 2 * F
    i, j, f = (
        v.ravel()
        for v in np.meshgrid(np.arange(G + 1), np.arange(G + 1), np.arange(F), indexing="ij")
    )
    k = np.arange(N)
    y0, d, v0 = 0, 2 * F, 2 * F + 1
    z, s, r0, r1 = v0 + k, v0 + N + k, v0 + 2 * N + k, v0 + 3 * N + k
    nc = v0 + 4 * N
    lb, ub, cost = np.zeros(nc), np.full(nc, INF), np.zeros(nc)
    ub[: 2 * F] = 1
    ub[z] = 1
    lb[v0 + 2 * N :] = -INF
    cost[d] = 1
    P = (G + 1) ** 2
    dd = np.full(N, d)
    cols = [
        z,
        np.stack([s, dd, z], 1),
        np.stack([r0, y0 + 2 * f], 1),
        np.stack([r1, y0 + 2 * f + 1], 1),
        np.stack([r0, r1, s], 1),
        np.stack([r0, r1, s], 1),
    ]
    vals = [[1.0] * F, [1, -1, data.BIG], [1, 1], [1, 1], [1, 1, -1], [-1, -1, -1]]
    index = np.concatenate([c.ravel() for c in cols]).astype(np.int32)
    value = np.concatenate(
        [np.tile(np.array(v, dtype=float), P if q == 0 else N) for q, v in enumerate(vals)]
    )
    width = np.concatenate([np.full(P, F)] + [np.full(N, len(v)) for v in vals[1:]])
    start = np.concatenate([[0], np.cumsum(width)]).astype(np.int32)
    lo = np.concatenate([np.ones(P), np.full(N, data.BIG), i / G, j / G, np.full(2 * N, -INF)])
    hi = np.concatenate([np.ones(P), np.full(N, data.BIG), i / G, j / G, np.zeros(2 * N)])
    kind = np.zeros(nc, dtype=np.uint8)
    kind[z] = 1
    types = [highspy.HighsVarType.kContinuous, highspy.HighsVarType.kInteger]
    kinds = [types[t] for t in kind.tolist()]
    clock("build")
    _pass(h, cost, lb, ub, lo, hi, start, index, value, kinds)
    return _finish(h, clock)


def assign_vec(n, clock):
    h = _model()
    c = np.array(data.assign_cost(n)).ravel()
    clock(None)
    k = np.arange(n * n, dtype=np.int32)
    index = np.concatenate([k, k.reshape(n, n).T.ravel()])
    start = np.arange(0, 2 * n * n + 1, n, dtype=np.int32)
    one = np.ones(2 * n)
    kinds = [highspy.HighsVarType.kInteger] * (n * n)
    clock("build")
    _pass(h, c, np.zeros(n * n), np.ones(n * n), one, one, start, index, np.ones(2 * n * n), kinds)
    return _finish(h, clock)


def query_vec(n, clock):
    h = _model()
    h.addVars(n, np.full(n, 0.5), np.ones(n))
    h.changeColsCost(n, np.arange(n, dtype=np.int32), np.ones(n))
    h.run()
    clock(None)
    v = np.asarray(h.getSolution().col_value)
    clock("read", n)
    return float(v.sum())
