"""PuLP with its HiGHS interface (highspy). No quadratic expressions.

Lqcp has a linear objective here.
"""

import highspy  # noqa: F401  (before anything that brings another libhighs.so.1)

# isort: split
import data
import pulp


def _finish(p, clock):
    s = pulp.HiGHS(msg=False)
    if hasattr(s, "buildSolverModel"):
        s.createAndConfigureSolver(p)
        s.buildSolverModel(p)
    clock("load")
    if clock.solve:
        p.solve(pulp.HiGHS(msg=False))
        clock("solve")
        return pulp.value(p.objective)
    return None


def fac(n, clock, binary=True):
    p = pulp.LpProblem("fac", pulp.LpMinimize)
    V = pulp.LpVariable
    G = F = n
    y = [[V(f"y_{f}_{k}", 0, 1) for k in range(2)] for f in range(F)]
    d = V("d", 0)
    z, s, r = {}, {}, {}
    for i in range(G + 1):
        for j in range(G + 1):
            for f in range(F):
                z[i, j, f] = V(f"z_{i}_{j}_{f}", 0, 1, "Binary" if binary else "Continuous")
                s[i, j, f] = V(f"s_{i}_{j}_{f}", 0)
                r[i, j, f, 0] = V(f"r_{i}_{j}_{f}_0")
                r[i, j, f, 1] = V(f"r_{i}_{j}_{f}_1")
    p += d
    M = data.BIG
    for i in range(G + 1):
        for j in range(G + 1):
            p += pulp.lpSum(z[i, j, f] for f in range(F)) == 1
            for f in range(F):
                p += s[i, j, f] == d + M * (1 - z[i, j, f])
                p += r[i, j, f, 0] == i / G - y[f][0]
                p += r[i, j, f, 1] == j / G - y[f][1]
                p += r[i, j, f, 0] + r[i, j, f, 1] <= s[i, j, f]
                p += -r[i, j, f, 0] - r[i, j, f, 1] <= s[i, j, f]
    clock("build")
    return _finish(p, clock)


def fac_continuous(n, clock):
    return fac(n, clock, binary=False)


def assign(n, clock):
    p = pulp.LpProblem("assign", pulp.LpMinimize)
    c = data.assign_cost(n)
    x = [[pulp.LpVariable(f"x_{i}_{j}", cat="Binary") for j in range(n)] for i in range(n)]
    p += pulp.lpSum(c[i][j] * x[i][j] for i in range(n) for j in range(n))
    for i in range(n):
        p += pulp.lpSum(x[i][j] for j in range(n)) == 1
    for j in range(n):
        p += pulp.lpSum(x[i][j] for i in range(n)) == 1
    clock("build")
    return _finish(p, clock)


def _knap(n, clock, f):
    p = pulp.LpProblem("knap", pulp.LpMaximize)
    x = [pulp.LpVariable(f"x_{i}", 0, 1) for i in range(n)]
    c = data.knap_coef(n)
    clock(None)
    e = f(c, x)
    clock("build")
    p += x[0]
    p += e <= n
    return _finish(p, clock)


def knap_sum(n, clock):
    return _knap(n, clock, lambda c, x: pulp.lpSum(c[i] * x[i] for i in range(n)))


def knap_inc(n, clock):
    def f(c, x):
        e = pulp.LpAffineExpression()
        for i in range(n):
            e += c[i] * x[i]
        return e

    return _knap(n, clock, f)


def modify(n, clock, steps=2):
    """not persistent: every solve builds the engine's model anew"""
    p = pulp.LpProblem("modify", pulp.LpMinimize)
    a, b, c = data.modify_lp(n)
    x = [pulp.LpVariable(f"x_{j}", 0, 10) for j in range(n)]
    p += pulp.lpSum(float(c[j]) * x[j] for j in range(n))
    rows = []
    for i in range(n):
        s, t = a.indptr[i], a.indptr[i + 1]
        q = pulp.lpSum(
            v * x[j] for j, v in zip(a.indices[s:t].tolist(), a.data[s:t].tolist())
        ) >= float(b[i])
        p += q, f"row_{i}"
        rows.append(p.constraints[f"row_{i}"])
    p.solve(pulp.HiGHS(msg=False))
    clock(None)
    for k in range(steps):
        i, v = data.modify_step(b, k)
        rows[i].changeRHS(v)
        p.solve(pulp.HiGHS(msg=False))
    clock("iter", steps)
    return pulp.value(p.objective)


def query(n, clock):
    p = pulp.LpProblem("query", pulp.LpMinimize)
    x = [pulp.LpVariable(f"x_{i}", 0.5, 1) for i in range(n)]
    p += pulp.lpSum(x)
    p.solve(pulp.HiGHS(msg=False))
    clock(None)
    v = [xi.varValue for xi in x]
    clock("read", n)
    return float(sum(v))
