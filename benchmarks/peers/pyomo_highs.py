"""Pyomo.

Load = the persistent HiGHS interface (appsi) takes the model; nlp load = the .nl writer.
"""

import highspy  # noqa: F401  (before anything that brings another libhighs.so.1)

# isort: split
import data
import pyomo.environ as pe
from pyomo.contrib.appsi.solvers import Highs


def _finish(m, clock):
    s = Highs()
    s.set_instance(m)
    clock("load")
    if clock.solve:
        r = s.solve(m)
        clock("solve")
        return r.best_feasible_objective
    return None


def fac(n, clock, binary=True):
    m = pe.ConcreteModel()
    G = F = n
    m.G, m.F = pe.RangeSet(0, G), pe.RangeSet(0, F - 1)
    m.y = pe.Var(m.F, [0, 1], bounds=(0, 1))
    m.d = pe.Var(bounds=(0, None))
    m.z = pe.Var(m.G, m.G, m.F, domain=pe.Binary if binary else pe.Reals, bounds=(0, 1))
    m.s = pe.Var(m.G, m.G, m.F, bounds=(0, None))
    m.r = pe.Var(m.G, m.G, m.F, [0, 1])
    m.obj = pe.Objective(expr=m.d)
    M = data.BIG
    m.c1 = pe.Constraint(m.G, m.G, rule=lambda m, i, j: sum(m.z[i, j, f] for f in m.F) == 1)
    m.c2 = pe.Constraint(
        m.G, m.G, m.F, rule=lambda m, i, j, f: m.s[i, j, f] == m.d + M * (1 - m.z[i, j, f])
    )
    m.c3 = pe.Constraint(
        m.G, m.G, m.F, rule=lambda m, i, j, f: m.r[i, j, f, 0] == i / G - m.y[f, 0]
    )
    m.c4 = pe.Constraint(
        m.G, m.G, m.F, rule=lambda m, i, j, f: m.r[i, j, f, 1] == j / G - m.y[f, 1]
    )
    m.c5 = pe.Constraint(
        m.G, m.G, m.F, rule=lambda m, i, j, f: m.r[i, j, f, 0] + m.r[i, j, f, 1] <= m.s[i, j, f]
    )
    m.c6 = pe.Constraint(
        m.G, m.G, m.F, rule=lambda m, i, j, f: -m.r[i, j, f, 0] - m.r[i, j, f, 1] <= m.s[i, j, f]
    )
    clock("build")
    return _finish(m, clock)


def fac_continuous(n, clock):
    return fac(n, clock, binary=False)


def lqcp(n, clock):
    """the appsi interface refuses a quadratic objective; contrib.solver's HiGHS takes it"""
    from pyomo.contrib.solver.solvers.highs import Highs as Highs2

    m = pe.ConcreteModel()
    dx, dt, yt = 1 / n, data.T / n, data.lqcp_target(n)
    h2, a = dx * dx, data.A
    m.y = pe.Var(range(n + 1), range(n + 1), bounds=(0, 1))
    m.u = pe.Var(range(1, n + 1), bounds=(-1, 1))
    y, u = m.y, m.u
    m.obj = pe.Objective(
        expr=sum(
            0.25 * dx * (1 if j in (0, n) else 2) * (y[n, j] - yt[j]) ** 2 for j in range(n + 1)
        )
        + sum(0.25 * a * dt * (2 if i < n else 1) * u[i] ** 2 for i in range(1, n + 1))
    )
    m.pde = pe.Constraint(
        range(n),
        range(1, n),
        rule=lambda m, i, j: (
            h2 * (y[i + 1, j] - y[i, j])
            == 0.5
            * dt
            * (
                y[i, j - 1]
                - 2 * y[i, j]
                + y[i, j + 1]
                + y[i + 1, j - 1]
                - 2 * y[i + 1, j]
                + y[i + 1, j + 1]
            )
        ),
    )
    m.ic = pe.Constraint(range(n + 1), rule=lambda m, j: y[0, j] == 0)
    m.b1 = pe.Constraint(
        range(1, n + 1), rule=lambda m, i: y[i, 2] - 4 * y[i, 1] + 3 * y[i, 0] == 0
    )
    m.b2 = pe.Constraint(
        range(1, n + 1),
        rule=lambda m, i: y[i, n - 2] - 4 * y[i, n - 1] + 3 * y[i, n] == 2 * dx * (u[i] - y[i, n]),
    )
    clock("build")
    s = Highs2()
    s.set_instance(m)
    clock("load")
    if clock.solve:
        return s.solve(m).incumbent_objective
    return None


