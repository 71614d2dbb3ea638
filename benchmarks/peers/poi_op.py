"""PyOptInterface with HiGHS.

Written with comparison operators (lhs == rhs), as the project's own syntax is.
"""

import data
import pyoptinterface as poi
from peers.poi import _finish, _model


def fac(n, clock, binary=True):
    m = _model()
    add = m.add_linear_constraint
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
            add(poi.quicksum(z[i, j, f] for f in range(F)) == 1)
            for f in range(F):
                add(s[i, j, f] == d + M * (1 - z[i, j, f]))
                add(r[i, j, f, 0] == i / G - y[f][0])
                add(r[i, j, f, 1] == j / G - y[f][1])
                add(r[i, j, f, 0] + r[i, j, f, 1] <= s[i, j, f])
                add(-r[i, j, f, 0] - r[i, j, f, 1] <= s[i, j, f])
    clock("build")
    return _finish(m, clock)


def fac_continuous(n, clock):
    return fac(n, clock, binary=False)


def lqcp(n, clock):
    m = _model()
    add = m.add_linear_constraint
    dx, dt, yt = 1 / n, data.T / n, data.lqcp_target(n)
    h2, a = dx * dx, data.A
    y = [[m.add_variable(lb=0, ub=1) for j in range(n + 1)] for i in range(n + 1)]
    u = [None] + [m.add_variable(lb=-1, ub=1) for i in range(n)]
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
    e = poi.ExprBuilder()
    for j in range(n + 1):
        t = y[n][j] - yt[j]
        e += 0.25 * dx * (1 if j in (0, n) else 2) * (t * t)
    for i in range(1, n + 1):
        e += 0.25 * a * dt * (2 if i < n else 1) * (u[i] * u[i])
    m.set_objective(e, poi.ObjectiveSense.Minimize)
    clock("build")
    return _finish(m, clock)
