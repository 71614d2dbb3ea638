"""Expression trees: how operators build, simplify, grow, copy and print them."""

import gc
import operator
import weakref

import numpy
import pytest

import quilex
import quilexlib

CODES = {"sum": 0, "difference": 1, "negation": 2, "product": 3, "quotient": 4, "power": 5}


@pytest.fixture
def m():
    """Variables and nodes by short names; `s` is a sum, `p` a product with the factor 2.0."""

    class Names:
        x, y, z, w = (quilex.var(name=name) for name in "xyzw")

    Names.e = quilex.sin(Names.x)
    Names.f = quilex.exp(Names.y)
    Names.s = Names.e + Names.f
    Names.p = 2.0 * Names.e
    return Names


def node(object):
    code, operands = quilexlib._parts(object)
    return code, [str(operand) for operand in operands]


TEXTS = {
    # products, quotients and powers that are neither linear nor quadratic
    "x*y*z": lambda m: (m.x * m.y * m.z, "(z * x*y)"),
    "x*e": lambda m: (m.x * m.e, "(sin (x) * x)"),
    "e*x": lambda m: (m.e * m.x, "(sin (x) * x)"),
    "2/x": lambda m: (2 / m.x, "(2 / x)"),
    "x/y": lambda m: (m.x / m.y, "(x / y)"),
    "x**3": lambda m: (m.x**3, "(x ** 3)"),
    "2**x": lambda m: (2**m.x, "(2 ** x)"),
    "-e": lambda m: (-m.e, "- (sin (x))"),
    "-1*e": lambda m: (-1 * m.e, "- (sin (x))"),
    "abs": lambda m: (abs(m.x), "abs (x)"),
    "abs of sum": lambda m: (abs(m.s), "abs ((sin (x) + exp (y)))"),
    # differences keep their operands unless they grow a sum
    "e-x": lambda m: (m.e - m.x, "(sin (x) - x)"),
    "3-e": lambda m: (3 - m.e, "(3 - sin (x))"),
    "0-e": lambda m: (0 - m.e, "- (sin (x))"),
    "s-f": lambda m: (m.s - m.f, "(sin (x) + exp (y) + - (exp (y)))"),
    # sums merge their simple parts
    "e+3": lambda m: (m.e + 3, "(sin (x) + 3)"),
    "3+e": lambda m: (3 + m.e, "(sin (x) + 3.0)"),
    "s+1+2": lambda m: (m.s + 1.0 + 2.0, "(sin (x) + exp (y) + 3.0)"),
    "s+x+x": lambda m: (m.s + m.x + m.x, "(sin (x) + exp (y) + 2*x)"),
    "s+x-x": lambda m: (m.s + m.x - m.x, "(sin (x) + exp (y))"),
    "s+s": lambda m: (m.s + m.s, "(sin (x) + exp (y) + sin (x) + exp (y))"),
    "(s+1)+(s+2)": lambda m: (
        (m.s + 1.0) + (m.s + 2.0),
        "(sin (x) + exp (y) + sin (x) + exp (y) + 3.0)",
    ),
    "x+s": lambda m: (m.x + m.s, "(sin (x) + exp (y) + x)"),
    "(x+y)+(s+1)": lambda m: ((m.x + m.y) + (m.s + 1.0), "(sin (x) + exp (y) + 1 + x + y)"),
    "s+p": lambda m: (m.s + 1.0 + m.p, "(sin (x) + exp (y) + (sin (x) * 2.0) + 1.0)"),
    # functions of several arguments
    "max": lambda m: (quilex.max(m.x, m.e, 3), "max (x, sin (x), 3)"),
    "min of none": lambda m: (quilex.min(), "min ()"),
    "user": lambda m: (quilex.user(len, m.x, m.y), "user (user, x, y)"),
}


@pytest.mark.parametrize("case", TEXTS)
def test_text(m, case):
    object, text = TEXTS[case](m)
    assert type(object).__name__ == "nonlinear"
    # An expression prints its first term after two blanks.
    assert str(object).replace("+   ", "+ ") == repr(object).replace("+   ", "+ ") == text


