"""Fixtures of the problem's tests; lets them import the helper modules of this folder by name."""

import sys
from pathlib import Path

import pytest

import quilex

sys.path.insert(0, str(Path(__file__).resolve().parent))


@pytest.fixture
def xs(p):
    """Six variables of the problem `p`."""
    variables = [quilex.var(name=f"x{k}", ub=10) for k in range(6)]
    p.addVariable(variables)
    return variables


@pytest.fixture
def consistent(p):
    """Checks that lists, indices and the library agree; to be called at the end of a test."""

    def check(problem=p):
        for objects, count in (
            (problem.getVariable(), problem.attributes.cols),
            (problem.getConstraint(), problem.attributes.rows),
        ):
            assert len(objects) == count
            assert [problem.getIndex(one) for one in objects] == list(range(count))
        sets = problem.getSOS()
        assert [problem.getIndex(one) for one in sets] == list(range(len(sets)))
        return True

    return check
