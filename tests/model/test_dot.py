"""Dot: shapes, kinds of elements, output argument, against numpy and against sums of products."""

import gc

import numpy
import pytest

import quilex
import quilexlib


def value(object, point):
    """The value of a linear or quadratic object or number at a point {variable name: value}."""
    constant, linear, quadratic = quilexlib._parts(object)
    return (
        constant
        + sum(c * point[v.name] for v, c in linear)
        + sum(c * point[v.name] * point[w.name] for v, w, c in quadratic or [])
    )


# Elements by the letter of an array's kind. A linear term times an expression fails, in arrays too.
ELEMENTS = {
    "v": lambda x, number, i: x,
    "t": lambda x, number, i: [x, 2 * x - x, number, int(number)][i % 4],
    "e": lambda x, number, i: [x, x + 1 - 1, number, (x + 1) * 0.5 + (x - 1) * 0.5][i % 4],
}


def model_array(numbers, kind, prefix="x"):
    """An array of modelling objects whose values at the returned point are the numbers."""
    point, items = {}, []
    for i, number in enumerate(numpy.ravel(numbers)):
        x = quilex.var(name=f"{prefix}{i}")
        point[x.name] = float(number)
        items.append(ELEMENTS[kind](x, float(number), i))
    array = numpy.empty(len(items), object)
    array[:] = items
    return array.reshape(numpy.shape(numbers)), point


SHAPES = [
    ((3,), (3,)),
    ((2, 3), (3,)),
    ((3,), (3, 2)),
    ((2, 3), (3, 4)),
    ((2, 2, 3), (3, 2)),
    ((2, 3), (4, 3, 2)),
    ((2, 2, 3), (2, 3, 2)),
    ((2, 3), ()),
    ((), (3,)),
    ((0, 3), (3,)),
    ((2, 0), (0,)),
]
NUMBER_TYPES = ["f8", "f4", "i8", "i4", ">f8"]


@pytest.mark.parametrize("shapes", SHAPES, ids=str)
@pytest.mark.parametrize("kinds", ["nv", "vn", "vv", "nt", "tt", "en", "ee"])
def test_shapes_and_values_are_numpys(shapes, kinds):
    rng = numpy.random.default_rng(1)
    arrays, numbers, point = [], [], {}
    for shape, kind in zip(shapes, kinds):
        data = rng.integers(-3, 4, shape).astype(float)
        numbers.append(data)
        if kind == "n":
            arrays.append(data)
        else:
            array, values = model_array(data, kind, f"f{len(arrays)}_")
            arrays.append(array)
            point.update(values)
    expected = numpy.dot(*numbers)
    result = quilex.Dot(*arrays)
    assert numpy.shape(result) == numpy.shape(expected)
    values = [value(item, point) for item in numpy.ravel(numpy.array(result, object))]
    assert numpy.allclose(values, numpy.ravel(expected))


@pytest.mark.parametrize("dtype", NUMBER_TYPES)
def test_constants_of_every_layout(dtype):
    data = numpy.arange(48).reshape(6, 8).astype(dtype)
    for layout in (data[::2, ::-2], numpy.asfortranarray(data)[::2, :4], data[:3, :4]):
        array, point = model_array(range(4), "v")
        result = quilex.Dot(layout, array)
        assert [value(item, point) for item in result] == list(layout.astype(float) @ range(4))


class Tagged(quilex.var):
    """A variable that may be part of a reference cycle."""


@pytest.mark.parametrize("seed", range(20))
def test_long_rows_of_mixed_elements_are_plain_sums(seed):
    # Runs of plain variables are added together; whatever stands between them must not disturb.
    rng = numpy.random.default_rng(seed)
    x = [quilex.var(name=f"x{k}") for k in range(40)] + [Tagged(f"t{k}") for k in range(3)]
    items = numpy.empty(120, object)
    for i in range(items.size):
        v = x[rng.integers(len(x))]
        items[i] = [v, v, v, v, 3 * v, quilex.Sum(x[:5]) - 1, v * v, 2.0][rng.integers(8)]
    coefficients = rng.integers(-2, 3, items.size).astype(float)
    point = {v.name: float(k) for k, v in enumerate(x)}
    expected = sum(c * value(1 * item, point) for c, item in zip(coefficients, items))
    product = quilex.Dot(coefficients, items)
    assert value(product, point) == expected
    assert gc.is_tracked(product) or not any(
        c and type(i) is Tagged for c, i in zip(coefficients, items)
    )