SIMPLIFICATIONS = {
    "0*e": lambda m: (0 * m.e, 0.0),
    "e*0": lambda m: (m.e * 0, 0.0),
    "0/e": lambda m: (0 / m.e, 0.0),
    "e**0": lambda m: (m.e**0, 1.0),
    "1**e": lambda m: (1**m.e, 1.0),
    "0**e": lambda m: (0**m.e, 0.0),
    "e*1": lambda m: (m.e * 1, m.e),
    "1*e": lambda m: (1 * m.e, m.e),
    "e/1": lambda m: (m.e / 1, m.e),
    "e**1": lambda m: (m.e**1, m.e),
    "e-0": lambda m: (m.e - 0, m.e),
    "e/=1": lambda m: (operator.itruediv(m.e, 1), m.e),
    "e**=1": lambda m: (operator.ipow(m.e, 1), m.e),
    "e**=0": lambda m: (operator.ipow(m.e, 0), 1.0),
    "p*=0": lambda m: (operator.imul(m.p, 0), 0.0),
}


@pytest.mark.parametrize("case", SIMPLIFICATIONS)
def test_simplification(m, case):
    result, expected = SIMPLIFICATIONS[case](m)
    if isinstance(expected, float):
        assert type(result) is float and result == expected
    else:
        assert result is expected


IN_PLACE = {
    # operation: (left, right, operands afterwards); the left operand itself is the result
    "sum grows": (operator.iadd, "s", "z", ["sin (x)", "exp (y)", "z"]),
    "sum shrinks": (operator.isub, "s", "f", ["sin (x)", "exp (y)", "- (exp (y))"]),
    "sum and itself": (
        operator.iadd,
        "s",
        "s",
        ["sin (x)", "exp (y)", "sin (x)", "exp (y)"],
    ),
    "product keeps its factor last": (operator.imul, "p", "z", ["sin (x)", "z", "2.0"]),
    "factors multiply": (operator.imul, "p", 4, ["sin (x)", "8.0"]),
    "a factor of one goes": (operator.imul, "p", 0.5, ["sin (x)"]),
    "division by a constant": (operator.itruediv, "p", 4, ["sin (x)", "0.5"]),
    "product and itself": (operator.imul, "p", "p", ["sin (x)", "sin (x)", "4.0"]),
}


@pytest.mark.parametrize("case", IN_PLACE)
def test_in_place(m, case):
    operation, left, right, operands = IN_PLACE[case]
    left = getattr(m, left)
    assert operation(left, getattr(m, right) if isinstance(right, str) else right) is left
    assert node(left)[1] == operands


def test_factors_of_two_products(m):
    for right, last in ((m.x * m.y * m.z, "2.0"), (5 * m.f, "10.0"), (0.5 * m.f, "exp (y)")):
        left = 2.0 * m.e
        left *= right
        assert node(left)[1][-1] == last
    # Without any constant the factor 1 stays.
    left = m.e * m.x
    left *= m.f * m.y
    assert node(left)[1] == ["sin (x)", "x", "exp (y)", "y", "1.0"]


def test_denominator_and_exponent_grow_in_place(m):
    q = m.x / (m.y * m.e)
    kept = q
    q /= m.z
    assert q is kept and str(q) == "(x / (sin (x) * z * y))"
    q = m.x / m.y
    q /= m.z
    assert str(q) == "(x / y*z)"
    r = m.x**m.y
    r **= 2
    assert str(r) == "(x ** 2*y)"


def test_sums_leave_their_operands_alone(m):
    before = str(m.s)
    e = m.x + m.y
    t = m.s + e
    t += m.z
    t += 2 * m.w
    assert (str(m.s), str(e)) == (before, "  x + y")
    total = quilex.Sum(m.s, e, m.z, m.s)
    assert (str(m.s), str(e)) == (before, "  x + y")
    assert "z" in str(total)


CYCLES = {
    "s += s*x": lambda m: operator.iadd(m.s, m.s * m.x),
    "s -= sin(s)": lambda m: operator.isub(m.s, quilex.sin(m.s)),
    "p *= p+1": lambda m: operator.imul(m.p, quilex.exp(m.p)),
    "q /= q": lambda m: (lambda q: operator.itruediv(q, q))(m.x / m.y),
    "r **= r": lambda m: (lambda r: operator.ipow(r, r))(m.x**m.y),
    "q /= x/denominator": lambda m: (lambda d: operator.itruediv(m.x / d, m.x / d))(m.y * m.e),
}


