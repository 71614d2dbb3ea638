"""Comparisons that involve numpy: arrays, subclasses, scalars; plain arrays stay as they were."""

import operator
import subprocess
import sys

import numpy
import pytest

import quilex

OPERATORS = {"<=": operator.le, ">=": operator.ge, "==": operator.eq}
INFINITY = quilex.infinity


@pytest.fixture
def x():
    return quilex.var(name="x")


@pytest.fixture
def y():
    return quilex.var(name="y")


def parts(constraint):
    return str(constraint.body).strip(), constraint.lb, constraint.ub


def same(array, expected):
    assert array.dtype == object and array.shape == expected.shape
    assert [parts(a) for a in array.ravel()] == [parts(b) for b in expected.ravel()]


def by_elements(operation, a, b):
    """What the comparison of arrays has to give: that of every pair, left operand first.

    A constant on the left of a variable keeps its place: 3 <= x has the lower bound 3.
    """
    a, b = numpy.broadcast_arrays(numpy.array(a, object), numpy.array(b, object))
    result = numpy.empty(a.shape, object)
    for index in numpy.ndindex(a.shape):
        result[index] = operation(a[index], b[index])
    return result


class Labelled(numpy.ndarray):
    pass


class Own(numpy.ndarray):
    def __le__(self, other):
        return super().__le__(other)


OPERANDS = {
    "variables, number": lambda x, y: (numpy.array([x, y]), 3),
    "variables, numbers": lambda x, y: (numpy.array([x, y]), numpy.array([1.5, 2])),
    "variables, list": lambda x, y: (numpy.array([x, y]), [1, 2]),
    "variables, tuple of variables": lambda x, y: (numpy.array([x, y]), (y, x)),
    "variables, variables": lambda x, y: (numpy.array([x, y]), numpy.array([y, 2 * x])),
    "variables, variable": lambda x, y: (numpy.array([x, y]), y),
    "variable, variables": lambda x, y: (x, numpy.array([x, y])),
    "variable, numbers": lambda x, y: (x, numpy.arange(3)),
    "expression, numbers": lambda x, y: (x + y, numpy.arange(3.0)),
    "node, numbers": lambda x, y: (quilex.sin(x), numpy.arange(1, 4)),
    "broadcast": lambda x, y: (numpy.array([[x], [y]]), numpy.arange(3)),
    "strides": lambda x, y: (numpy.array([[x, y, x], [y, x, y]])[::-1, ::2], 1),
    "no axes": lambda x, y: (numpy.array([x, y])[1:, ...].reshape(1)[0:1], 1),
    "large": lambda x, y: (numpy.array([x, y] * 5000), 2),
    "small ints": lambda x, y: (numpy.array([x, y]), numpy.array([1, 2], "u1")),
}


@pytest.mark.parametrize("operands", OPERANDS)
@pytest.mark.parametrize("op", OPERATORS)
def test_arrays_give_arrays_of_constraints(x, y, operands, op):
    a, b = OPERANDS[operands](x, y)
    same(OPERATORS[op](a, b), by_elements(OPERATORS[op], a, b))


@pytest.mark.parametrize("op, bounds", [("<=", (1, 2)), (">=", (1, 2)), ("==", (1, 2))])
@pytest.mark.parametrize("left", [numpy.array([1, 2]), [1, 2], numpy.array([1, 2], object)])
def test_constants_on_the_left_keep_their_side(x, y, op, bounds, left):
    result = OPERATORS[op](left, numpy.array([x, y]))
    for constraint, variable, bound in zip(result, (x, y), bounds):
        lower, upper = {"<=": (bound, INFINITY), ">=": (-INFINITY, bound), "==": (bound, bound)}[op]
        assert (str(constraint.body).strip(), constraint.lb, constraint.ub) == (
            variable.name,
            lower,
            upper,
        )


@pytest.mark.parametrize("place", [0, 1, 7, 8, 9, 500])
def test_a_modelling_object_is_found_wherever_it_stands(x, place):
    array = numpy.array([5] * place + [x] + [5] * 3, object)
    for op, operation in OPERATORS.items():
        for result in (operation(array, 3), operation(array.reshape(1, -1), 3)[0]):
            assert [str(c.body) for c in result].count("0") == len(array) - 1, op
            assert str(result[place].body).strip() == "x"
        listed = operation(numpy.zeros(len(array)), list(array))
        assert all(type(c) is quilex.constraint for c in listed)
    # Of two constants the left one is dropped, the right one is the bound.
    pair = numpy.array([x, 3], object) <= numpy.array([1, 2])
    assert parts(pair[1]) == ("0", -INFINITY, 2)