def test_chains_and_constants():
    array, point = model_array([1, 2], "v")
    matrix = numpy.array([[1, 2], [3, 4]])
    form = quilex.Dot(array, matrix, array)
    assert value(form, point) == numpy.array([1, 2]) @ matrix @ [1, 2]
    assert str(form) == "  x0**2 +5 x0*x1 +4 x1**2"
    product = quilex.Dot(matrix, matrix)
    assert product.dtype == matrix.dtype and (product == matrix @ matrix).all()
    assert type(quilex.Dot(matrix[0], matrix[1])) is type(matrix[0] @ matrix[1])
    # A product without axes in the middle of a chain multiplies like a number.
    weights = numpy.array([1.0, 1.0])
    scaled = quilex.Dot(weights, weights, array)
    assert [value(item, point) for item in scaled] == [2, 4]
    assert quilex.Dot(array, array, array).shape == (2,)


def test_nonlinear_elements_are_left_as_they_were():
    x, y = quilex.var(name="x"), quilex.var(name="y")
    s = quilex.sin(x) + quilex.exp(y)
    before = str(s)
    array = numpy.array([s, y, s])
    result = quilex.Dot(numpy.array([1.0, 2.0, 1.0]), array)
    assert str(result).count("sin (x)") == 2 and "2 y" in str(result)
    assert str(quilex.Dot(array, array)).count("exp (y)") == 4
    assert str(s) == before


def test_out():
    array, point = model_array([1, 2], "v")
    matrix = numpy.array([[0.0, 1.0], [1.0, 1.0]])
    out = numpy.empty(2, object)
    assert quilex.Dot(matrix, array, out=out) is out
    assert [value(item, point) for item in out] == [2, 3]
    assert quilex.Dot(matrix, array, out=array) is array  # read before it is written
    assert [value(item, point) for item in array] == [2, 3]
    numbers = numpy.empty((2, 2))
    assert (quilex.Dot(matrix, matrix, out=numbers) == matrix @ matrix).all()


@pytest.mark.parametrize("kind", ["?", "i1", "u1", "i2", "u2", "u4", "u8", "f2"])
def test_small_numbers(kind):
    array, point = model_array([1, 2], "v")
    numbers = numpy.array([200, 100]).astype(kind)
    values = [float(number) for number in numbers]
    assert value(quilex.Dot(numbers, array), point) == values[0] + 2 * values[1]
    assert quilex.Dot(numbers, numbers) == values[0] ** 2 + values[1] ** 2


def test_masked_elements_count_as_zero():
    """As in numpy's products of masked arrays."""
    array, point = model_array([1, 2, 3], "v")
    masked = numpy.ma.array(array, mask=[0, 1, 0])
    numbers = numpy.ma.array([[1.0, 10.0, 100.0], [2.0, 20.0, 200.0]], mask=[[0, 0, 1], [0, 0, 0]])
    expected = numpy.ma.dot(numbers, numpy.ma.array([1.0, 2.0, 3.0], mask=masked.mask))
    assert [value(e, point) for e in quilex.Dot(numbers, masked)] == list(expected.filled(0))
    assert value(quilex.Dot(masked, masked), point) == 1 + 9
    assert list(quilex.Dot(numbers, numpy.ones(3))) == [11, 222]
    assert str(quilex.Dot(numpy.ma.array([1.0, 2.0], mask=True), array[:2])) == "0"


TYPE_TEXT = "Dot product must be between long, double, and expressions/variables"
OUT_TEXT = "Output argument set with wrong type"
ERRORS = {
    "list": (lambda v: ([1, 2], v), {}, "Dot product can only occur between NumPy arrays"),
    "one": (lambda v: (v,), {}, "Dot product requires at least two NumPy arrays"),
    "sizes": (
        lambda v: (v, numpy.ones(3)),
        {},
        "Dot product must have matching sizes in the multiplying dimension",
    ),
    "long double": (lambda v: (v, numpy.ones(2, "g")), {}, TYPE_TEXT),
    "complex": (lambda v: (v, numpy.ones(2, complex)), {}, TYPE_TEXT),
    "text": (lambda v: (v, numpy.array(["a", "b"])), {}, TYPE_TEXT),
    "None": (lambda v: (v, numpy.array([None, 1])), {}, TYPE_TEXT),
    "None times 0": (lambda v: (numpy.zeros(2), numpy.array([None, v[0]])), {}, TYPE_TEXT),
    "out list": (lambda v: (v, v), {"out": list}, OUT_TEXT),
    "out numbers": (lambda v: (numpy.eye(2), v), {"out": lambda: numpy.zeros(2)}, OUT_TEXT),
    "out ints": (
        lambda v: (numpy.eye(2), numpy.eye(2)),
        {"out": lambda: numpy.zeros((2, 2), int)},
        OUT_TEXT,
    ),
    "out shape": (
        lambda v: (numpy.eye(2), v),
        {"out": lambda: numpy.empty(3, object)},
        "Output argument set with wrong shape",
    ),
}


@pytest.mark.parametrize("case", ERRORS)
def test_errors(case):
    arguments, keywords, text = ERRORS[case]
    array, _ = model_array([1, 2], "v")
    with pytest.raises(RuntimeError) as error:
        quilex.Dot(*arguments(array), **{name: make() for name, make in keywords.items()})
    assert str(error.value) == text
