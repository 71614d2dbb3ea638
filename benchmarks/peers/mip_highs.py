"""python-mip with its HiGHS backend: the solver holds the rows as they are added. No quadratics."""

import data
import mip


def _model(sense=mip.MINIMIZE):
    m = mip.Model(sense=sense, solver_name="HIGHS")
    m.verbose = 0
    return m


def _finish(m, clock):
    _ = m.num_nz  # flushes what is still buffered
    clock("load")
    if clock.solve:
        m.optimize()
        clock("solve")
        return m.objective_value
    return None


def fac(n, clock, binary=True):
    m = _model()
    G = F = n
    y = [[m.add_var(lb=0, ub=1) for k in range(2)] for f in range(F)]
    d = m.add_var(lb=0)
    z, s, r = {}, {}, {}
    for i in range(G + 1):
        for j in range(G + 1):
            for f in range(F):
                z[i, j, f] = m.add_var(var_type=mip.BINARY) if binary else m.add_var(lb=0, ub=1)
                s[i, j, f] = m.add_var(lb=0)
                r[i, j, f, 0] = m.add_var(lb=-mip.INF)
                r[i, j, f, 1] = m.add_var(lb=-mip.INF)
    m.objective = mip.minimize(d)
    M = data.BIG
    for i in range(G + 1):
        for j in range(G + 1):
            m += mip.xsum(z[i, j, f] for f in range(F)) == 1
            for f in range(F):
                m += s[i, j, f] == d + M * (1 - z[i, j, f])
                m += r[i, j, f, 0] == i / G - y[f][0]
                m += r[i, j, f, 1] == j / G - y[f][1]
                m += r[i, j, f, 0] + r[i, j, f, 1] <= s[i, j, f]
                m += -r[i, j, f, 0] - r[i, j, f, 1] <= s[i, j, f]
    clock("build")
    return _finish(m, clock)


def fac_continuous(n, clock):
    return fac(n, clock, binary=False)


def assign(n, clock):
    m = _model()
    c = data.assign_cost(n)
    x = [[m.add_var(var_type=mip.BINARY) for j in range(n)] for i in range(n)]
    m.objective = mip.xsum(c[i][j] * x[i][j] for i in range(n) for j in range(n))
    for i in range(n):
        m += mip.xsum(x[i][j] for j in range(n)) == 1
    for j in range(n):
        m += mip.xsum(x[i][j] for i in range(n)) == 1
    clock("build")
    return _finish(m, clock)


def _knap(n, clock, f):
    m = _model(mip.MAXIMIZE)
    x = [m.add_var(lb=0, ub=1) for _ in range(n)]
    c = data.knap_coef(n)
    clock(None)
    e = f(c, x)
    clock("build")
    m.objective = x[0]
    m += e <= n
    return _finish(m, clock)


def knap_sum(n, clock):
    return _knap(n, clock, lambda c, x: mip.xsum(c[i] * x[i] for i in range(n)))


def knap_inc(n, clock):
    def f(c, x):
        e = mip.LinExpr()
        for i in range(n):
            e += c[i] * x[i]
        return e

    return _knap(n, clock, f)


def modify(n, clock, steps=50):
    m = _model()
    a, b, c = data.modify_lp(n)
    x = [m.add_var(lb=0, ub=10, obj=float(c[j])) for j in range(n)]
    rows = []
    for i in range(n):
        s, t = a.indptr[i], a.indptr[i + 1]
        rows.append(
            m.add_constr(
                mip.xsum(v * x[j] for j, v in zip(a.indices[s:t].tolist(), a.data[s:t].tolist()))
                >= float(b[i])
            )
        )
    m.optimize()
    clock(None)
    for k in range(steps):
        i, v = data.modify_step(b, k)
        rows[i].rhs = v
        m.optimize()
    clock("iter", steps)
    return m.objective_value


def query(n, clock):
    m = _model()
    x = [m.add_var(lb=0.5, ub=1, obj=1) for _ in range(n)]
    m.optimize()
    clock(None)
    v = [xi.x for xi in x]
    clock("read", n)
    return float(sum(v))
