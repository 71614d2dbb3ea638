"""Rows, columns and sets by object, index or name; objects for rows and columns that were added."""

import numpy as np
import pytest

import quilex
import quilexlib

pytestmark = pytest.mark.skipif(
    not hasattr(quilexlib, "_convert"), reason="only debug builds reach the conversions"
)

ROW, COLUMN, SET, INT = range(4)


@pytest.fixture
def model():
    x, y = quilex.var(name="x"), quilex.var(name="y")
    c, d = x + y <= 3, x >= 1
    c.name, d.name = "c", "d"
    s = quilex.sos([x, y], [1, 2], name="s")
    p = quilex.problem()
    p.addVariable(x, y)
    p.addConstraint(c, d)
    p.addSOS(s)
    return p, (x, y), (c, d), s


def message(action, *arguments):
    with pytest.raises(RuntimeError) as caught:
        action(*arguments)
    return str(caught.value)


SMALL_INTEGERS = (np.int8, np.uint8, np.int16, np.uint16, np.uint32, np.uint64)


def test_one_value_as_index(model):
    p, (_, y), (_, d), s = model
    cases = [
        (y, COLUMN, 1),
        ("y", COLUMN, 1),
        (b"x", COLUMN, 0),
        (d, ROW, 1),
        ("d", ROW, 1),
        (s, SET, 0),
        ("y", SET, 1),  # the name of a set is looked up among the columns
        (7, ROW, 7),  # no check of the range
        (-1, COLUMN, -1),
        (True, COLUMN, 1),
        (np.intc(3), ROW, 3),
        (np.int_(3), SET, 3),
        *((kind(3), where, 3) for kind in SMALL_INTEGERS for where in (ROW, COLUMN, SET)),
    ]
    for value, kind, index in cases:
        assert quilexlib._index(p, value, kind) == index


def test_values_that_are_no_index(model):
    p, (x, _), (c, _), _ = model
    z = quilex.var(name="z")
    other, third = x >= 7, quilex.sos([x], [1], name="t")
    other.name = "other"
    cases = [
        (z, COLUMN, "Variable z not in problem"),
        (other, ROW, "Constraint other not in problem"),
        (third, SET, "SOS t not in problem"),
        (c, COLUMN, "Invalid variable object c"),
        (x, ROW, "Invalid constraint object x"),
        (x, SET, "Invalid SOS object x"),
        (1.0, COLUMN, "Invalid variable object 1.0"),
        (None, INT, "Invalid object None"),
        (np.bool_(1), COLUMN, "Invalid variable object True"),
        (np.float16(1), ROW, "Invalid constraint object 1.0"),
        ("\xe9", COLUMN, "Invalid variable name '\xe9' (must be ASCII)"),
        ("x\0", ROW, "Invalid constraint name 'x\\x00' (must not hold a NUL character)"),
        (2**31, COLUMN, "Integer 2147483648 is beyond the range of 32 bits"),
    ]
    for value, kind, text in cases:
        assert message(quilexlib._index, p, value, kind) == text
    assert "nosuchname" in message(quilexlib._index, p, "nosuchname", COLUMN)


def test_arrays_of_objects(model):
    p, (x, y), (c, d), _ = model
    cases = [
        ([y, "x", 1, -1], COLUMN, [y, x, y, -1]),
        (np.array([y, x]), COLUMN, [y, x]),
        (np.array([1, 0, -5]), COLUMN, [y, x, -1]),
        ((d, "c"), ROW, [d, c]),
        (iter([c]), ROW, [c]),
        ("yx", COLUMN, [y, x]),
    ]
    for values, kind, found in cases:
        output = []
        quilexlib._convert(p, values, kind, -1, output, -1)
        assert [id(item) for item in output] == [id(item) for item in found]
    text = message(quilexlib._convert, p, [2], COLUMN, -1, [], -1)
    assert text == "Wrong item returned from API call, type 1"


def test_objects_for_new_columns(model):
    p = model[0]
    quilexlib._add_columns(p, ["a", b"b"], None, None, None, 2, 2)
    quilexlib._add_columns(p, None, ["C", "Binary", "I", "S", "R", "P"], None, None, 4, 6)
    quilexlib._add_columns(p, None, None, [2, 0], "IB", 10, 3)
    found = p.getVariable()
    assert [item.name for item in found[2:4]] == ["a", b"b"]
    assert all(item.name.startswith("C") for item in found[4:])
    assert [item.vartype for item in found[4:]] == [0, 1, 2, 3, 4, 5, 1, 0, 2]
    assert [p.getIndex(item) for item in found] == list(range(13))


def test_new_columns_that_are_refused(model):
    p = model[0]
    cases = [
        ((["a"], None, None, None), "Incorrect length of variable name list"),
        ((None, ["C"], None, None), "Incorrect length of variable type list"),
        ((None, ["C", "X"], None, None), "Incorrect variable type"),
        ((None, ["C", ""], None, None), "Cannot get variable type with index 1"),
        ((None, None, [0, 1], "CX"), "Incorrect variable type"),
        ((["a", 5], None, None, None), "Cannot get variable name indexed by 1"),
    ]
    for arguments, text in cases:
        assert message(quilexlib._add_columns, p, *arguments, 2, 2) == text
        assert len(p.getVariable()) == 2
    assert "column 5" in message(quilexlib._add_columns, p, None, None, [5], "C", 2, 2)


def test_names_and_letters_of_columns(model):
    p = model[0]
    quilexlib._name_columns(p, ["first", "second"], "BI", 0, 2)
    assert [quilexlib._index(p, name, COLUMN) for name in ("first", "second")] == [0, 1]
    assert p.attributes.mipents == 2
    assert message(quilexlib._name_columns, p, ["a", 5], None, 0, 2) == (
        "Erroneous name for variable 1"
    )
    assert message(quilexlib._name_columns, p, None, "X", 0, 1)
