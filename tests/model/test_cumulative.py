"""Sum and Prod over every kind of collection."""

import collections

import numpy
import pytest

import quilexlib
from quilexlib import Prod, Sum


class Sequence:
    """The sequence protocol alone."""

    def __init__(self, items):
        self.items = items

    def __len__(self):
        return len(self.items)

    def __getitem__(self, index):
        return self.items[index]


class Unsized(Sequence):
    __len__ = None


COLLECTIONS = {
    "tuple": tuple,
    "list": list,
    "list subclass": type("L", (list,), {}),
    "iterator": iter,
    "generator": lambda items: (item for item in items),
    "dict": lambda items: dict(enumerate(items)),
    "ordered dict": lambda items: collections.OrderedDict(enumerate(items)),
    "deque": collections.deque,
    "sequence": Sequence,
    "object array": lambda items: numpy.array(items, dtype=object),
    "strided array": lambda items: numpy.array(items, dtype=object).repeat(2)[::2],
    "dict values": lambda items: iter(dict(enumerate(items)).values()),
}


@pytest.mark.parametrize("make", COLLECTIONS.values(), ids=COLLECTIONS.keys())
def test_collections(names, make):
    x, y, z, _ = names.values()
    assert str(Sum(make([x, 2 * y, None, 3, z - x]))) == "3 +2 y + z"
    assert str(Prod(make([2, None, x, 3 * y]))) == "6*x*y"
    empty = Sum(make([]))
    assert type(empty).__name__ == "expression" and quilexlib._parts(empty) == (0.0, [], None)
    assert type(Prod(make([None]))) is float and Prod(make([])) == 0.0


def test_single_and_several_arguments(names):
    x, y, z, _ = names.values()
    assert Sum(x) is x and Sum([x]) is x and Sum(x, None) is x
    assert str(Sum(x, y)) == str(Sum([x, y])) == "  x + y"
    assert str(Sum()) == "0" and Prod() == 0.0
    for numbers in ([1, 2, 3], (6,), [numpy.int64(6)], numpy.array([1.5, 4.5])):
        total = Sum(numbers)
        assert type(total).__name__ == "expression" and quilexlib._parts(total) == (6.0, [], None)
    assert type(Sum(7)).__name__ == "expression"
    assert Prod([2, 3.5]) == 7.0 and str(Prod([2, x])) == "2*x" and Prod(x) is x
    assert type(Prod([x, y, z])).__name__ == "nonlinear"
    assert str(Sum(v**2 for v in (x, y))) == "  x**2 + y**2"
    assert type(Sum([abs(x), y])).__name__ == "nonlinear"


def test_masked_elements_are_left_out(names):
    """As numpy's own sums and products do it."""
    x, y, z, _ = names.values()
    items = numpy.ma.array([x, y, 2 * z], mask=[0, 1, 0])
    for given in (items, list(items), iter(items), (numpy.ma.masked, x, 2 * z)):
        assert str(Sum(given)) == "  x +2 z"
    assert str(Prod(items)) == "2*x*z"
    numbers = numpy.ma.array([1.0, 2.0, 4.0], mask=[0, 1, 0])
    assert quilexlib._parts(Sum(numbers))[0] == numbers.sum() == 5
    assert Prod(numbers) == numbers.prod() == 4
    nothing = numpy.ma.array([x, y], mask=True)
    assert str(Sum(nothing)) == "0" and Prod(nothing) == 0.0
    rows = numpy.ma.array([[x, y], [y, z]], mask=[[0, 1], [0, 0]])
    assert [str(e).strip() for e in Sum(rows)] == [str(e).strip() for e in rows.sum(axis=0)]
    assert [str(e) for e in Prod(rows)] == ["x*y", "z"]


@pytest.mark.parametrize("kind", ["?", "i1", "u1", "i2", "u2", "u4", "u8", "f2", ">i2"])
def test_arrays_of_small_numbers_count_as_numbers(kind):
    numbers = numpy.array([1, 0, 200]).astype(kind)
    assert quilexlib._parts(Sum(numbers))[0] == sum(float(number) for number in numbers)
    assert list(Sum(numpy.array([numbers, numbers]))) == [2 * float(n) for n in numbers]
    assert Prod(numbers[::2]) == float(numbers[2])


def test_operands_are_not_changed(names):
    x, y, *_ = names.values()
    e = x + y
    total = Sum([e, x])
    assert str(e) == "  x + y" and str(total) == " 2 x + y"
    assert Sum(e) is not e and str(Sum(e)) == str(e)
    a = numpy.array([1.0, 2.0])
    assert list(Sum([a, a])) == [2.0, 4.0] and list(Prod([a, a])) == [1.0, 4.0]
    assert list(a) == [1.0, 2.0]


def test_a_sum_that_begins_with_zero_does_not_grow_its_terms(names):
    x, y, *_ = names.values()
    s = quilexlib.sin(x) + quilexlib.cos(y)
    before = str(s)
    for terms in ([0, s, y, s], [0 * x, s, y, s], (t for t in (x, -1 * x, s, y, s))):
        assert str(Sum(terms)).count("sin (x)") == 2
        assert str(s) == before
    total = Sum({"a": 0, "b": s})
    total += 1
    assert str(s) == before


def test_rows_of_arrays_are_added_element_by_element(names):
    x, y, z, _ = names.values()
    rows = numpy.array([[x, y], [y, z]], dtype=object)
    assert [str(e) for e in Sum(rows)] == ["  x + y", "  y + z"]


@pytest.mark.parametrize(
    ("argument", "text"),
    [
        (object(), "Invalid object in cumulative operator"),
        (None, "Invalid object in cumulative operator"),
        (numpy.uint8(3), "Invalid object in cumulative operator"),
        (Unsized([1]), "Invalid sequence of objects"),
        (["a"], "Invalid object in operation"),
        ([1, "a"], "Invalid object in operation"),
        ([[1, 2]], "Invalid object in operation"),
        ("ab", "Invalid object in operation"),
    ],
)
@pytest.mark.parametrize("operator", [Sum, Prod])
def test_refusals(operator, argument, text):
    with pytest.raises(RuntimeError) as raised:
        operator(argument)
    assert str(raised.value) == text


def test_errors_of_iterators_pass_through(names):
    def failing():
        yield names["x"]
        raise KeyError("mine")

    for operator in (Sum, Prod):
        with pytest.raises(KeyError, match="mine"):
            operator(failing())
    with pytest.raises(TypeError):
        Sum(terms=[1])
