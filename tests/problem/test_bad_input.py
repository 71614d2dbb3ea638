"""Bad input: a clear RuntimeError, and a problem that is what it was before."""

import math

import numpy as np
import pytest

import quilex

INF, NAN = math.inf, math.nan


class Refuses(int):
    """A number that raises when the problem converts it."""

    armed = False

    def __float__(self):
        if self.armed:
            raise RuntimeError("no number")
        return 3.0


def armed(x):
    number = Refuses(3)
    constraint = quilex.constraint(body=x[0] + x[1] + quilex.sin(x[2]) * number, ub=1)
    number.armed = True
    return constraint


def bounds(name, lb, ub):
    return lambda x: quilex.constraint(body=x[0] + x[1], lb=lb, ub=ub, name=name)


BAD_CONSTRAINTS = {
    "inverted": (bounds("c", 2, 1), "constraint c: lower bound 2.0, upper bound 1.0"),
    "nan lower": (bounds("c", NAN, 1), "constraint c: lower bound nan"),
    "nan upper": (bounds("c", 0, NAN), "constraint c: .*upper bound nan"),
    "nan right-hand side": (lambda x: x[0] <= NAN, "nan"),
    "infinite equality": (bounds("c", 1e20, 1e20), "lower bound 1e\\+20"),
    "minus infinite upper": (lambda x: x[0] <= -INF, "its own side of infinity"),
    "infinite coefficient": (lambda x: INF * x[2] + x[0] <= 1, "variable x2 is inf"),
    "large coefficient": (lambda x: x[0] - 1e20 * x[2] <= 1, "variable x2 is -1e\\+20"),
    "nan coefficient": (lambda x: NAN * x[2] <= 1, "variable x2 is nan"),
    "overflowing sum": (
        lambda x: 9e19 * x[1] + x[0] + 9e19 * x[1] <= 1,
        "variable x1 is 1.8e\\+20",
    ),
    "infinite product": (lambda x: INF * x[0] * x[1] <= 1, "product's coefficient"),
    "unknown variable": (
        lambda x: x[0] + quilex.var("stranger") <= 1,
        "Variable stranger in constraint R[0-9]+ has not been added",
    ),
    "unknown after entries": (
        lambda x: x[2] + x[3] + 2 * x[0] + quilex.var("stranger") <= 1,
        "Variable stranger in",
    ),
    "unknown in product": (
        lambda x: x[0] * x[1] + x[0] * quilex.var("stranger") <= 1,
        "Variable stranger in",
    ),
    "unknown in formula": (
        lambda x: quilex.sin(x[0]) + quilex.exp(quilex.var("stranger")) <= 1,
        "Variable in nonlinear part of constraint has not been added to problem yet",
    ),
    "unknown after a formula": (lambda x: quilex.sin(x[0]) * quilex.var() <= 1, "not been added"),
    "unknown in a user function": (
        lambda x: quilex.user(len, quilex.var()) <= 1,
        "not been added",
    ),
    "number that raises": (armed, "no number"),
    "name not ASCII": (
        lambda x: quilex.constraint(body=x[0] + x[1], ub=1, name="\xfc"),
        "Invalid constraint name",
    ),
    "no body": (lambda x: quilex.constraint.__new__(quilex.constraint), "Stale expression link"),
    "number": (lambda x: 3, "Invalid constraint"),
    "bool": (lambda x: 3 <= 4, "Invalid constraint"),
    "text": (lambda x: "row", "Invalid constraint"),
    "nan constant": (lambda x: quilex.constraint(body=x[0] + NAN, ub=3), "the constant is nan"),
    "side beyond infinity": (
        lambda x: quilex.constraint(body=x[0] + 9e19, ub=-9e19),
        "constraint R[0-9]+: the right-hand side, .* is -1.8e\\+20",
    ),
    "masked": (
        lambda x: np.ma.array(np.array([x[0], x[1]], dtype=object), mask=[0, 1]) <= 1,
        "Masked elements",
    ),
}


@pytest.mark.parametrize("when", ["rows wait", "rows are sent"])
@pytest.mark.parametrize("case", BAD_CONSTRAINTS)
def test_a_bad_constraint_is_refused_and_nothing_is_lost(p, xs, consistent, case, when):
    make, message = BAD_CONSTRAINTS[case]
    good = [xs[k] + xs[k + 1] <= 4 for k in range(3)]
    bodies = [str(c.body) for c in good]
    bad = make(xs)
    with pytest.raises(RuntimeError, match=message):
        p.addConstraint(good[0], [good[1], bad], good[2])
    if when == "rows are sent":
        assert [str(c) for c in p.getConstraint()] == [str(c) for c in good[:2]]
    with pytest.raises(RuntimeError, match=message):
        p.addConstraint(bad)
    p.addConstraint(good[2])
    assert consistent()
    assert [str(c.body) for c in good] == bodies
    p.setObjective(quilex.Sum(xs[:4]), sense=quilex.maximize)
    p.solve()
    assert p.getObjVal() == pytest.approx(8)
    assert p.getSlack(good) == pytest.approx(
        [4 - sum(p.getSolution(xs[k : k + 2])) for k in range(3)]
    )


def test_an_empty_problem_is_not_solved(p):
    with pytest.raises(RuntimeError, match="the problem is empty"):
        p.solve()
    p.addVariable(quilex.var(ub=1))
    p.solve()
    assert p.getProbStatus() == quilex.lp_optimal


def test_deep_nesting_of_other_kinds_ends(p):
    endless = []
    endless.append(endless)
    for call in (p.addVariable, p.addConstraint, p.addSOS, p.getVariable):
        with pytest.raises(RuntimeError, match="Maximum recursion"):
            call(endless)


@pytest.mark.parametrize(
    "call",
    [
        lambda p: p.setObjective(),
        lambda p: p.setObjective(1, 2.5),
        lambda p: p.solve(1, 2),
        lambda p: p.getVariable(first="a"),
        lambda p: p.delVariable(1, 2, 3, 4),
        lambda p: p.getSolutionArray(1, 2),
        lambda p: p.addVariable(x=1),
        lambda p: quilex.problem(3),
    ],
)
def test_wrong_argument_lists_are_type_errors(p, call):
    with pytest.raises(TypeError):
        call(p)
