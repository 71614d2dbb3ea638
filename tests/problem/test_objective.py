"""The objective: kinds, constants, senses, replacement."""

import numpy as np
import pytest

import quilex

# Each objective with its largest and smallest value for six variables in [0, 10].
OBJECTIVES = {
    "variable": (lambda x: x[0], 10, 0),
    "term": (lambda x: 2 * x[0], 20, 0),
    "expression": (lambda x: 2 * x[0] + x[1] + 3, 33, 3),
    "repeated": (lambda x: x[0] + x[1] + x[0], 30, 0),
    "constant": (lambda x: 7, 7, 7),
    "float": (lambda x: x[0] - x[0], 0, 0),
    "numpy scalar": (lambda x: np.float64(2.5), 2.5, 2.5),
    "cancelled": (lambda x: x[0] - x[0] + x[1] - x[1] + 4.0, 4, 4),
}


@pytest.mark.parametrize("case", OBJECTIVES)
def test_values(p, xs, case):
    make, largest, smallest = OBJECTIVES[case]
    p.setObjective(quilex.Sum(k * v for k, v in enumerate(xs)) + 99)
    for sense, expected in ((quilex.maximize, largest), (quilex.minimize, smallest)):
        p.setObjective(make(xs), sense=sense)
        p.solve()
        assert p.getObjVal() == pytest.approx(expected)


BAD = {
    "list": (lambda x: [x[0]], "Only one objective can be set, passed a sequence or NumPy array"),
    "array": (lambda x: np.array(x), "Only one objective can be set"),
    "None": (lambda x: None, "Invalid object set as objective"),
    "constraint": (lambda x: x[0] <= 1, "Invalid object set as objective"),
    "unknown variable": (
        lambda x: x[0] + quilex.var("stranger"),
        "Variable stranger in the objective",
    ),
    "infinite": (lambda x: 1e30 * x[3], "coefficient of variable x3 is 1e\\+30"),
    "nan constant": (lambda x: x[0] + float("nan"), "the constant is nan"),
    "unknown in formula": (
        lambda x: quilex.sin(x[0]) + quilex.exp(quilex.var("stranger")),
        "Variable in nonlinear part of constraint has not been added to problem yet",
    ),
}


@pytest.mark.parametrize("case", BAD)
def test_a_refused_objective_leaves_the_old_one(p, xs, case):
    p.setObjective(xs[0] + 1, sense=quilex.maximize)
    make, message = BAD[case]
    with pytest.raises(RuntimeError, match=message):
        p.setObjective(make(xs))
    with pytest.raises(RuntimeError, match="Invalid optimization sense"):
        p.setObjective(xs[1], sense=0)
    p.solve()
    assert p.getObjVal() == pytest.approx(11)


def test_columns_that_lose_their_coefficient(p, xs):
    p.setObjective(quilex.Sum(xs), sense=quilex.maximize)
    p.setObjective(xs[2] - xs[4], quilex.maximize)
    p.solve()
    assert p.getObjVal() == pytest.approx(10)
    p.addVariable(quilex.var(ub=5))
    p.setObjective(p.getVariable(6) - 2 * xs[2], sense=quilex.minimize)
    p.solve()
    assert p.getObjVal() == pytest.approx(-20)
