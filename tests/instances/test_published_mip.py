"""Published mixed-integer programs: integers, semi-continuous columns, special ordered sets."""

import pytest
from catalogue import HERE, REFUSED, UNFINISHED, find
from mps_reader import read_instance
from optimal import assert_optimal, quick
from point_check import objective_value, violations
from statement import state


@pytest.mark.parametrize("instance", quick("mip"))
def test_published_optimum(instance):
    model = instance.read()
    problem, variables = state(model)
    problem.solve()
    assert_optimal(model, problem, variables, instance.optimum, "mip_optimal")


@pytest.mark.parametrize("name", sorted(REFUSED))
@pytest.mark.xfail(raises=RuntimeError, strict=True, reason="needs a branch and cut of our own")
def test_published_optimum_of_what_is_still_refused(name):
    instance = find("mip", name)
    model = instance.read()
    problem, variables = state(model)
    problem.solve()
    assert_optimal(model, problem, variables, instance.optimum, "mip_optimal")


@pytest.mark.parametrize("name", sorted(UNFINISHED))
def test_a_search_that_is_stopped_tells_no_more_than_it_knows(name):
    """The published optimum lies between the solution found and the bound."""
    instance = find("mip", name)
    model = instance.read()
    problem, variables = state(model)
    problem.controls.timelimit = 5
    problem.solve()
    assert model.maximize
    assert problem.attributes.bestbound >= instance.optimum
    # A slow machine may not come to a solution.
    assert problem.getProbStatusString() in ("mip_solution", "mip_no_sol_found")
    if problem.getProbStatusString() == "mip_solution":
        point = problem.getSolution(variables)
        assert violations(model, point) == []
        assert problem.getObjVal() == pytest.approx(objective_value(model, point))
        assert problem.getObjVal() <= instance.optimum + 1e-6


@pytest.mark.parametrize("name", ["infeasible-mip0", "infeasible-mip1"])
def test_models_without_a_solution(name):
    problem, _ = state(read_instance(HERE / "infeasible" / f"{name}.mps.gz"))
    problem.solve()
    assert problem.getProbStatusString() == "mip_infeas"


def test_a_model_solved_twice_gives_the_same_optimum():
    """A second solve of an unchanged integer model starts from a clean slate."""
    instance = find("mip", "p0033")
    model = instance.read()
    problem, variables = state(model)
    problem.solve()
    problem.solve()
    assert_optimal(model, problem, variables, instance.optimum, "mip_optimal")
