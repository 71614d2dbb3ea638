"""PyOptInterface with HiGHS, add_linear_constraint(expr, sense, rhs).

The style of its own manual.
"""

import os

import data
import numpy as np
import operations
import pyoptinterface as poi
from pyoptinterface import highs


def _model():
    m = highs.Model()
    m.set_model_attribute(poi.ModelAttribute.Silent, True)
    return m


def _finish(m, clock):
    clock("load")
    if clock.solve:
        m.optimize()
        clock("solve")
        return m.get_model_attribute(poi.ModelAttribute.ObjectiveValue)
    return None


def fac(n, clock, binary=True):
    m = _model()
    G = F = n
    y = [[m.add_variable(lb=0, ub=1) for k in range(2)] for f in range(F)]
    d = m.add_variable(lb=0)
    z, s, r = {}, {}, {}
    for i in range(G + 1):
        for j in range(G + 1):
            for f in range(F):
                z[i, j, f] = (
                    m.add_variable(domain=poi.VariableDomain.Binary)
                    if binary
                    else m.add_variable(lb=0, ub=1)
                )
                s[i, j, f] = m.add_variable(lb=0)
                r[i, j, f, 0] = m.add_variable()
                r[i, j, f, 1] = m.add_variable()
    m.set_objective(d)
    M = data.BIG
    for i in range(G + 1):
        for j in range(G + 1):
            m.add_linear_constraint(poi.quicksum(z[i, j, f] for f in range(F)), poi.Eq, 1.0)
            for f in range(F):
                m.add_linear_constraint(s[i, j, f] - d - M * (1 - z[i, j, f]), poi.Eq, 0.0)
                m.add_linear_constraint(r[i, j, f, 0] + y[f][0], poi.Eq, i / G)
                m.add_linear_constraint(r[i, j, f, 1] + y[f][1], poi.Eq, j / G)
                m.add_linear_constraint(r[i, j, f, 0] + r[i, j, f, 1] - s[i, j, f], poi.Leq, 0.0)
                m.add_linear_constraint(-r[i, j, f, 0] - r[i, j, f, 1] - s[i, j, f], poi.Leq, 0.0)
    clock("build")
    return _finish(m, clock)


def fac_continuous(n, clock):
    return fac(n, clock, binary=False)


def lqcp(n, clock):
    m = _model()
    dx, dt, yt = 1 / n, data.T / n, data.lqcp_target(n)
    h2, a = dx * dx, data.A
    y = [[m.add_variable(lb=0, ub=1) for j in range(n + 1)] for i in range(n + 1)]
    u = [None] + [m.add_variable(lb=-1, ub=1) for i in range(n)]
    for i in range(n):
        for j in range(1, n):
            m.add_linear_constraint(
                h2 * (y[i + 1][j] - y[i][j])
                - 0.5
                * dt
                * (
                    y[i][j - 1]
                    - 2 * y[i][j]
                    + y[i][j + 1]
                    + y[i + 1][j - 1]
                    - 2 * y[i + 1][j]
                    + y[i + 1][j + 1]
                ),
                poi.Eq,
                0.0,
            )
    for j in range(n + 1):
        m.add_linear_constraint(y[0][j], poi.Eq, 0.0)
    for i in range(1, n + 1):
        m.add_linear_constraint(y[i][2] - 4 * y[i][1] + 3 * y[i][0], poi.Eq, 0.0)
        m.add_linear_constraint(
            y[i][n - 2] - 4 * y[i][n - 1] + 3 * y[i][n] - 2 * dx * (u[i] - y[i][n]), poi.Eq, 0.0
        )
    e = poi.ExprBuilder()
    for j in range(n + 1):
        t = y[n][j] - yt[j]
        e += 0.25 * dx * (1 if j in (0, n) else 2) * (t * t)
    for i in range(1, n + 1):
        e += 0.25 * a * dt * (2 if i < n else 1) * (u[i] * u[i])
    m.set_objective(e, poi.ObjectiveSense.Minimize)
    clock("build")
    return _finish(m, clock)


def assign(n, clock):
    m = _model()
    c = data.assign_cost(n)
    x = [[m.add_variable(domain=poi.VariableDomain.Binary) for j in range(n)] for i in range(n)]
    for i in range(n):
        m.add_linear_constraint(poi.quicksum(x[i][j] for j in range(n)), poi.Eq, 1.0)
    for j in range(n):
        m.add_linear_constraint(poi.quicksum(x[i][j] for i in range(n)), poi.Eq, 1.0)
    m.set_objective(poi.quicksum(c[i][j] * x[i][j] for i in range(n) for j in range(n)))
    clock("build")
    return _finish(m, clock)


