"""cvxpy, vectorised.

Load is get_problem_data(HIGHS), the compilation to matrices; the hand-over to HiGHS itself comes on
top inside solve() and is not in the figure.
"""

import highspy  # noqa: F401  (before anything that brings another libhighs.so.1)

# isort: split
import cvxpy as cp
import data
import numpy as np


def _finish(p, clock):
    p.get_problem_data(cp.HIGHS)
    clock("load")
    if clock.solve:
        p.solve(cp.HIGHS)
        clock("solve")
        return float(p.value)
    return None


def fac(n, clock):
    G = F = n
    P = (G + 1) ** 2
    gi, gj = np.divmod(np.arange(P), G + 1)
    y = cp.Variable((F, 2), bounds=[0, 1])
    d = cp.Variable(nonneg=True)
    z = cp.Variable((P, F), boolean=True)
    s = cp.Variable((P, F), nonneg=True)
    r1, r2 = cp.Variable((P, F)), cp.Variable((P, F))
    one = np.ones((P, 1))
    y1, y2 = cp.reshape(y[:, 0], (1, F), order="C"), cp.reshape(y[:, 1], (1, F), order="C")
    cons = [
        cp.sum(z, axis=1) == 1,
        s == d + data.BIG * (1 - z),
        r1 == np.outer(gi / G, np.ones(F)) - one @ y1,
        r2 == np.outer(gj / G, np.ones(F)) - one @ y2,
        r1 + r2 <= s,
        -r1 - r2 <= s,
    ]
    p = cp.Problem(cp.Minimize(d), cons)
    clock("build")
    return _finish(p, clock)


def lqcp(n, clock):
    dx, dt, yt = 1 / n, data.T / n, np.array(data.lqcp_target(n))
    h2, a = dx * dx, data.A
    y = cp.Variable((n + 1, n + 1), bounds=[0, 1])
    u = cp.Variable(n, bounds=[-1, 1])
    lo, hi = y[:-1, :], y[1:, :]
    w = np.full(n + 1, 0.5 * dx)
    w[[0, n]] = 0.25 * dx
    q = np.full(n, 0.5 * a * dt)
    q[-1] = 0.25 * a * dt
    cons = [
        h2 * (hi[:, 1:-1] - lo[:, 1:-1])
        == 0.5
        * dt
        * (lo[:, :-2] - 2 * lo[:, 1:-1] + lo[:, 2:] + hi[:, :-2] - 2 * hi[:, 1:-1] + hi[:, 2:]),
        y[0, :] == 0,
        y[1:, 2] - 4 * y[1:, 1] + 3 * y[1:, 0] == 0,
        y[1:, n - 2] - 4 * y[1:, n - 1] + 3 * y[1:, n] == 2 * dx * (u - y[1:, n]),
    ]
    p = cp.Problem(
        cp.Minimize(
            cp.sum_squares(cp.multiply(np.sqrt(w), y[n, :] - yt))
            + cp.sum_squares(cp.multiply(np.sqrt(q), u))
        ),
        cons,
    )
    clock("build")
    return _finish(p, clock)


def assign_vec(n, clock):
    c = np.array(data.assign_cost(n))
    clock(None)
    x = cp.Variable((n, n), boolean=True)
    p = cp.Problem(
        cp.Minimize(cp.sum(cp.multiply(c, x))), [cp.sum(x, axis=1) == 1, cp.sum(x, axis=0) == 1]
    )
    clock("build")
    return _finish(p, clock)


def knap_sum(n, clock):
    x = cp.Variable(n, bounds=[0, 1])
    c = np.array(data.knap_coef(n))
    clock(None)
    e = c @ x
    clock("build")
    p = cp.Problem(cp.Maximize(x[0]), [e <= n])
    return _finish(p, clock)


def modify(n, clock, steps=2):
    """a Parameter for the right-hand side; the compilation is cached, the engine's model is not"""
    a, b, c = data.modify_lp(n)
    x = cp.Variable(n, bounds=[0, 10])
    rhs = cp.Parameter(n, value=b.copy())
    p = cp.Problem(cp.Minimize(c @ x), [a @ x >= rhs])
    p.solve(cp.HIGHS)
    clock(None)
    w = b.copy()
    for k in range(steps):
        i, v = data.modify_step(b, k)
        w[i] = v
        rhs.value = w
        p.solve(cp.HIGHS)
    clock("iter", steps)
    return float(p.value)


def query_vec(n, clock):
    x = cp.Variable(n, bounds=[0.5, 1])
    p = cp.Problem(cp.Minimize(cp.sum(x)), [x[0] >= 0.5])
    p.solve(cp.HIGHS)
    clock(None)
    v = x.value
    clock("read", n)
    return float(v.sum())
