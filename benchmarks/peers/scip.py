"""PySCIPOpt (engine SCIP, not HiGHS): the solver holds the rows as they are added."""

import data
import pyscipopt as ps
from pyscipopt import Model, quicksum


def _model():
    m = Model()
    m.hideOutput()
    return m


def _finish(m, clock):
    clock("load")
    if clock.solve:
        m.optimize()
        clock("solve")
        return m.getObjVal()
    return None


def fac(n, clock, binary=True):
    m = _model()
    G = F = n
    y = [[m.addVar(lb=0, ub=1) for k in range(2)] for f in range(F)]
    d = m.addVar(lb=0)
    z, s, r = {}, {}, {}
    for i in range(G + 1):
        for j in range(G + 1):
            for f in range(F):
                z[i, j, f] = m.addVar(vtype="B" if binary else "C", lb=0, ub=1)
                s[i, j, f] = m.addVar(lb=0)
                r[i, j, f, 0] = m.addVar(lb=None)
                r[i, j, f, 1] = m.addVar(lb=None)
    m.setObjective(d)
    M = data.BIG
    for i in range(G + 1):
        for j in range(G + 1):
            m.addCons(quicksum(z[i, j, f] for f in range(F)) == 1)
            for f in range(F):
                m.addCons(s[i, j, f] == d + M * (1 - z[i, j, f]))
                m.addCons(r[i, j, f, 0] == i / G - y[f][0])
                m.addCons(r[i, j, f, 1] == j / G - y[f][1])
                m.addCons(r[i, j, f, 0] + r[i, j, f, 1] <= s[i, j, f])
                m.addCons(-r[i, j, f, 0] - r[i, j, f, 1] <= s[i, j, f])
    clock("build")
    return _finish(m, clock)


def fac_continuous(n, clock):
    return fac(n, clock, binary=False)


def lqcp(n, clock):
    m = _model()
    dx, dt, yt = 1 / n, data.T / n, data.lqcp_target(n)
    h2, a = dx * dx, data.A
    y = [[m.addVar(lb=0, ub=1) for j in range(n + 1)] for i in range(n + 1)]
    u = [None] + [m.addVar(lb=-1, ub=1) for i in range(n)]
    for i in range(n):
        for j in range(1, n):
            m.addCons(
                h2 * (y[i + 1][j] - y[i][j])
                == 0.5
                * dt
                * (
                    y[i][j - 1]
                    - 2 * y[i][j]
                    + y[i][j + 1]
                    + y[i + 1][j - 1]
                    - 2 * y[i + 1][j]
                    + y[i + 1][j + 1]
                )
            )
    for j in range(n + 1):
        m.addCons(y[0][j] == 0)
    for i in range(1, n + 1):
        m.addCons(y[i][2] - 4 * y[i][1] + 3 * y[i][0] == 0)
        m.addCons(y[i][n - 2] - 4 * y[i][n - 1] + 3 * y[i][n] == 2 * dx * (u[i] - y[i][n]))
    t = m.addVar(lb=None)  # objectives are linear in SCIP
    m.setObjective(t)
    m.addCons(
        quicksum(
            0.25 * dx * (1 if j in (0, n) else 2) * (y[n][j] - yt[j]) ** 2 for j in range(n + 1)
        )
        + quicksum(0.25 * a * dt * (2 if i < n else 1) * u[i] ** 2 for i in range(1, n + 1))
        <= t
    )
    clock("build")
    return _finish(m, clock)


def assign(n, clock):
    m = _model()
    c = data.assign_cost(n)
    x = [[m.addVar(vtype="B", obj=c[i][j]) for j in range(n)] for i in range(n)]
    for i in range(n):
        m.addCons(quicksum(x[i][j] for j in range(n)) == 1)
    for j in range(n):
        m.addCons(quicksum(x[i][j] for i in range(n)) == 1)
    clock("build")
    return _finish(m, clock)


def assign_vec(n, clock):
    import numpy as np

    m = _model()
    c = np.array(data.assign_cost(n))
    clock(None)
    x = m.addMatrixVar((n, n), vtype="B", obj=c)
    m.addMatrixCons(x.sum(axis=1) == 1)
    m.addMatrixCons(x.sum(axis=0) == 1)
    clock("build")
    return _finish(m, clock)


def _knap(n, clock, f):
    m = _model()
    x = [m.addVar(lb=0, ub=1) for _ in range(n)]
    c = data.knap_coef(n)
    clock(None)
    e = f(c, x)
    clock("build")
    m.setObjective(x[0], "maximize")
    m.addCons(e <= n)
    return _finish(m, clock)


def knap_sum(n, clock):
    return _knap(n, clock, lambda c, x: quicksum(c[i] * x[i] for i in range(n)))


def knap_inc(n, clock):
    def f(c, x):
        e = ps.Expr()
        for i in range(n):
            e += c[i] * x[i]
        return e

    return _knap(n, clock, f)


def modify(n, clock, steps=1):
    m = _model()
    a, b, c = data.modify_lp(n)
    x = [m.addVar(lb=0, ub=10, obj=float(c[j])) for j in range(n)]
    rows = []
    for i in range(n):
        s, t = a.indptr[i], a.indptr[i + 1]
        rows.append(
            m.addCons(
                quicksum(v * x[j] for j, v in zip(a.indices[s:t].tolist(), a.data[s:t].tolist()))
                >= float(b[i])
            )
        )
    m.optimize()
    clock(None)
    for k in range(steps):
        i, v = data.modify_step(b, k)
        m.freeTransform()
        m.chgLhs(rows[i], v)
        m.optimize()
    clock("iter", steps)
    return m.getObjVal()


def query(n, clock):
    m = _model()
    x = [m.addVar(lb=0.5, ub=1, obj=1) for _ in range(n)]
    m.optimize()
    clock(None)
    v = [m.getVal(xi) for xi in x]
    clock("read", n)
    return float(sum(v))


def nlp_build(n, clock):
    m = _model()
    x = [m.addVar(lb=-2, ub=2) for _ in range(n + 1)]
    for i in range(n):
        m.addCons(ps.sin(x[i]) * x[i + 1] + ps.exp(x[i]) <= 2)
    m.setObjective(-quicksum(x))
    clock("build")
    return _finish(m, clock)