def assign(n, clock):
    m = pe.ConcreteModel()
    c = data.assign_cost(n)
    N = range(n)
    m.x = pe.Var(N, N, domain=pe.Binary)
    m.obj = pe.Objective(expr=sum(c[i][j] * m.x[i, j] for i in N for j in N))
    m.r = pe.Constraint(N, rule=lambda m, i: sum(m.x[i, j] for j in N) == 1)
    m.c = pe.Constraint(N, rule=lambda m, j: sum(m.x[i, j] for i in N) == 1)
    clock("build")
    return _finish(m, clock)


def _knap(n, clock, f):
    m = pe.ConcreteModel()
    m.x = pe.Var(range(n), bounds=(0, 1))
    c, x = data.knap_coef(n), list(m.x.values())
    clock(None)
    e = f(c, x)
    clock("build")
    m.obj = pe.Objective(expr=m.x[0], sense=pe.maximize)
    m.c = pe.Constraint(expr=e <= n)
    return _finish(m, clock)


def knap_sum(n, clock):
    return _knap(n, clock, lambda c, x: sum(c[i] * x[i] for i in range(n)))


def knap_inc(n, clock):
    def f(c, x):
        e = 0
        for i in range(n):
            e += c[i] * x[i]
        return e

    return _knap(n, clock, f)


def modify(n, clock, steps=50):
    m = pe.ConcreteModel()
    a, b, c = data.modify_lp(n)
    N = range(n)
    m.x = pe.Var(N, bounds=(0, 10))
    m.b = pe.Param(N, initialize=dict(enumerate(b.tolist())), mutable=True)
    m.obj = pe.Objective(expr=sum(float(c[j]) * m.x[j] for j in N))
    m.rows = pe.Constraint(
        N,
        rule=lambda m, i: (
            sum(
                v * m.x[j]
                for j, v in zip(
                    a.indices[a.indptr[i] : a.indptr[i + 1]].tolist(),
                    a.data[a.indptr[i] : a.indptr[i + 1]].tolist(),
                )
            )
            >= m.b[i]
        ),
    )
    s = Highs()
    u = s.update_config  # the fast settings of its manual: only parameters change between solves
    u.check_for_new_or_removed_constraints = u.check_for_new_or_removed_vars = False
    u.check_for_new_or_removed_params = u.check_for_new_objective = False
    u.update_constraints = u.update_vars = u.update_named_expressions = u.update_objective = False
    s.solve(m)
    clock(None)
    for k in range(steps):
        i, v = data.modify_step(b, k)
        m.b[i].value = v
        r = s.solve(m)
    clock("iter", steps)
    return r.best_feasible_objective


def query(n, clock):
    m = pe.ConcreteModel()
    m.x = pe.Var(range(n), bounds=(0.5, 1))
    m.obj = pe.Objective(expr=sum(m.x.values()))
    s = Highs()
    s.solve(m)
    x = list(m.x.values())
    clock(None)
    v = [xi.value for xi in x]
    clock("read", n)
    return float(sum(v))


def nlp_build(n, clock):
    import io

    from pyomo.repn.plugins.nl_writer import NLWriter

    m = pe.ConcreteModel()
    m.x = pe.Var(range(n + 1), bounds=(-2, 2), initialize=0.1)
    m.obj = pe.Objective(expr=-sum(m.x.values()))
    m.c = pe.Constraint(
        range(n), rule=lambda m, i: pe.sin(m.x[i]) * m.x[i + 1] + pe.exp(m.x[i]) <= 2
    )
    clock("build")
    NLWriter().write(m, io.StringIO(), io.StringIO(), io.StringIO())
    clock("load")
