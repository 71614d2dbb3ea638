"""Quilex, with scalar operators; load ends when HiGHS holds the model."""

import data
import numpy as np
import operations

import quilex

INFINITY = quilex.infinity


def _problem():
    p = quilex.problem()
    p.controls.outputlog = 0
    return p


def _finish(p, clock):
    """The model sits in our own store until a solve, so a solve under an iteration limit of 0 and
    without presolve forces the hand-over to HiGHS: the store alone would flatter us."""
    before = p.controls.lpiterlimit, p.controls.presolve
    p.controls.lpiterlimit, p.controls.presolve = 0, 0
    p.solve()
    clock("load")
    if clock.solve:
        p.controls.lpiterlimit, p.controls.presolve = before
        p.solve()
        clock("solve")
        return p.getObjVal()
    return None


def fac(n, clock, binary=True):
    p = _problem()
    var, add = quilex.var, p.addConstraint
    kind = quilex.binary if binary else quilex.continuous
    G = F = n
    y = [[var(ub=1) for k in range(2)] for f in range(F)]
    d = var()
    z, s, r = {}, {}, {}
    for i in range(G + 1):
        for j in range(G + 1):
            for f in range(F):
                z[i, j, f] = var(ub=1, vartype=kind)
                s[i, j, f] = var()
                r[i, j, f, 0] = var(lb=-INFINITY)
                r[i, j, f, 1] = var(lb=-INFINITY)
    p.addVariable(y, d, z, s, r)
    p.setObjective(d)
    M = data.BIG
    for i in range(G + 1):
        for j in range(G + 1):
            add(quilex.Sum(z[i, j, f] for f in range(F)) == 1)
            for f in range(F):
                add(s[i, j, f] == d + M * (1 - z[i, j, f]))
                add(r[i, j, f, 0] == i / G - y[f][0])
                add(r[i, j, f, 1] == j / G - y[f][1])
                add(r[i, j, f, 0] + r[i, j, f, 1] <= s[i, j, f])
                add(-r[i, j, f, 0] - r[i, j, f, 1] <= s[i, j, f])
    clock("build")
    return _finish(p, clock)


def fac_continuous(n, clock):
    return fac(n, clock, binary=False)


