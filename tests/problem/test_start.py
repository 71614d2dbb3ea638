"""setStart: arrangements of variables and numbers, and what is refused."""

import math

import numpy as np
import pytest

import quilex
import quilexlib

COUNT = 6


@pytest.fixture
def x(p):
    variables = [quilex.var(name=f"x{k}", lb=-100, ub=100) for k in range(COUNT)]
    p.addVariable(variables)
    return variables


def starts(p):
    """Each column's value by the library; NaN where it has none."""

    def value(k):
        try:
            return quilexlib._formula_value(p, [(10, float(k)), (0, 0.0)])
        except RuntimeError as error:
            assert "neither a value nor an initial value" in str(error)
            return math.nan

    return [value(k) for k in range(p.attributes.cols)]


class Series:
    """Offers an array, as a column of a data frame does."""

    def __init__(self, values):
        self.values = values

    def __array__(self, dtype=None, copy=None):
        return np.array(self.values, dtype=dtype)


V = list(range(1, COUNT + 1))
ARRANGEMENTS = {
    "lists": lambda x: (x, V),
    "tuples": lambda x: (tuple(x), tuple(V)),
    "list and array": lambda x: (x, np.array(V, dtype=np.int8)),
    "arrays": lambda x: (np.array(x).reshape(2, 3), np.array(V, float).reshape(2, 3)),
    "array and lists": lambda x: (np.array(x).reshape(3, 2), [V[:2], V[2:4], V[4:]]),
    "strided": lambda x: (np.array(x[::-1])[::-1], np.array(V[::-1])[::-1]),
    "nested": lambda x: ([x[0], (x[1], [x[2], x[3]]), x[4:]], [1, (2, [3, 4]), V[4:]]),
    "dicts by key": lambda x: (dict(zip("abcdef", x)), dict(zip("fedcba", V[::-1]))),
    "dict and list": lambda x: (dict(zip("abcdef", x)), V),
    "views": lambda x: (dict(enumerate(x)).values(), dict(enumerate(V)).values()),
    "generators": lambda x: ((v for v in x), (v for v in V)),
    "dicts of lists": lambda x: ({"a": x[:2], "b": x[2:]}, {"b": V[2:], "a": V[:2]}),
    "series": lambda x: (x, Series(V)),
    "numpy scalars": lambda x: (x, [np.float32(v) for v in V]),
    "variable: number": lambda x: (dict(zip(x, V)),),
}


@pytest.mark.parametrize("name", ARRANGEMENTS)
def test_arrangements(p, x, name):
    p.setStart(*ARRANGEMENTS[name](x))
    assert starts(p) == V
    p.setStart(np.array(x).reshape(2, 3), 7)
    assert starts(p) == [7] * COUNT
    p.setStart(x[2], np.array(-1.5))
    p.setStart([], [])
    assert starts(p) == [7, 7, -1.5, 7, 7, 7]


REFUSED = {
    "values has 5 items, must have 6 as variables has": lambda x: (x, V[:5]),
    "values[1] has 1 items, must have 2 as variables[1] has": lambda x: ([x[0], x[:2]], [1, [2]]),
    "values[1] is one number, variables[1] has several": lambda x: ([x[0], x[:2]], [1, 2]),
    "values[1] has several numbers, variables[1] is one": lambda x: (x[:2], [1, [2]]),
    "values['b'] is missing": lambda x: ({"a": x[0], "b": x[1]}, {"a": 1, "c": 2}),
    "values is a dict, must be none": lambda x: (x[:1], {"a": 1}),
    "values[1] is nan, must be less than 1e20": lambda x: (x[:2], np.array([1, np.nan])),
    "values[0] is -inf, must be": lambda x: (x[:1], [-math.inf]),
    "values is 1e+20, must be": lambda x: (x, 1e20),
    "values[1] is of type str, must be a number": lambda x: (x[:2], [1, "2"]),
    "values is of type str, must be a number": lambda x: (x[:2], "12"),
    "values[0] is of type quilex.var, must be a number": lambda x: (x[:1], x[:1]),
    "variables[1] is of type int, must be a variable": lambda x: ([x[0], 3], [1, 2]),
    "variables['a'] is of type str, must be": lambda x: ({"a": 1},),
    "variables[1] has not been added": lambda x: ([x[0], quilex.var()], [1, 2]),
    "variables and values, or one dict": lambda x: (x,),
    "Masked elements": lambda x: (x[:2], np.ma.array([1, 2], mask=[0, 1])),
    "Maximum recursion": lambda x: (nested(x[0], 40), nested(1, 40)),
}


def nested(item, depth):
    return item if depth == 0 else [nested(item, depth - 1)]


@pytest.mark.parametrize("message", REFUSED)
def test_refused(p, x, message):
    p.setStart(x, V)
    with pytest.raises(RuntimeError) as info:
        p.setStart(*REFUSED[message](x))
    assert message in str(info.value)
    assert starts(p) == V


def test_large_ints_and_errors_of_the_caller(p, x):
    with pytest.raises(OverflowError):
        p.setStart(x[0], 10**400)

    def fails():
        yield 1
        raise KeyError("mine")

    with pytest.raises(KeyError):
        p.setStart(x[:2], fails())
    assert all(math.isnan(value) for value in starts(p))


def test_the_problem_may_change_while_its_start_is_set(p, x):
    class Number:
        def __float__(self):
            p.delVariable(x[0])
            return 1.0

    with pytest.raises(RuntimeError, match="left the problem"):
        p.setStart(x[:2], [1.0, Number()])
    assert all(math.isnan(value) for value in starts(p))
    late = quilex.var(name="late")
    p.setStart((p.addVariable(late) or v for v in [late]), 3.0)
    assert starts(p)[-1] == 3.0


def test_solves_begin_at_the_start(p, x):
    p.addConstraint(quilex.sin(x[0]) <= 0.5)
    p.setObjective(quilex.cos(x[0]))
    for start in (3.0, 22.0, 3.5):
        p.setStart(x, 0)
        p.setStart(x[0], start)
        p.solve()
        assert p.getSolution(x[0]) == pytest.approx(round(start / math.pi) * math.pi, abs=1e-5)
        assert starts(p)[0] == start