@pytest.mark.parametrize("case", CYCLES)
def test_a_node_never_contains_itself(m, case):
    result = CYCLES[case](m)
    assert "MAX RECURS" not in str(result)
    quilex.Sum(result)


def test_copies_are_independent_and_absorb_negation(m):
    p = m.e * m.x * m.y
    copy = quilex.Sum([p])
    p *= m.z
    assert "z" not in str(copy)
    assert str(quilex.Sum(-m.e)) == "(sin (x) * -1.0)"
    assert str(quilex.Sum(-(2.0 * m.e))) == "(sin (x) * -2.0)"
    assert str(quilex.Sum(-(-1.0 * m.e))) == "sin (x)"
    # A user function's callable is kept, numbers become floats.
    assert str(quilex.user(len, m.x, 3) + m.y) == "(user (user, x, 3.0) + y)"


ERRORS = {
    "e / 0": (lambda m: m.e / 0, "Division by zero"),
    "e /= 0": (lambda m: operator.itruediv(m.e, 0), "Division by zero"),
    "e + object": (lambda m: m.e + object(), "Invalid object in operation"),
    "object * e": (lambda m: object() * m.e, "Invalid object in operation"),
    "e ** array": (
        lambda m: m.e ** numpy.array([1, 2]),
        "Cannot obtain a power with a vector as an exponent",
    ),
    "max of list": (lambda m: quilex.max([m.x, m.y]), "Invalid object in unary operation"),
    "max of array": (lambda m: quilex.max(numpy.ones(2)), "Invalid object in unary operation"),
    "user of list": (lambda m: quilex.user(len, [m.x]), "Invalid object in unary operation"),
    "max of callable": (lambda m: quilex.max(len), "Invalid object in unary operation"),
    "sin of text": (lambda m: quilex.sin("x"), "Invalid object in n-ary operation"),
    "sin of list": (
        lambda m: quilex.sin([m.x]),
        "Could not create a unary nonlinear expression: the argument must be a single expression",
    ),
}


@pytest.mark.parametrize("case", ERRORS)
def test_errors(m, case):
    operation, text = ERRORS[case]
    with pytest.raises(RuntimeError) as error:
        operation(m)
    assert str(error.value) == text


@pytest.mark.parametrize(
    "step",
    [
        lambda e, m: quilex.sin(e),
        lambda e, m: e / m.y,
        lambda e, m: e * m.y,
        lambda e, m: quilex.max(e, m.y),
    ],
)
def test_trees_of_any_depth(m, step):
    tree = m.x
    for _ in range(100_000):
        tree = step(tree, m)
    text = str(tree)
    assert "[MAX RECURS LEV]" in text and len(text) < 2000
    longer = tree + m.z
    assert str(longer).endswith("+ z)")
    del tree, longer


def test_arrays_on_the_right(m):
    array = numpy.array([1.0, m.x])
    for operation in (operator.add, operator.sub, operator.mul, operator.truediv):
        result = operation(m.e, array)
        assert result.dtype == object and result.shape == (2,)
    assert str((m.e - array)[1]) == "(sin (x) + -1*x)"


def test_long_sums_grow_in_linear_time(m):
    # Merging looks at three items only: a list of 200,000 is no slower per item than one of 2,000.
    import time

    def seconds(count):
        total = quilex.sin(m.x) + m.y
        start = time.process_time()
        for _ in range(count):
            total += m.f
            total += m.x
        return (time.process_time() - start) / count

    short = min(seconds(2_000) for _ in range(5))
    assert seconds(200_000) < 20 * short


def test_cycles_through_user_functions_are_collected(m):
    class Callback:
        def __call__(self, value):
            return value

    callback = Callback()
    alive = weakref.ref(callback)
    total = m.e + m.f
    total += quilex.user(callback, m.x)  # the sum becomes part of a cycle while it grows
    callback.model = total
    del callback, total
    gc.collect()
    assert alive() is None


def test_type(m):
    with pytest.raises(TypeError, match="cannot create"):
        type(m.e)()
    with pytest.raises(TypeError, match="unhashable"):
        hash(m.e)
