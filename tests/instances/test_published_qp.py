"""Published convex quadratic programs."""

import numpy as np
import pytest
from catalogue import find
from optimal import assert_optimal, quick
from statement import state


@pytest.mark.parametrize("instance", quick("qp"))
def test_published_optimum(instance):
    model = instance.read()
    problem, variables = state(model)
    problem.solve()
    assert_optimal(model, problem, variables, instance.optimum, "lp_optimal")


@pytest.mark.parametrize("name", ["HS118", "QAFIRO", "QPTEST", "DUALC1", "CVXQP2_S"])
def test_multipliers_are_stationary(name):
    """The gradient of the objective is the rows' duals and the columns' reduced costs."""
    model = find("qp", name).read()
    problem, variables = state(model)
    problem.solve()
    x = problem.getSolution(variables)
    gradient = np.array([column.cost for column in model.columns])
    for i, j, q in model.quadratic:
        gradient[i] += q * x[j]
        gradient[j] += q * x[i]
    multipliers = np.array(problem.getRCost())
    for row, y in zip(model.rows, problem.getDual()):
        for column, coefficient in row.terms:
            multipliers[column] += y * coefficient
    assert np.max(np.abs(gradient - multipliers)) <= 1e-5 * max(1.0, np.max(np.abs(gradient)))


def test_a_saddle_is_not_called_optimal():
    """The same file with one negative curvature has no optimum that an interior point may claim."""
    model = find("qp", "DUAL4").read()
    model.quadratic.append((0, 0, -1e3))
    problem, _ = state(model)
    problem.solve()
    assert problem.getProbStatusString() == "lp_nonconvex"
