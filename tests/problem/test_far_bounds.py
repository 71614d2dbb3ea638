"""Statuses and optima where bounds are far, sides are missing or rows are free."""

import math

import pytest

import quilex

INTEGER, SEMI_INTEGER = quilex.integer, quilex.semiinteger


def free(body):
    return quilex.constraint(body=body, lb=-math.inf, ub=math.inf)


def rounded_beside_a_fraction(p, far):
    """A fractional bound makes all integer bounds be rounded; the far one must not move."""
    x = quilex.var(ub=6.7, vartype=INTEGER)
    y = quilex.var(ub=far, vartype=INTEGER)
    p.addVariable(x, y)
    p.setObjective(x + y, sense=quilex.maximize)
    return "mip_optimal", 6 + far


def far_semi_integer(p, far):
    x = quilex.var(ub=far, threshold=1, vartype=SEMI_INTEGER)
    p.addVariable(x)
    p.setObjective(x, sense=quilex.maximize)
    return "mip_optimal", far


def unbounded_beside_a_free_row(p, large):
    """A tiny dual of the free row, times its coefficient, would hide the reduced cost of x."""
    x, y = quilex.var(lb=-math.inf), quilex.var(ub=4)
    p.addVariable(x, y)
    p.addConstraint(free(large * x + y))
    p.setObjective(7e-6 * x + y)
    return "lp_unbounded", None


def feasible_beside_a_free_row(p, large):
    x = quilex.var(ub=1, threshold=1, vartype=quilex.semicontinuous)
    y = quilex.var(ub=2, threshold=2, vartype=quilex.semicontinuous)
    p.addVariable(x, y)
    p.addConstraint(free(y - 5e-5 * x), large * x - 5693 * y <= -0.06)
    p.setObjective(x + y)
    return "mip_optimal", 2


@pytest.mark.parametrize("presolve", [1, 0])
@pytest.mark.parametrize(
    ("state", "size"),
    [
        *((rounded_beside_a_fraction, far) for far in (1e6, 1e9, 1e12)),
        *((far_semi_integer, far) for far in (1e10, 1e12)),
        (unbounded_beside_a_free_row, 562200),
        (feasible_beside_a_free_row, 998000),
    ],
)
def test_status_and_optimum(p, state, size, presolve):
    p.controls.presolve = presolve
    status, optimum = state(p, size)
    p.solve()
    assert p.getProbStatusString() == status
    if optimum is not None:
        assert p.getObjVal() == optimum
