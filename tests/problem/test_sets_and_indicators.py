"""Special ordered sets and indicator constraints."""

import pytest

import quilex


@pytest.mark.parametrize("kind, best", [(1, 6), (2, 11)])
@pytest.mark.parametrize("weights", [[1, 2, 3, 4], []])
def test_sets(p, consistent, kind, best, weights):
    x = [quilex.var(ub=k + 3) for k in range(4)]
    p.addVariable(x)
    p.addSOS([quilex.sos([x[0], 1, x[2], x[3]], weights, type=kind)])
    p.setObjective(quilex.Sum(x), sense=quilex.maximize)
    p.solve()
    assert p.getObjVal() == pytest.approx(best)
    assert consistent()


BAD_SETS = {
    "not a set": (lambda x: x[0], "Object added is not a SOS"),
    "stranger": (lambda x: quilex.sos([quilex.var()], [1]), "variable that was not added"),
    "no member": (lambda x: quilex.sos([x[0], "x1"], [1, 2]), "must be passed as a list"),
    "lengths": (lambda x: quilex.sos(x[:3], [1, 2]), "2 weights for 3 members"),
    "column": (lambda x: quilex.sos([0, 99], [1, 2]), "column 99"),
    "equal weights": (lambda x: quilex.sos(x[:2], [1, 1]), "QLXaddsets64"),
    "nan weight": (lambda x: quilex.sos(x[:2], [1, float("nan")]), "QLXaddsets64"),
}


def test_a_weight_may_use_the_problem(p, xs, consistent):
    class Weight:
        def __init__(self, action):
            self.action = action

        def __float__(self):
            action, self.action = self.action, lambda: None
            action()
            return 1.0

    twice = quilex.sos(xs[1:3], [Weight(lambda: p.addSOS(twice)), 2])
    with pytest.raises(RuntimeError, match="SOS already added to problem"):
        p.addSOS(twice)
    p.addSOS(quilex.sos(xs[1:3], [Weight(lambda: p.delVariable(0)), 2]))
    p.addConstraint(quilex.Sum(xs[1:]) <= 100)
    p.setObjective(quilex.Sum(xs[1:]), sense=quilex.maximize)
    p.solve()
    assert 0.0 in p.getSolution(xs[1:3])
    assert consistent()


@pytest.mark.parametrize("case", BAD_SETS)
def test_bad_sets(p, xs, consistent, case):
    make, message = BAD_SETS[case]
    good = quilex.sos(xs[:2], [1, 2])
    with pytest.raises(RuntimeError, match=message):
        p.addSOS(good, make(xs))
    with pytest.raises(RuntimeError, match="SOS already added to problem"):
        p.addSOS(good)
    assert p.getSOS() == [good]
    assert consistent()


@pytest.mark.parametrize("value, best", [(1, 3), (0, 10)])
def test_indicators(p, value, best):
    z, x = quilex.var(vartype=quilex.binary), quilex.var(ub=10)
    p.addVariable(z, x)
    p.addIndicator(z == 1, x <= 3)
    p.addIndicator((z == 0, x >= 1), (z == 0, x - z <= 20))
    p.addConstraint(z == value)
    p.setObjective(x, sense=quilex.maximize)
    p.solve()
    assert p.getObjVal() == pytest.approx(best)
    p.setObjective(x)
    p.solve()
    assert p.getObjVal() == pytest.approx(0 if value == 1 else 1)


BAD_PAIRS = {
    "single": (lambda z, x: (z == 1,), "Invalid declaration of indicator constraints"),
    "list": (lambda z, x: ([z == 1, x <= 1],), "Invalid declaration of indicator constraints"),
    "three": (lambda z, x: (z == 1, x <= 1, x <= 2), "Invalid declaration"),
    "condition with a constant": (
        lambda z, x: (quilex.constraint(body=z + 1, lb=1, ub=1), x <= 1),
        "must be a variable",
    ),
    "two variables": (lambda z, x: (z + x == 1, x <= 1), "exactly one variable"),
    "quadratic": (
        lambda z, x: (quilex.constraint(body=z + z * x, lb=1, ub=1), x <= 1),
        "cannot contain a quadratic expression",
    ),
    "coefficient": (lambda z, x: (2 * z == 1, x <= 1), "must have coefficient 1"),
    "stranger": (lambda z, x: (quilex.var() == 1, x <= 1), "has not been added to problem yet"),
    "side": (lambda z, x: (z <= 1, x <= 1), "<variable_name> == 0 or <variable_name> == 1"),
    "term": (
        lambda z, x: (quilex.constraint(body=1.5 * z, lb=1, ub=1), x <= 1),
        "Must be var==0 or var==1, where var is a binary variable",
    ),
    "stranger in the row": (lambda z, x: (z == 1, quilex.var() <= 1), "has not been added"),
}


@pytest.mark.parametrize("case", BAD_PAIRS)
def test_bad_indicators(p, consistent, case):
    z, x = quilex.var(vartype=quilex.binary), quilex.var(ub=10)
    p.addVariable(z, x)
    make, message = BAD_PAIRS[case]
    with pytest.raises(RuntimeError, match=message):
        p.addIndicator(*make(z, x))
    assert p.attributes.rows == 0
    assert consistent()


@pytest.mark.parametrize("letter, upper, is_binary", [
    ("B", 1, True), ("I", 1, True), ("I", 2, False), ("C", 1, False), ("S", 1, False),
])  # fmt: skip
def test_the_variable_of_a_condition_is_binary_when_it_is_stated(p, letter, upper, is_binary):
    z, x = quilex.var("z", ub=upper), quilex.var(ub=10)
    p.addVariable(z, x)
    p.chgcoltype([z], letter)
    if not is_binary:
        text = f"variable z must be binary.*type '{letter}' with bounds 0.0 .. {upper}.0"
        with pytest.raises(RuntimeError, match=text):
            p.addIndicator(z == 1, x <= 3)
        assert p.attributes.rows == 0
        return
    p.addIndicator(z == 1, x <= 3)
    p.chgcoltype([z], "C")  # what is changed later is refused by the solve
    with pytest.raises(RuntimeError, match="must be binary"):
        p.solve()


def test_a_condition_may_be_a_bare_variable(p):
    z, x = quilex.var(vartype=quilex.binary), quilex.var(ub=10)
    p.addVariable(z, x)
    c = x <= 3
    p.addIndicator(quilex.constraint(body=z, lb=1, ub=1), c)
    with pytest.raises(RuntimeError, match="Constraint already added to problem"):
        p.addIndicator(z == 1, c)
    assert str(c.body) == str((x <= 3).body)
    assert p.getIndex(c) == 0