def assign_vec(n, clock):
    """the matrix interface (add_m_...), which adds one row at a time inside"""
    import scipy.sparse as sp

    m = _model()
    c = np.array(data.assign_cost(n)).ravel()
    x = m.add_m_variables(n * n, domain=poi.VariableDomain.Binary)
    k = np.arange(n * n)
    one = np.ones(2 * n * n)
    a = sp.csr_array(
        (one, (np.concatenate([k // n, n + k % n]), np.concatenate([k, k]))), shape=(2 * n, n * n)
    )
    m.add_m_linear_constraints(a, x, poi.Eq, np.ones(2 * n))
    idx = np.array([v.index for v in x], dtype=np.int32)
    m.set_objective(poi.ScalarAffineFunction.from_numpy(c, idx))
    clock("build")
    return _finish(m, clock)


def _knap_model(n, m, clock):
    x = [m.add_variable(lb=0, ub=1) for _ in range(n)]
    c = data.knap_coef(n)
    clock(None)
    return x, c


def knap_sum(n, clock):
    m = _model()
    x, c = _knap_model(n, m, clock)
    e = poi.quicksum(c[i] * x[i] for i in range(n))
    clock("build")
    m.add_linear_constraint(e, poi.Leq, float(n))
    m.set_objective(x[0], poi.ObjectiveSense.Maximize)
    return _finish(m, clock)


def knap_inc(n, clock):
    m = _model()
    x, c = _knap_model(n, m, clock)
    e = poi.ExprBuilder()
    for i in range(n):
        e += c[i] * x[i]
    clock("build")
    m.add_linear_constraint(e, poi.Leq, float(n))
    m.set_objective(x[0], poi.ObjectiveSense.Maximize)
    return _finish(m, clock)


def modify(n, clock, steps=200):
    m = _model()
    a, b, c = data.modify_lp(n)
    # set_normalized_rhs() of 0.6.1 turns a >= row into an == row under HiGHS (its test
    # "lb < -inf + 1" is never true), so the right-hand sides are fixed columns here: A x - p >= 0
    import scipy.sparse as sp

    x = m.add_m_variables(n, lb=0.0, ub=10.0)
    p = [m.add_variable(lb=float(v), ub=float(v)) for v in b]
    m.add_m_linear_constraints(
        sp.csr_array(sp.hstack([a, -sp.eye_array(n)])), list(x) + p, poi.Geq, np.zeros(n)
    )
    m.set_objective(poi.quicksum(float(c[j]) * x[j] for j in range(n)))
    m.optimize()
    clock(None)
    for k in range(steps):
        i, v = data.modify_step(b, k)
        m.set_variable_bounds(p[i], v, v)
        m.optimize()
    clock("iter", steps)
    return m.get_model_attribute(poi.ModelAttribute.ObjectiveValue)


def _query_model(n):
    m = _model()
    x = [m.add_variable(lb=0.5, ub=1) for _ in range(n)]
    m.set_objective(poi.quicksum(x))
    m.optimize()
    return m, x


def query(n, clock):
    m, x = _query_model(n)
    clock(None)
    v = [m.get_value(xi) for xi in x]
    clock("read", n)
    return float(sum(v))


def query_vec(n, clock):
    m, x = _query_model(n)
    clock(None)
    v = np.fromiter(map(m.get_value, x), float, n)  # no bulk call exists
    clock("read", n)
    return float(v.sum())


def nlp_build(n, clock):
    """Ipopt backend; the Ipopt library is the one inside casadi's wheel. load = grouping by shape,
    automatic differentiation and LLVM compilation, timed inside optimize() with 0 iterations."""
    import glob
    from importlib.util import find_spec

    from pyoptinterface import ipopt, nl

    where = os.path.dirname(find_spec("casadi").origin)
    ipopt.load_library(glob.glob(where + "/libipopt.so.3")[0])
    clock(None)
    m = ipopt.Model()
    m.set_raw_parameter("print_level", 0)
    m.set_raw_parameter("sb", "yes")
    x = [m.add_variable(lb=-2.0, ub=2.0, start=0.1) for _ in range(n + 1)]
    for i in range(n):
        with nl.graph():
            m.add_nl_constraint(nl.sin(x[i]) * x[i + 1] + nl.exp(x[i]) <= 2.0)
    m.set_objective(-poi.quicksum(x))
    clock("build")
    if not clock.solve:
        m.set_raw_parameter("max_iter", 0)
    m.optimize()
    clock("load")
    if clock.solve:
        return m.get_model_attribute(poi.ModelAttribute.ObjectiveValue)
    return None


def operators(n, clock):
    m = _model()
    names = {"var": m.add_variable, "Sum": poi.quicksum, "builder": poi.ExprBuilder}
    operations.measure(names, clock)
