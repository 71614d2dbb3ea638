"""Rows in the library: what a constraint's body becomes, and that it reads back the same."""

import gc
import random

import pytest

import quilex

BODIES = {
    "single": lambda x: x[2] + 0,
    "rising": lambda x: 1.5 * x[0] + 2 * x[1] - x[5],
    "falling": lambda x: x[5] + 2 * x[3] + 3 * x[0],
    "repeated": lambda x: x[0] + x[1] + 2 * x[0] + x[1],
    "cancelled": lambda x: x[0] + x[1] - x[0] + x[2],
    "cancelled and back": lambda x: x[0] + x[1] + x[2] - x[0] + 3 * x[0],
    "nothing left": lambda x: x[0] + x[1] - x[0] - x[1],
    "rounded": lambda x: 0.1 * x[0] + 0.2 * x[1] + 0.2 * x[0] - 0.3 * x[1],
    "scaled": lambda x: 3 * (0.1 * x[4] + 0.3 * x[4] - x[1]),
}


def text_after(p, constraint):
    """The body's text from the row that the library holds, the only copy left."""
    p.addConstraint(constraint)
    return str(constraint.body)


@pytest.mark.parametrize("name", BODIES)
def test_bodies_read_back_the_same(p, xs, name):
    expected = str((BODIES[name](xs) <= 3).body)
    assert text_after(p, BODIES[name](xs) <= 3) == expected
    constraint = BODIES[name](xs) <= 3
    kept = constraint.body
    assert text_after(p, constraint) == expected
    assert constraint.body is kept


def test_long_rows_merge_like_a_dict(p):
    generator = random.Random(3)
    variables = [quilex.var() for _ in range(60)]
    p.addVariable(variables)
    for length in (5, 13, 40, 300):
        e, model = 0, {}
        for _ in range(length):
            k, c = generator.randrange(60), generator.choice([1.0, -1.0, 0.5, 0.1, -0.1])
            e += c * variables[k]
            model[k] = model.get(k, 0.0) + c
            if model[k] == 0.0:
                del model[k]
        constraint = e <= 1
        p.addConstraint(constraint)
        del e
        expected = 0
        for k, c in model.items():
            expected += c * variables[k]
        assert str(constraint.body) == str(expected)


def body_cases():
    """What may happen to a row after its body was released."""
    yield "nothing", lambda p, xs, c: None
    yield "constraint deleted", lambda p, xs, c: p.delConstraint(c)
    yield "others deleted", lambda p, xs, c: p.delConstraint([0, 2])
    yield "a variable deleted", lambda p, xs, c: p.delVariable(xs[3])
    yield "variables before it deleted", lambda p, xs, c: p.delVariable([0, 5])
    yield "added to another problem", into_another
    yield "solved", lambda p, xs, c: p.solve()
    yield "rows added", lambda p, xs, c: p.addConstraint(v <= 1 for v in xs)


def into_another(p, xs, c):
    other = quilex.problem()
    other.addVariable(reversed(xs))
    other.addConstraint(c)


@pytest.mark.parametrize("case", [name for name, _ in body_cases()])
def test_bodies_survive_changes_of_the_problem(p, xs, case):
    constraints = [xs[0] <= 9, 2 * xs[1] + 4 * xs[3] - xs[2] >= -3, xs[4] + xs[5] <= 7]
    expected = str(constraints[1].body)
    p.addConstraint(constraints)
    dict(body_cases())[case](p, xs, constraints[1])
    gc.collect()
    assert str(constraints[1].body) == expected
    assert (constraints[1].lb, constraints[1].ub) == (-3, quilex.infinity)


def test_bodies_survive_their_problem():
    problem = quilex.problem()
    v, w = quilex.var(), quilex.var()
    problem.addVariable(v, w)
    c = 3 * w + 2 * v <= 1
    expected = str(c.body)
    problem.addConstraint(c, v <= 1)
    del problem
    assert str(c.body) == expected

    class Knot(quilex.problem):
        pass

    problem = Knot()
    problem.me = problem
    problem.addVariable(v, w)
    problem.addConstraint(c)
    copy = c.copy()
    d = v - w >= 0
    problem.addConstraint(d)
    del problem
    gc.collect()
    assert [str(one.body) for one in (c, copy)] == [expected] * 2
    assert str(d.body) == str((v - w >= 0).body)


def test_assigning_a_body_after_adding(p, xs):
    c = xs[0] + xs[1] <= 1
    p.addConstraint(c)
    c.body = xs[2]
    assert c.body is xs[2]


@pytest.mark.parametrize(
    "make, lowest, highest",
    [
        (lambda x: quilex.constraint(body=x, ub=3), -8, 3),
        (lambda x: quilex.constraint(body=x, lb=-2), -2, 9),
        (lambda x: quilex.constraint(body=x, lb=1, ub=3), 1, 3),
        (lambda x: quilex.constraint(body=x, lb=2, ub=2), 2, 2),
        (lambda x: quilex.constraint(body=x, lb=-1e20, ub=1e20), -8, 9),
        (lambda x: quilex.constraint(body=x + 5, ub=7), -8, 2),
        (lambda x: quilex.constraint(body=2 * x + 5, lb=1, ub=7), -2, 1),
        (lambda x: quilex.constraint(body=-1 * x, lb=1, ub=3), -3, -1),
        (lambda x: x + 5 <= 7, -8, 2),
        (lambda x: 2 >= 1 * x, -8, 2),  # noqa: SIM300
    ],
)
def test_sides_of_rows(p, make, lowest, highest):
    x = quilex.var(lb=-8, ub=9)
    p.addVariable(x)
    p.addConstraint(make(x))
    for sense, expected in ((quilex.minimize, lowest), (quilex.maximize, highest)):
        p.setObjective(x, sense=sense)
        p.solve()
        assert p.getObjVal() == pytest.approx(expected)


def test_constant_bodies(p, xs):
    p.addConstraint(quilex.constraint(body=3.0, ub=4), xs[0] <= xs[0])
    p.setObjective(xs[0])
    p.solve()
    assert p.getProbStatus() == quilex.lp_optimal
    p.addConstraint(quilex.constraint(body=5, ub=4))
    p.solve()
    assert p.getProbStatus() == quilex.lp_infeas


def test_names_reach_the_library(p):
    x = quilex.var("a" * 200)
    y = quilex.var()
    z = quilex.var(b"bytes")
    p.addVariable(x, y, z)
    c = x + y <= 1
    d = quilex.constraint(body=x, ub=3, name="row d")
    p.addConstraint(c, d)
    for name, variable in (("a" * 150, x), (y.name, y), ("bytes", z)):
        assert p.getVariable([name])[0] is variable
    for name, row in ((c.name, c), ("row d", d)):
        assert p.getConstraint([name])[0] is row
    with pytest.raises(RuntimeError, match="Invalid constraint name 'é'"):
        p.addConstraint(quilex.constraint(body=x, ub=3, name="é"))
