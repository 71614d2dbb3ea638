"""OR-tools MathOpt; load is IncrementalSolver(HIGHS).

Its HiGHS takes no quadratic objective: lqcp stops after the build.
"""

import data
import ortools.math_opt.python.mathopt as mo


def _finish(m, clock):
    s = mo.IncrementalSolver(m, mo.SolverType.HIGHS)
    clock("load")
    if clock.solve:
        r = s.solve()
        clock("solve")
        return r.objective_value()
    return None


def fac(n, clock, binary=True):
    m = mo.Model()
    G = F = n
    y = [[m.add_variable(lb=0, ub=1) for k in range(2)] for f in range(F)]
    d = m.add_variable(lb=0)
    z, s, r = {}, {}, {}
    for i in range(G + 1):
        for j in range(G + 1):
            for f in range(F):
                z[i, j, f] = m.add_binary_variable() if binary else m.add_variable(lb=0, ub=1)
                s[i, j, f] = m.add_variable(lb=0)
                r[i, j, f, 0] = m.add_variable()
                r[i, j, f, 1] = m.add_variable()
    m.minimize(d)
    M = data.BIG
    for i in range(G + 1):
        for j in range(G + 1):
            m.add_linear_constraint(mo.fast_sum(z[i, j, f] for f in range(F)) == 1)
            for f in range(F):
                m.add_linear_constraint(s[i, j, f] == d + M * (1 - z[i, j, f]))
                m.add_linear_constraint(r[i, j, f, 0] == i / G - y[f][0])
                m.add_linear_constraint(r[i, j, f, 1] == j / G - y[f][1])
                m.add_linear_constraint(r[i, j, f, 0] + r[i, j, f, 1] <= s[i, j, f])
                m.add_linear_constraint(-r[i, j, f, 0] - r[i, j, f, 1] <= s[i, j, f])
    clock("build")
    return _finish(m, clock)


def fac_continuous(n, clock):
    return fac(n, clock, binary=False)


def lqcp(n, clock):
    m = mo.Model()
    dx, dt, yt = 1 / n, data.T / n, data.lqcp_target(n)
    h2, a = dx * dx, data.A
    y = [[m.add_variable(lb=0, ub=1) for j in range(n + 1)] for i in range(n + 1)]
    u = [None] + [m.add_variable(lb=-1, ub=1) for i in range(n)]
    add = m.add_linear_constraint
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
    m.minimize(
        mo.fast_sum(
            0.25 * dx * (1 if j in (0, n) else 2) * ((y[n][j] - yt[j]) * (y[n][j] - yt[j]))
            for j in range(n + 1)
        )
        + mo.fast_sum(0.25 * a * dt * (2 if i < n else 1) * (u[i] * u[i]) for i in range(1, n + 1))
    )
    clock("build")


def assign(n, clock):
    m = mo.Model()
    c = data.assign_cost(n)
    x = [[m.add_binary_variable() for j in range(n)] for i in range(n)]
    m.minimize(mo.fast_sum(c[i][j] * x[i][j] for i in range(n) for j in range(n)))
    for i in range(n):
        m.add_linear_constraint(mo.fast_sum(x[i][j] for j in range(n)) == 1)
    for j in range(n):
        m.add_linear_constraint(mo.fast_sum(x[i][j] for i in range(n)) == 1)
    clock("build")
    return _finish(m, clock)


def _knap(n, clock, f):
    m = mo.Model()
    x = [m.add_variable(lb=0, ub=1) for _ in range(n)]
    c = data.knap_coef(n)
    clock(None)
    e = f(c, x)
    clock("build")
    m.maximize(x[0])
    m.add_linear_constraint(e <= n)
    return _finish(m, clock)


def knap_sum(n, clock):
    return _knap(n, clock, lambda c, x: mo.fast_sum(c[i] * x[i] for i in range(n)))


def knap_inc(n, clock):
    """a LinearExpression made once, += in place (+= on the lazy sums of + nests without end)"""

    def f(c, x):
        e = mo.LinearExpression()
        for i in range(n):
            e += c[i] * x[i]
        return e

    return _knap(n, clock, f)


def modify(n, clock, steps=50):
    m = mo.Model()
    a, b, c = data.modify_lp(n)
    x = [m.add_variable(lb=0, ub=10) for j in range(n)]
    m.minimize(mo.fast_sum(float(c[j]) * x[j] for j in range(n)))
    rows = []
    for i in range(n):
        s, t = a.indptr[i], a.indptr[i + 1]
        rows.append(
            m.add_linear_constraint(
                mo.fast_sum(v * x[j] for j, v in zip(a.indices[s:t].tolist(), a.data[s:t].tolist()))
                >= float(b[i])
            )
        )
    s = mo.IncrementalSolver(m, mo.SolverType.HIGHS)
    s.solve()
    clock(None)
    steps = min(steps, 2)  # this HiGHS starts anew each time
    for k in range(steps):
        i, v = data.modify_step(b, k)
        rows[i].lower_bound = v
        r = s.solve()
    clock("iter", steps)
    return r.objective_value()


def query(n, clock):
    m = mo.Model()
    x = [m.add_variable(lb=0.5, ub=1) for _ in range(n)]
    m.minimize(mo.fast_sum(x))
    r = mo.solve(m, mo.SolverType.HIGHS)
    clock(None)
    vals = r.variable_values()
    v = [vals[xi] for xi in x]
    clock("read", n)
    return float(sum(v))


def query_vec(n, clock):
    import numpy as np

    m = mo.Model()
    x = [m.add_variable(lb=0.5, ub=1) for _ in range(n)]
    m.minimize(mo.fast_sum(x))
    r = mo.solve(m, mo.SolverType.HIGHS)
    clock(None)
    v = np.array(r.variable_values(x))
    clock("read", n)
    return float(v.sum())