@pytest.mark.parametrize("kind", [Labelled, Own, numpy.matrix, numpy.memmap])
def test_subclasses(x, y, kind):
    array = numpy.array([[x, y]], object).view(kind)
    numbers = numpy.array([[1.0, 2.0]]).view(kind)
    for operation in OPERATORS.values():
        for a, b in ((array, 3), (array, numbers), (numbers, array), (array, y), (array, array)):
            result = operation(a, b)
            assert type(result) is type(numbers == numbers) and result.dtype == object
            assert all(type(c) is quilex.constraint for c in numpy.asarray(result).ravel())
        for result in (operation(x, numbers), operation(numbers, x)):
            assert all(type(c) is quilex.constraint for c in numpy.asarray(result).ravel())
    assert type(numpy.ndarray.__le__(array, 3)[0, 0]) is quilex.constraint
    later = type("Later", (Labelled,), {})  # a class made while the comparisons are replaced
    assert type((array.view(later) <= 3)[0, 0]) is quilex.constraint


def test_other_operators_and_elements_are_refused(x, y):
    array = numpy.array([x, y])
    cannot = "cannot enforce"
    for operation in (operator.lt, operator.gt, operator.ne):
        for a, b in ((array, 3), (array, array), (x, numpy.ones(2)), (numpy.ones(2), x)):
            with pytest.raises(RuntimeError, match=cannot):
                operation(a, b)
    for other in (numpy.array(["a", "b"]), numpy.array([1j, 2]), [None, 1], "text", None):
        for operation in OPERATORS.values():
            with pytest.raises(RuntimeError, match="Invalid object in operation"):
                operation(array, other)
    with pytest.raises(ValueError, match="broadcast"):
        operator.le(array, numpy.ones(3))


def test_foreign_array_types_take_over(x):
    class Frame:
        __array_priority__ = 1000

        def __ge__(self, other):
            return "frame"

        __le__ = __eq__ = __ge__

    class Opaque(Frame):
        __array_ufunc__ = None

    for frame in (Frame(), Opaque()):
        for operation in OPERATORS.values():
            assert operation(x, frame) == operation(numpy.array([x]), frame) == "frame"


PLAIN = """
import sys, operator, warnings
sys.path[:0] = {path!r}
import numpy
warnings.simplefilter("error", RuntimeWarning)
class Own:
    def __le__(self, other): return "own"
operands = [
    numpy.arange(3), numpy.arange(3.0), numpy.array([1, "a", None], object), numpy.array(3),
    numpy.array(["a", "b", "c"]), numpy.array([b"a"]), numpy.array([1, 2], "M8[s]"),
    numpy.array([1, 2], "m8[s]"), numpy.array([(1, 2)], [("a", int), ("b", int)]),
    numpy.array([1, 2, 3], "u1"), numpy.ma.array([1, 2, 3], mask=[0, 1, 0]), numpy.array([True]),
    numpy.array([1, 2], object), numpy.array(2, object), numpy.zeros((2, 0)), numpy.array([1j]),
    3, 300, 2.5, "a", b"a", None, [1, 2, 3], ["a"], (1, 2), 10**30, float("nan"), [], object,
    numpy.float64(2), numpy.datetime64(1, "s"), numpy.str_("a"), numpy.eye(3), Own(),
]
def outcome(operation, a, b):
    try:
        result = operation(a, b)
    except Exception as error:
        return type(error), str(error)
    return type(result), getattr(result, "dtype", None), repr(result)
def outcomes():
    return [
        outcome(operation, a, b)
        for operation in (operator.le, operator.ge, operator.eq, operator.ne, operator.lt)
        for a in operands for b in operands
    ]
"""


def run(script):
    script = PLAIN.format(path=sys.path) + script
    return subprocess.run(
        [sys.executable, "-W", "error::DeprecationWarning", "-c", script],
        capture_output=True,
        text=True,
        check=False,
    )


def test_plain_comparisons_are_untouched():
    finished = run("""
before = outcomes()
import quilexlib
after = outcomes()
different = [(a, b) for a, b in zip(before, after) if a != b]
assert len(before) > 5000 and not different, different[:3]
quilexlib._restore_numpy()
assert outcomes() == before
""")
    assert finished.returncode == 0, finished.stderr


def test_restored_at_release_and_at_exit():
    finished = run("""
import quilexlib
x = quilexlib.var()
array = numpy.array([x])
assert type((array <= 1)[0]) is quilexlib.constraint
later = type("Later", (numpy.ndarray,), {})
quilexlib._restore_numpy()
quilexlib._restore_numpy()
for made in (array, array.view(later)):
    try:
        made <= 1
        raise AssertionError
    except RuntimeError as error:
        assert "no truth value" in str(error)
assert type((x <= 1)) is quilexlib.constraint
""")
    assert finished.returncode == 0, finished.stderr
    finished = run("import quilexlib, atexit\natexit._run_exitfuncs()\nprint(numpy.arange(2) <= 1)")
    assert (finished.returncode, finished.stdout) == (0, "[ True  True]\n"), finished.stderr
