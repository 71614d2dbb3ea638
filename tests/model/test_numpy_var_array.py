"""vararray: arrays of new variables, their attributes and names."""

import numpy as np
import pytest

import quilexlib

INFINITY = quilexlib.infinity


def attribute(array, name):
    return [getattr(x, name) for x in array.flat]


@pytest.mark.parametrize("shape", [(), 3, (4,), (2, 3), [1, 2, 2], (0, 5), np.int64(2)])
def test_shapes_are_numpys(shape):
    array = quilexlib.vararray(shape)
    assert type(array) is np.ndarray and array.dtype == object
    assert array.shape == np.empty(shape).shape
    assert {type(x) for x in array.flat} <= {quilexlib.var}
    assert len(set(map(hash, array.flat))) == array.size
    for name, expected in (("lb", 0.0), ("ub", INFINITY), ("threshold", -INFINITY), ("vartype", 0)):
        assert set(attribute(array, name)) <= {expected}


def test_attributes_broadcast():
    array = quilexlib.vararray(
        (2, 3),
        lb=-1,
        ub=np.array([0.25, 5, 7], dtype=np.float32),
        threshold=[[2], [3.5]],
        vartype=np.array([[quilexlib.binary], [quilexlib.semicontinuous]]),
    )
    assert attribute(array, "lb") == [0, 0, 0, -1, -1, -1]  # a binary's are cut to [0, 1]
    assert attribute(array, "ub") == [0.25, 1, 1, 0.25, 5, 7]
    assert attribute(array, "threshold") == [2, 2, 2, 3.5, 3.5, 3.5]
    assert attribute(array, "vartype") == [1, 1, 1, 3, 3, 3]


def test_names():
    assert attribute(quilexlib.vararray((2, 1, 2), "x"), "name") == [
        "x(0,0,0)",
        "x(0,0,1)",
        "x(1,0,0)",
        "x(1,0,1)",
    ]
    assert attribute(quilexlib.vararray(2, name="y"), "name") == ["y(0)", "y(1)"]
    assert quilexlib.vararray((), "z").item().name == "z"
    first, second = quilexlib.vararray(2)
    assert (first.name, second.name) == (f"C{hash(first)}", f"C{hash(first) + 1}")


@pytest.mark.parametrize(
    ("arguments", "error", "text"),
    [
        ({"shape": -1}, ValueError, r"shape\[0\] is -1, must be at least 0"),
        ({"shape": "a"}, TypeError, "integer"),
        ({"shape": (1 << 40, 1 << 40)}, ValueError, "too many elements"),
        ({"shape": (2, 2), "lb": [1, 2, 3]}, ValueError, r"'lb': could not broadcast .*\(3,\)"),
        ({"shape": 2, "ub": "u"}, ValueError, "argument 'ub'"),
        ({"shape": 2, "ub": [None, 1]}, ValueError, "argument 'ub'"),
        ({"shape": 2, "threshold": 1j}, ValueError, "argument 'threshold'"),
        ({"shape": 2, "vartype": [0, 6]}, ValueError, "'vartype': 6 is no type"),
        ({"shape": 2, "vartype": 1.0}, ValueError, "'vartype': must be whole numbers"),
        ({"shape": 2, "name": b"x"}, RuntimeError, r"Invalid variable name \(must be a string\)"),
        ({"shape": 2, "lb": np.ma.masked_less([1, 2], 2)}, ValueError, "'lb': a masked array"),
        ({}, TypeError, "shape"),
    ],
)
def test_wrong_arguments(arguments, error, text):
    with pytest.raises(error, match=text):
        quilexlib.vararray(**arguments)


def test_solved_as_an_array(p):
    cost = np.array([[4.0, 1, 3], [2, 0, 5], [3, 2, 2]])
    x = quilexlib.vararray(cost.shape, "x", vartype=quilexlib.binary)
    p.addVariable(x)
    p.addConstraint(x.sum(axis=0) == 1, x.sum(axis=1) == 1)
    p.setObjective(quilexlib.Dot(cost.ravel(), x.ravel()))
    p.solve()
    assert p.getObjVal() == 5
    assert (p.getSolutionArray(x).round() == [[0, 1, 0], [1, 0, 0], [0, 0, 1]]).all()
