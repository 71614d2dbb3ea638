"""Nonlinear rows and objectives in a problem: transfer, deletion, refusals."""

import math

import pytest

import quilex
import quilexlib
from quilex import exp, sin


@pytest.fixture
def xs(p):
    variables = [quilex.var(name=f"x{k}", lb=-5, ub=5) for k in range(5)]
    p.addVariable(variables)
    return variables


def places(p):
    return [(row, column) for row, column, _, _ in quilexlib._formulas(p)]


def row_values(p, point):
    """What the nonlinear coefficients add to the rows at a point."""
    values = {}
    quilexlib._formula_value(p, [(0, 0.0)], point)  # sets the columns' values
    for row, column, factor, tokens in quilexlib._formulas(p):
        value = factor * quilexlib._formula_value(p, tokens)
        values[row] = values.get(row, 0.0) + value * (point[column] if column >= 0 else 1)
    return values


def test_rows_of_all_kinds_over_several_batches(p):
    n = 12_000
    x = [quilex.var(lb=-2, ub=2) for _ in range(n + 1)]
    p.addVariable(x)
    rows = []
    for i in range(n):
        if i % 3 == 0:
            rows.append(sin(x[i]) * x[i + 1] + exp(x[i]) <= 2)
        elif i % 3 == 1:
            rows.append(x[i] + 2 * x[i + 1] <= 3)
        else:
            rows.append(x[i] * x[i + 1] + exp(x[i]) - x[0] >= i)
        p.addConstraint(rows[-1])
    assert places(p)[:5] == [(0, 1), (0, -1), (2, -1), (3, 4), (3, -1)]
    point = [math.sin(i) for i in range(n + 1)]
    expected = {}
    for i in range(n):
        if i % 3 != 1:
            expected[i] = math.exp(point[i])
        if i % 3 == 0:
            expected[i] += math.sin(point[i]) * point[i + 1]
    assert row_values(p, point) == pytest.approx(expected)
    assert str(rows[3].body) == str(sin(x[3]) * x[4] + exp(x[3]))
    assert rows[3].ub == 2 and p.getIndex(rows[-1]) == n - 1
    assert (p.attributes.qconstraints, p.attributes.rows) == (n // 3, n)


def test_deletion(p, xs):
    rows = [sin(xs[0]) <= 1, xs[3] <= 1, xs[1] * exp(xs[2]) <= 2, xs[4] >= 0, sin(xs[2]) >= 0]
    p.addConstraint(rows)
    for variable, row in ((xs[0], 0), (xs[1], 2), (xs[2], 2)):
        message = rf"\({variable}\) occurs in a formula of row {row} \("
        with pytest.raises(RuntimeError, match=message):
            p.delVariable([xs[3], variable])
    p.delVariable(xs[3])
    p.delConstraint([rows[0], rows[3]])
    assert places(p) == [(1, 1), (2, -1)]
    assert row_values(p, [9, 2, 1, 9]) == pytest.approx({1: 2 * math.e, 2: math.sin(1)})
    p.delConstraint([rows[2], rows[4]])
    assert places(p) == []
    # Without formulas the problem is linear again.
    p.setObjective(quilex.Sum(p.getVariable()))
    p.solve()
    assert p.getProbStatusString() == "lp_optimal"
    assert p.getObjVal() == -20


def test_indicators(p, xs):
    b = quilex.var(vartype=quilex.binary)
    p.addVariable(b)
    p.addIndicator(b == 1, sin(xs[0]) + xs[1] <= 1)
    p.addConstraint(sin(xs[1]) <= 1)
    refused = exp(xs[0]) + xs[1] * xs[2] <= 1
    with pytest.raises(RuntimeError, match="an indicator row must be linear"):
        p.addIndicator(b == 0, refused)
    assert (p.attributes.rows, p.attributes.indicators) == (2, 1)
    assert places(p) == [(0, -1), (1, -1)]
    p.addConstraint(refused)
    assert p.getIndex(refused) == 2
    assert places(p) == [(0, -1), (1, -1), (2, -1)]


def test_objectives(p, xs):
    rows = [xs[0] + xs[1] <= 3, exp(xs[3]) <= 4]
    p.addConstraint(rows[0])
    p.setObjective(sin(xs[0]) + xs[1] * exp(xs[2]) + 3 * xs[4] + 7 + xs[0] * xs[1], quilex.maximize)
    p.addConstraint(rows[1])
    y = quilex.var("y")
    p.addVariable(y)
    [row], [column] = p.getConstraint("objtransferrow"), p.getVariable("objtransfercol")
    assert [p.getIndex(one) for one in (row, rows[1], column, y)] == [1, 2, 5, 6]
    assert (row.lb, row.ub) == (0, 0) and str(row.body).endswith("- objtransfercol)")
    assert places(p) == [(1, -1), (1, 1), (2, -1)]
    for delete, what in ((p.delConstraint, row), (p.delVariable, column)):
        with pytest.raises(RuntimeError, match="belongs to the nonlinear objective"):
            delete(what)
    # A refused objective leaves the old one; another nonlinear one takes its place.
    with pytest.raises(RuntimeError, match="has not been added"):
        p.setObjective(sin(xs[0]) + exp(quilex.var()))
    assert places(p) == [(1, -1), (1, 1), (2, -1)]
    p.delVariable(xs[4])
    p.delConstraint(rows[0])
    p.setObjective(exp(y))
    assert [one.name for one in p.getConstraint()[1:]] == ["objtransferrow"]
    assert [p.getIndex(one) for one in (rows[1], xs[3], y)] == [0, 3, 4]
    assert row_values(p, [0, 0, 0, 1, 2, 0]) == pytest.approx({0: math.e, 1: math.exp(2)})
    # Back to a linear objective and a linear problem.
    p.setObjective(y + 1)
    assert len(p.getVariable()) == p.attributes.cols == 5
    p.delConstraint(rows[1])
    p.addConstraint(y >= 2)
    p.solve()
    assert p.getObjVal() == 3