def lqcp(n, clock):
    p = _problem()
    var, add = quilex.var, p.addConstraint
    dx, dt, yt = 1 / n, data.T / n, data.lqcp_target(n)
    h2, a = dx * dx, data.A
    y = [[var(ub=1) for j in range(n + 1)] for i in range(n + 1)]
    u = [None] + [var(lb=-1, ub=1) for i in range(n)]
    p.addVariable(y, u[1:])
    for i in range(n):
        for j in range(1, n):
            add(
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
        add(y[0][j] == 0)
    for i in range(1, n + 1):
        add(y[i][2] - 4 * y[i][1] + 3 * y[i][0] == 0)
        add(y[i][n - 2] - 4 * y[i][n - 1] + 3 * y[i][n] == 2 * dx * (u[i] - y[i][n]))
    e = quilex.Sum(
        0.25 * dx * (1 if j in (0, n) else 2) * (y[n][j] - yt[j]) ** 2 for j in range(n + 1)
    )
    e += quilex.Sum(0.25 * a * dt * (2 if i < n else 1) * u[i] ** 2 for i in range(1, n + 1))
    p.setObjective(e)
    clock("build")
    return _finish(p, clock)


def assign(n, clock):
    p = _problem()
    c = data.assign_cost(n)
    var, add, binary = quilex.var, p.addConstraint, quilex.binary
    x = [[var(vartype=binary) for j in range(n)] for i in range(n)]
    p.addVariable(x)
    for i in range(n):
        add(quilex.Sum(x[i][j] for j in range(n)) == 1)
    for j in range(n):
        add(quilex.Sum(x[i][j] for i in range(n)) == 1)
    p.setObjective(quilex.Sum(c[i][j] * x[i][j] for i in range(n) for j in range(n)))
    clock("build")
    return _finish(p, clock)


def assign_vec(n, clock):
    """numpy arrays of variables: sums along the axes, Dot for the costs"""
    p = _problem()
    c = np.array(data.assign_cost(n))
    clock(None)
    x = quilex.vararray((n, n), vartype=quilex.binary)
    p.addVariable(x)
    p.addConstraint(x.sum(axis=1) == 1, x.sum(axis=0) == 1)
    p.setObjective(quilex.Dot(c.ravel(), x.ravel()))
    clock("build")
    return _finish(p, clock)


def _knap(n, clock, state):
    p = _problem()
    x = [quilex.var(ub=1) for _ in range(n)]
    p.addVariable(x)
    c = data.knap_coef(n)
    clock(None)
    e = state(c, x)
    clock("build")
    p.addConstraint(e <= n)
    p.setObjective(x[0], sense=quilex.maximize)
    return _finish(p, clock)


def knap_sum(n, clock):
    return _knap(n, clock, lambda c, x: quilex.Sum(c[i] * x[i] for i in range(n)))


def knap_inc(n, clock):
    def state(c, x):
        e = quilex.Sum()
        for i in range(n):
            e += c[i] * x[i]
        return e

    return _knap(n, clock, state)


def modify(n, clock, steps=200):
    p = _problem()
    a, b, c = data.modify_lp(n)
    x = [quilex.var(ub=10) for _ in range(n)]
    p.addVariable(x)
    for i in range(n):
        row = slice(a.indptr[i], a.indptr[i + 1])
        terms = zip(a.indices[row].tolist(), a.data[row].tolist())
        p.addConstraint(quilex.Sum(v * x[j] for j, v in terms) >= float(b[i]))
    p.setObjective(quilex.Sum(float(c[j]) * x[j] for j in range(n)))
    p.solve()
    clock(None)
    for k in range(steps):
        i, v = data.modify_step(b, k)
        p.chgrhs([i], [v])
        p.solve()
    clock("iter", steps)
    return p.getObjVal()


def small_lp(n, clock, models=100, steps=1000):
    a, b, c = data.small_lp(n)

    def first():
        p = _problem()
        x = [quilex.var(ub=10) for _ in c]
        p.addVariable(x)
        for row, side in zip(a, b):
            p.addConstraint(quilex.Sum(v * xj for v, xj in zip(row, x)) >= side)
        p.setObjective(quilex.Sum(v * xj for v, xj in zip(c, x)))
        p.solve()
        return p

    first()
    clock(None)
    for _ in range(models):
        p = first()
    clock("first", models)
    for k in range(steps):
        i, v = data.modify_step(b, k)
        p.chgrhs([i], [v])
        p.solve()
    clock("again", steps)
    return p.getObjVal()


def _query_model(n):
    p = _problem()
    x = [quilex.var(lb=0.5, ub=1) for _ in range(n)]
    p.addVariable(x)
    p.setObjective(quilex.Sum(x))
    p.solve()
    return p, x


def query(n, clock):
    """one value at a time"""
    p, x = _query_model(n)
    clock(None)
    v = [p.getSolution(xi) for xi in x]
    clock("read", n)
    return float(sum(v))


def query_list(n, clock):
    """one call with the list of variables"""
    p, x = _query_model(n)
    clock(None)
    v = p.getSolution(x)
    clock("read", n)
    return float(sum(v))


def query_vec(n, clock):
    """an array of variables, their values as a new array"""
    p, x = _query_model(n)
    array = np.empty(n, dtype=object)
    array[:] = x
    clock(None)
    v = p.getSolutionArray(array)
    clock("read", n)
    return float(v.sum())


def nlp_build(n, clock):
    p = _problem()
    sin, exp, add = quilex.sin, quilex.exp, p.addConstraint
    x = [quilex.var(lb=-2, ub=2) for _ in range(n + 1)]
    p.addVariable(x)
    for i in range(n):
        add(sin(x[i]) * x[i + 1] + exp(x[i]) <= 2)
    p.setObjective(-quilex.Sum(x))
    clock("build")
    if clock.solve:
        p.solve()
        return p.getObjVal()
    return None


def operators(n, clock):
    names = {"var": quilex.var, "Sum": quilex.Sum, "builder": quilex.Sum}
    operations.measure(names, clock)
