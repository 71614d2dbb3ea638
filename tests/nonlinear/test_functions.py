"""Elementary functions of numbers, modelling objects and arrays."""

import math

import numpy
import pytest

import quilex

NAMES = [
    "sin",
    "cos",
    "tan",
    "asin",
    "acos",
    "atan",
    "exp",
    "log",
    "log10",
    "abs",
    "sqrt",
    "sign",
    "erf",
    "erfc",
]
EXPECTED = {
    **{name: getattr(math, name) for name in NAMES if hasattr(math, name)},
    "log10": lambda v: math.log(v) * 0.4342944819032518,
    "abs": abs,
    "sign": lambda v: math.copysign(1, v) if v else 0.0,
}
CONSTANTS = [0.5, 1, True, numpy.float64(0.25), numpy.float32(0.5), numpy.int64(1), numpy.intc(1)]


@pytest.mark.parametrize("name", NAMES)
def test_numbers_arrays_and_nodes(name):
    function, expected = getattr(quilex, name), EXPECTED[name]
    for constant in CONSTANTS:
        value = function(constant)
        assert type(value) is float and value == expected(float(constant))
    x = quilex.var(name="x")
    assert str(function(x)) == str(function(x + 0)) == f"{name} (x)"
    assert str(function(x * x)) == f"{name} (x**2)"
    numbers = numpy.array([[0.25, 0.5], [0.75, 1.0]])
    assert (function(numbers) == [[expected(v) for v in row] for row in numbers]).all()
    mixed = function(numpy.array([x, 0.5]))
    assert [str(item) for item in mixed] == [f"{name} (x)", str(expected(0.5))]


@pytest.mark.parametrize(
    "name, argument, value",
    [
        ("sqrt", -1, math.nan),
        ("log", 0, -math.inf),
        ("log", -1, math.nan),
        ("asin", 2, math.nan),
        ("exp", 1000, math.inf),
        ("sign", math.nan, 0.0),
        ("sign", -0.0, 0.0),
    ],
)
def test_outside_the_domain_there_is_no_exception(name, argument, value):
    result = getattr(quilex, name)(argument)
    assert result == value or (math.isnan(result) and math.isnan(value))


class Labelled(numpy.ndarray):
    pass


ARRAYS = {
    "transposed": lambda a: a.T,
    "every second": lambda a: a[:, ::2],
    "backwards": lambda a: a[::-1, ::-1],
    "empty": lambda a: a[:0],
    "without axes": lambda a: a[0, 0, ...],
    "three axes": lambda a: a.reshape(2, 1, 6),
    "subclass": lambda a: a.view(Labelled),
    "Fortran order": numpy.asfortranarray,
}


@pytest.mark.parametrize("case", ARRAYS)
@pytest.mark.parametrize("dtype", [float, object, "i4", "f4", "u1"])
def test_arrays_of_any_shape(case, dtype):
    array = ARRAYS[case](numpy.arange(12).reshape(2, 6).astype(dtype))
    result = quilex.exp(array)
    assert type(result) is type(array) and result.shape == array.shape
    assert [float(v) for v in result.ravel()] == [math.exp(v) for v in array.astype(float).ravel()]


def test_failures_in_arrays():
    for array in (numpy.array([1, "a"], object), numpy.array([1j]), numpy.array([None])):
        with pytest.raises(RuntimeError, match="Cannot compose operation") as error:
            quilex.sin(array)
        assert str(error.value.__cause__) == "Invalid object in n-ary operation"
    own = numpy.empty(1, object)
    own[0] = own
    with pytest.raises(RecursionError):
        quilex.sin(own)


@pytest.mark.parametrize("constant", [numpy.uint8(1), numpy.float16(1), 1j, None, "1"])
def test_other_objects_are_refused(constant):
    with pytest.raises(RuntimeError, match="Invalid object in n-ary operation"):
        quilex.sin(constant)
