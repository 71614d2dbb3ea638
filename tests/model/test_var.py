"""Variables: the constructor, the attributes and the operators between variables and numbers."""

import operator

import numpy as np
import pytest

import quilexlib

INFINITY = quilexlib.infinity
BEYOND_FLOATS = " is an int beyond the range of floats"


@pytest.fixture
def xy():
    return quilexlib.var(name="x"), quilexlib.var(name="y")


def linear(obj):
    """(constant, {name: coefficient}) of something without products."""
    constant, entries, products = quilexlib._parts(obj)
    assert not products
    return constant, {str(v): c for v, c in entries}


def kind(obj):
    return type(obj).__name__


@pytest.mark.parametrize(
    ("arguments", "keywords", "expected"),
    [
        ((), {}, (0.0, INFINITY, -INFINITY, 0)),
        (("a", -1, 2.5, 1, 2), {}, (-1.0, 2.5, 1.0, 2)),
        ((), {"ub": 10**12, "lb": True}, (1.0, 1e12, -INFINITY, 0)),
        (("a",), {"vartype": 5, "threshold": 3}, (0.0, INFINITY, 3.0, 5)),
        ((), {"lb": -3, "ub": 5, "vartype": quilexlib.binary}, (0.0, 1.0, -INFINITY, 1)),
        ((), {"lb": 0.5, "vartype": quilexlib.binary}, (0.5, 1.0, -INFINITY, 1)),
        ((), {"lb": 7, "ub": float("-inf")}, (7.0, float("-inf"), -INFINITY, 0)),
    ],
)
def test_constructor(arguments, keywords, expected):
    class Sub(quilexlib.var):
        pass

    for make in (quilexlib.var, Sub):
        x = make(*arguments, **keywords)
        assert (x.lb, x.ub, x.threshold, x.vartype) == expected


@pytest.mark.parametrize(
    ("arguments", "keywords", "error", "text"),
    [
        ((3,), {}, RuntimeError, r"^Invalid variable name \(must be a string\)$"),
        ((None,), {}, RuntimeError, r"^Invalid variable name \(must be a string\)$"),
        (("a", "b"), {}, TypeError, "must be real number, not str"),
        ((), {"vartype": 1.0}, TypeError, "integer"),
        ((), {"vartype": 2**32 + 1}, RuntimeError, "vartype is 4294967297"),
        ((), {"vartype": 2**70}, RuntimeError, "beyond the range"),
        ((), {"lb": 10**400}, RuntimeError, "beyond the range"),
        ((), {"colour": 1}, TypeError, "'colour' is an invalid keyword argument for var"),
        (("a",), {"name": "b"}, TypeError, "given by name|multiple values"),
        (("a", 0, 1, 2, 3, 4), {}, TypeError, "at most 5 arguments"),
    ],
)
def test_wrong_arguments(arguments, keywords, error, text):
    with pytest.raises(error, match=text):
        quilexlib.var(*arguments, **keywords)


def test_names_and_serial_numbers():
    first, second = quilexlib.var(), quilexlib.var()
    assert str(first) == repr(first) == first.name == f"C{hash(first)}"
    assert hash(second) - hash(first) == 2  # every construction takes two numbers
    name = "some name"
    assert quilexlib.var(name=name).name is name
    assert quilexlib.var(name=b"x").name == b"x"
    second.name = "other"
    assert str(2 * second) == "2*other"
    del second.name
    assert second.name == f"C{hash(second)}"
    assert {first: 1, second: 2}[second] == 2


def test_attributes_are_written_as_they_are(xy):
    x, _ = xy
    x.lb, x.ub, x.threshold, x.vartype, x.name = 3, -1, 0.5, 4, ("any", "object")
    assert (x.lb, x.ub, x.threshold, x.vartype, x.name) == (3.0, -1.0, 0.5, 4, ("any", "object"))
    x.lb, x.ub, x.threshold, x.vartype = np.int8(1), np.float16(0.5), np.bool_(1), np.uint8(2)
    assert (x.lb, x.ub, x.threshold, x.vartype) == (1.0, 0.5, 1.0, 2)
    for name, value, error, text in (
        ("lb", "3", TypeError, "real number"),
        ("ub", float("nan"), RuntimeError, r"^ub of variable \('any', 'object'\) cannot be nan$"),
        ("threshold", np.float32("nan"), RuntimeError, "^threshold of variable"),
        ("ub", 10**400, RuntimeError, "^ub" + BEYOND_FLOATS),
        ("vartype", 2**32 + 1, RuntimeError, "^vartype is beyond the range of 32 bits$"),
        ("upper", 3, AttributeError, "upper"),
    ):
        with pytest.raises(error, match=text):
            setattr(x, name, value)
    assert (x.lb, x.ub, x.threshold, x.vartype) == (1.0, 0.5, 1.0, 2)


