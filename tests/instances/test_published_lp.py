"""Published linear programs, stated with operators."""

from dataclasses import replace

import numpy as np
import pytest
from catalogue import HERE, find
from mps_reader import Row, read_instance
from optimal import assert_optimal, quick
from statement import state


@pytest.mark.parametrize("instance", quick("lp"))
def test_published_optimum(instance):
    model = instance.read()
    problem, variables = state(model)
    problem.solve()
    assert_optimal(model, problem, variables, instance.optimum, "lp_optimal")
    assert_dual_certificate(model, problem, instance.optimum)


def assert_dual_certificate(model, problem, optimum):
    """Duals and reduced costs prove the optimum: c = A'y + d, and the bound they give is tight.

    Every published LP here is a minimisation, so a positive multiplier takes the lower side.
    """
    y, d = np.array(problem.getDual()), np.array(problem.getRCost())
    gradient = d.copy()
    for row, multiplier in zip(model.rows, y):
        for column, coefficient in row.terms:
            gradient[column] += multiplier * coefficient
    costs = np.array([column.cost for column in model.columns])
    scale = np.maximum(1.0, np.abs(costs))
    assert np.max(np.abs(gradient - costs) / scale) <= 1e-6
    bound = model.constant
    for multiplier, item in [*zip(y, model.rows), *zip(d, model.columns)]:
        side = item.lower if multiplier > 0 else item.upper
        if abs(multiplier) > 1e-7 or np.isfinite(side):
            bound += multiplier * side
    assert abs(bound - optimum) <= 1e-6 * max(1.0, abs(optimum))


@pytest.mark.parametrize("name", ["afiro", "boeing1", "capri", "e226", "shell"])
def test_published_optimum_as_a_maximisation(name):
    instance = find("lp", name)
    model = instance.read()
    model.maximize = True
    model.constant = -model.constant
    for column in model.columns:
        column.cost = -column.cost
    problem, variables = state(model)
    problem.solve()
    assert_optimal(model, problem, variables, -instance.optimum, "lp_optimal")


def test_solving_again_after_added_rows_agrees_with_a_fresh_problem():
    """A warm solve that rows cut off from its old optimum ends where a cold solve ends.

    The rows keep the middle between the optimum and a point that other costs prefer.
    """
    model = find("lp", "scagr25").read()
    problem, variables = state(replace(model, columns=[replace(c, cost=1) for c in model.columns]))
    problem.solve()
    other = np.array(problem.getSolution(variables))
    problem, variables = state(model)
    problem.solve()
    best = np.array(problem.getSolution(variables))
    middle = (best + other) / 2
    for j in np.argsort(middle - best)[:5]:
        model.rows.append(Row(f"cut{j}", -np.inf, middle[j], [(j, 1.0)]))
        problem.addConstraint(variables[j] <= middle[j])
        problem.solve()
    fresh, _ = state(model)
    fresh.solve()
    assert fresh.getProbStatusString() == "lp_optimal"
    assert problem.getSolution(variables) != list(best)
    assert_optimal(model, problem, variables, fresh.getObjVal(), "lp_optimal")


@pytest.mark.parametrize(
    "name", ["bgetam", "forest6", "galenet", "klein1", "vol1", "woodinfe", "gas11"]
)
def test_models_without_a_solution(name):
    problem, _ = state(read_instance(HERE / "infeasible" / f"{name}.mps.gz"))
    problem.solve()
    expected = "lp_unbounded" if name == "gas11" else "lp_infeas"
    assert problem.getProbStatusString() == expected
