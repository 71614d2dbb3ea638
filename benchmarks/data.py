"""Numbers shared by every peer, so that all of them build the same models."""

import math

BIG = 2.0 * math.sqrt(2.0)

# lqcp constants (linear-quadratic control problem of the JuMP 2015 paper)
A, T = 0.001, 1.58


def lqcp_target(n):
    return [0.5 * (1.0 - (j / n) ** 2) for j in range(n + 1)]


def assign_cost(n):
    return [
        [float((i * 7919 + j * 104729 + (i * j) % 97) % 1000) / 10.0 + 1.0 for j in range(n)]
        for i in range(n)
    ]


def knap_coef(n):
    return [float(1 + (i * 7919) % 1000) for i in range(n)]


def modify_lp(n):
    """min c'x, A x >= b, 0 <= x <= 10; A is n x n with about 1 % nonzeros. Returns (csr, b, c)."""
    import numpy as np
    import scipy.sparse as sp

    rng = np.random.default_rng(7)
    k = max(2, n // 100)
    cols = np.empty(n * k, dtype=np.int32)
    for i in range(n):
        cols[i * k : (i + 1) * k] = np.sort(rng.choice(n, k, replace=False))
    vals = rng.uniform(1.0, 2.0, n * k).round(3)
    a = sp.csr_array((vals, cols, np.arange(0, n * k + 1, k, dtype=np.int32)), shape=(n, n))
    return a, rng.uniform(1.0, 5.0, n).round(3), rng.uniform(1.0, 2.0, n).round(3)


def small_lp(n):
    """min c'x, A x >= b, 0 <= x <= 10 with n columns and n + 2 rows. Returns lists (a, b, c)."""
    import random

    generator = random.Random(3)
    a = [[generator.randint(1, 9) for _ in range(n)] for _ in range(n + 2)]
    b = [generator.randint(n, 4 * n) for _ in range(n + 2)]
    return a, b, [generator.randint(5, 20) for _ in range(n)]


def modify_step(b, k):
    """(row, new right-hand side) of step k"""
    i = (k * 37) % len(b)
    return i, float(b[i]) * (1.0 + 1e-4 * (1 + k % 3))
