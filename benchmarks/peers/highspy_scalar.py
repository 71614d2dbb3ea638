"""highspy's operator interface, one variable and one row at a time."""

import data
import highspy
import numpy as np
import operations


def _model():
    h = highspy.Highs()
    h.setOptionValue("output_flag", False)
    return h


def _finish(h, clock):
    clock("load")
    if clock.solve:
        h.run()
        clock("solve")
        return h.getObjectiveValue()
    return None


def fac(n, clock, binary=True):
    h = _model()
    G = F = n
    y = [[h.addVariable(lb=0, ub=1) for k in range(2)] for f in range(F)]
    d = h.addVariable(lb=0)
    z, s, r = {}, {}, {}
    for i in range(G + 1):
        for j in range(G + 1):
            for f in range(F):
                z[i, j, f] = h.addBinary() if binary else h.addVariable(lb=0, ub=1)
                s[i, j, f] = h.addVariable(lb=0)
                r[i, j, f, 0] = h.addVariable(lb=-highspy.kHighsInf)
                r[i, j, f, 1] = h.addVariable(lb=-highspy.kHighsInf)
    h.setObjective(d, highspy.ObjSense.kMinimize)
    M = data.BIG
    for i in range(G + 1):
        for j in range(G + 1):
            h.addConstr(h.qsum(z[i, j, f] for f in range(F)) == 1)
            for f in range(F):
                h.addConstr(s[i, j, f] == d + M * (1 - z[i, j, f]))
                h.addConstr(r[i, j, f, 0] == i / G - y[f][0])
                h.addConstr(r[i, j, f, 1] == j / G - y[f][1])
                h.addConstr(r[i, j, f, 0] + r[i, j, f, 1] <= s[i, j, f])
                h.addConstr(-r[i, j, f, 0] - r[i, j, f, 1] <= s[i, j, f])
    clock("build")
    return _finish(h, clock)


def fac_continuous(n, clock):
    return fac(n, clock, binary=False)


def lqcp(n, clock):
    h = _model()
    dx, dt, yt = 1 / n, data.T / n, data.lqcp_target(n)
    h2, a = dx * dx, data.A
    y = [[h.addVariable(lb=0, ub=1) for j in range(n + 1)] for i in range(n + 1)]
    u = [None] + [h.addVariable(lb=-1, ub=1) for i in range(n)]
    for i in range(n):
        for j in range(1, n):
            h.addConstr(
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
        h.addConstr(y[0][j] == 0)
    for i in range(1, n + 1):
        h.addConstr(y[i][2] - 4 * y[i][1] + 3 * y[i][0] == 0)
        h.addConstr(y[i][n - 2] - 4 * y[i][n - 1] + 3 * y[i][n] == 2 * dx * (u[i] - y[i][n]))
    # no quadratic operators: the Hessian goes in as arrays
    nc = (n + 1) ** 2 + n
    q, lin, off = np.zeros(nc), np.zeros(nc), 0.0
    for j in range(n + 1):
        w = 0.25 * dx * (1 if j in (0, n) else 2)
        c = y[n][j].index
        q[c] = 2 * w
        lin[c] = -2 * w * yt[j]
        off += w * yt[j] ** 2
    for i in range(1, n + 1):
        q[u[i].index] = 2 * 0.25 * a * dt * (2 if i < n else 1)
    idx = np.nonzero(q)[0].astype(np.int32)
    hess = highspy.HighsHessian()
    hess.dim_ = nc
    hess.format_ = highspy.HessianFormat.kTriangular
    hess.start_ = np.searchsorted(idx, np.arange(nc + 1)).astype(np.int32)
    hess.index_ = idx
    hess.value_ = q[idx]
    h.passHessian(hess)
    h.changeColsCost(nc, np.arange(nc, dtype=np.int32), lin)
    h.changeObjectiveOffset(off)
    clock("build")
    return _finish(h, clock)


def assign(n, clock):
    h = _model()
    c = data.assign_cost(n)
    x = [[h.addBinary(obj=c[i][j]) for j in range(n)] for i in range(n)]
    for i in range(n):
        h.addConstr(h.qsum(x[i][j] for j in range(n)) == 1)
    for j in range(n):
        h.addConstr(h.qsum(x[i][j] for i in range(n)) == 1)
    clock("build")
    return _finish(h, clock)


def assign_vec(n, clock):
    h = _model()
    c = np.array(data.assign_cost(n))
    x = h.addBinaries(n, n, obj=c.ravel().tolist(), out_array=True)
    h.addConstrs(x.sum(axis=1) == 1)
    h.addConstrs(x.sum(axis=0) == 1)
    clock("build")
    return _finish(h, clock)


def _knap_model(n, h, clock):
    x = [h.addVariable(lb=0, ub=1) for _ in range(n)]
    c = data.knap_coef(n)
    clock(None)
    return x, c


def knap_sum(n, clock):
    h = _model()
    x, c = _knap_model(n, h, clock)
    e = h.qsum(c[i] * x[i] for i in range(n))
    clock("build")
    h.addConstr(e <= n)
    h.setObjective(x[0], highspy.ObjSense.kMaximize)
    return _finish(h, clock)


def knap_inc(n, clock):
    h = _model()
    x, c = _knap_model(n, h, clock)
    e = h.expr()
    for i in range(n):
        e += c[i] * x[i]
    clock("build")
    h.addConstr(e <= n)
    h.setObjective(x[0], highspy.ObjSense.kMaximize)
    return _finish(h, clock)


def modify(n, clock, steps=200):
    h = _model()
    a, b, c = data.modify_lp(n)
    h.addVars(n, np.zeros(n), np.full(n, 10.0))
    h.changeColsCost(n, np.arange(n, dtype=np.int32), c)
    h.addRows(n, b, np.full(n, highspy.kHighsInf), a.nnz, a.indptr[:-1], a.indices, a.data)
    h.run()
    clock(None)
    for k in range(steps):
        i, v = data.modify_step(b, k)
        h.changeRowBounds(i, v, highspy.kHighsInf)
        h.run()
    clock("iter", steps)
    return h.getObjectiveValue()


def small_lp(n, clock, models=100, steps=1000):
    a, b, c = data.small_lp(n)

    def first():
        h = _model()
        x = [h.addVariable(lb=0, ub=10) for _ in c]
        for row, side in zip(a, b):
            h.addConstr(h.qsum(v * xj for v, xj in zip(row, x)) >= side)
        h.minimize(h.qsum(v * xj for v, xj in zip(c, x)))
        return h

    first()
    clock(None)
    for _ in range(models):
        h = first()
    clock("first", models)
    for k in range(steps):
        i, v = data.modify_step(b, k)
        h.changeRowBounds(i, v, highspy.kHighsInf)
        h.run()
    clock("again", steps)
    return h.getObjectiveValue()


def _query_model(n):
    h = _model()
    x = [h.addVariable(lb=0.5, ub=1, obj=1) for _ in range(n)]
    h.run()
    return h, x


def query(n, clock):
    h, x = _query_model(n)
    clock(None)
    v = [h.val(xi) for xi in x]
    clock("read", n)
    return float(sum(v))


def query_vec(n, clock):
    h, x = _query_model(n)
    clock(None)
    v = h.vals(x)
    clock("read", n)
    return float(sum(v))


def operators(n, clock):
    h = _model()
    operations.measure({"var": h.addVariable, "Sum": h.qsum, "builder": h.expr}, clock)