def test_variables_made_alike_change_apart():
    class Meddling:
        def __float__(self):
            twins.append(quilexlib.var(ub=5))
            return 6.0

    for name, value, attribute in (("a", -0.0, "lb"), (None, 7.0, "ub"), (None, 2, "vartype")):
        twins = [quilexlib.var(ub=5) for _ in range(3)]
        if name is not None:
            twins[0].name = name
        setattr(twins[0], attribute, value)
        assert str(getattr(twins[0], attribute)) == str(value)
        for other in (*twins[1:], quilexlib.var(ub=5)):
            assert (str(other.lb), other.ub, other.vartype) == ("0.0", 5.0, 0)
            assert other.name == f"C{hash(other)}"
    twins[0].ub = Meddling()
    assert [x.ub for x in twins] == [6.0, 5.0, 5.0, 5.0]
    with pytest.raises(TypeError):
        del twins[0].lb


@pytest.mark.parametrize("zero", [0, 0.0, -0.0, False])
def test_neutral_and_degenerate_operands(xy, zero):
    x, _ = xy
    assert x + zero is x
    assert x - zero is x
    assert kind(zero + x) == "expression" and linear(zero + x) == (0.0, {"x": 1.0})
    assert linear(zero - x) == (0.0, {"x": -1.0})
    for value, expected in ((x * zero, 0.0), (zero * x, 0.0), (zero / x, 0.0), (x**zero, 1.0)):
        assert type(value) is float and value == expected
    assert type(x - x) is float and (x - x, x / x) == (0.0, 1.0)


@pytest.mark.parametrize("one", [1, 1.0, True])
def test_one_gives_the_variable_itself(xy, one):
    x, _ = xy
    assert x * one is x and one * x is x and x / one is x and x**one is x


def test_own_rules(xy):
    x, y = xy
    assert linear(3 + x) == linear(x + 3) == (3.0, {"x": 1.0})
    assert linear(x - 3) == (-3.0, {"x": 1.0})
    assert linear(3 - x) == (3.0, {"x": -1.0})
    assert str(x + x) == "2*x" and kind(x + x) == "linterm"
    assert linear(x + y) == (0.0, {"x": 1.0, "y": 1.0})
    assert linear(x - y) == (0.0, {"x": 1.0, "y": -1.0})
    assert str(-x) == "-1*x" and str(x * 4) == "4*x" and str(x / 4) == "0.25*x"
    assert kind(x * x) == kind(x**2) == kind(y * x) == "quadterm"
    for power in (3, -1, 0.5, 2.5):
        assert quilexlib._parts(x**power)[0] == 5
    for node, code in ((2**x, 5), (1**x, 5), (x**y, 5), (2 / x, 4), (x / y, 4), (abs(x), 17)):
        assert (kind(node), quilexlib._parts(node)[0]) == ("nonlinear", code)
    operands = quilexlib._parts(2 / x)[1]
    assert operands[0] == 2 and operands[1] is x


def test_in_place_operators_leave_the_variable(xy):
    x, y = xy
    z = x
    z += 0
    z -= 0.0
    z *= 1
    z /= 1
    z **= 1
    assert z is x
    z **= 0
    assert z == 1.0 and type(z) is float
    e = x
    e += y
    e *= 2
    assert linear(e) == (0.0, {"x": 2.0, "y": 2.0}) and linear(x) == (0.0, {"x": 1.0})


@pytest.mark.parametrize(
    ("operation", "text"),
    [
        (lambda x: x / 0, "Division of variable by zero"),
        (lambda x: x.__itruediv__(0), "Division by zero"),
        *(
            (operation, f"Invalid object in operation: no {name} of {types}")
            for operation, name, types in (
                (lambda x: x // 2, "//", "quilex.var and int"),
                (lambda x: 2.5 // x, "//", "float and quilex.var"),
                (lambda x: x % x, "%", "quilex.var and quilex.var"),
                (lambda x: divmod(x, 2), "divmod", "quilex.var and int"),
            )
        ),
        (lambda x: x * 10**400, "Invalid object in operation: the constant" + BEYOND_FLOATS),
        (lambda x: x + np.ma.masked, "Invalid object in operation: a masked element"),
        *(
            (operation, "Invalid object in operation")
            for operation in (
                lambda x: x + "a",
                lambda x: [] - x,
                lambda x: x * None,
                lambda x: object() / x,
                lambda x: x ** (1 + 2j),
                lambda x: x // "a",
                lambda x: x.__iadd__({}),
            )
        ),
    ],
)
def test_refused_operands(xy, operation, text):
    x, _ = xy
    with pytest.raises(RuntimeError) as raised:
        operation(x)
    assert str(raised.value) == text
    assert linear(x) == (0.0, {"x": 1.0})


def test_numbers_are_read_as_doubles(xy):
    x, _ = xy
    assert linear(x + 2**60) == (float(2**60), {"x": 1.0})
    assert linear(-(2**31) + x) == (-(2.0**31), {"x": 1.0})
    with pytest.raises(TypeError, match="unary"):
        operator.pos(x)

    class Half(float):
        pass

    class Three(int):
        pass

    assert linear(Half(0.5) * x + Three(3)) == (3.0, {"x": 0.5})
