"""Published mixed-integer programs: integers, semi-continuous columns, special ordered sets."""

import pytest
from catalogue import HERE, REFUSED, find
from mps_reader import read_instance
from optimal import assert_optimal, quick
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
