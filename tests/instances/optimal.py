"""What every test of a published instance asks of its optimum."""

import pytest
from catalogue import REFUSED, UNFINISHED, published, relative_difference
from point_check import objective_value, violations

TOLERANCE = 1e-6


def quick(kind):
    """The instances of a kind that every run solves, as pytest parameters."""
    return [
        pytest.param(instance, id=instance.name)
        for instance in published(kind)
        if not instance.is_slow and instance.name not in {*REFUSED, *UNFINISHED}
    ]


def assert_optimal(model, problem, variables, optimum, status):
    """The problem ended optimal with the published value, at a point that the file accepts."""
    assert problem.getProbStatusString() == status
    assert relative_difference(problem.getObjVal(), optimum) <= TOLERANCE
    point = problem.getSolution(variables)
    assert violations(model, point) == []
    assert relative_difference(objective_value(model, point), optimum) <= TOLERANCE
