"""Formulas: the tokens that expressions are written as, and what the library makes of them."""

import math
import os
import random

import pytest

import quilex
import quilexlib

LONG = os.environ.get("QUILEX_LONG") == "1"

WORDS = {(22, 0.0): "M", (0, 0.0): "."}
WORDS |= {(31, code): word for code, word in enumerate(["-", "**", "*", "/", "+", "sub"], 1)}
WORDS |= {
    (12, code): word
    for code, word in {
        14: "log10", 15: "log", 16: "exp", 17: "abs", 18: "sqrt", 27: "sin", 28: "cos",
        29: "tan", 30: "asin", 31: "acos", 32: "atan", 33: "min", 34: "max", 46: "sign",
        49: "erf", 50: "erfc",
    }.items()
}  # fmt: skip
NAMES = "xyzwuv"


@pytest.fixture
def variables(p):
    objects = {name: quilex.var(name=name) for name in NAMES}
    p.addVariable(objects)
    return objects


def words(tokens):
    def word(type, value):
        if type == 1:
            return f"{value:g}"
        return NAMES[int(value)] if type == 10 else WORDS[type, value]

    return " ".join(word(*token) for token in tokens)


def in_place_product(*factors):
    """A product node whose list holds the factors in this order; the first one is a node."""
    result = factors[0]
    for factor in factors[1:]:
        result *= factor
    return result


FUNCTIONS = {name: getattr(quilex, name) for name in ("sin", "exp", "abs", "max", "min")}
FUNCTIONS["P"] = in_place_product

# Expression, then one "factor column: tokens" per coefficient; column 1 stands for none.
TOKENS = [
    # one node of every kind
    ("sin(x)", "1 1: M x sin ."),
    ("-sin(x)", "1 1: M x sin - ."),
    ("x / y", "1 1: x y / ."),
    ("(x + 1) ** y", "1 1: 1 x + y ** ."),
    ("abs(x) ** 3", "1 1: M x abs 3 ** ."),
    # leaves
    ("sin(2*x)", "1 1: M 2 x * sin ."),
    ("sin(-x)", "1 1: M x - sin ."),
    ("sin(x*y)", "1 1: M x y * sin ."),
    ("sin(-x*y)", "1 1: M x y * - sin ."),
    ("sin(3*x*y)", "1 1: M 3 x y * * sin ."),
    ("sin(4 + x - 2*y)", "1 1: M 4 x + -2 y * + sin ."),
    ("sin(x + y + z + w)", "1 1: M x y + z w + + sin ."),
    ("sin(1 + x + y*z)", "1 1: M 1 x + y z * + sin ."),
    ("sin(x + y - x - y)", "1 1: M 0 sin ."),
    # the balanced trees of sums and products
    ("exp(sin(x) + sin(y) + sin(z))", "1 1: M M x sin M y sin + M z sin + exp ."),
    ("exp(P(sin(x), x, y, z))", "1 1: M M x sin x * y z * * exp ."),
    ("exp(P(sin(x), x, y, z, 2))", "1 1: M M x sin x * y z * * 2 * exp ."),
    # a coefficient's column and factor
    ("x * sin(y)", "1 x: M y sin ."),
    ("P(sin(y), x, 3)", "3 x: M y sin ."),
    ("3 * sin(y)", "3 1: M y sin ."),
    ("x * y * z", "1 z: x y * ."),
    ("P(sin(x), y, z)", "1 y: M x sin z * ."),
    ("P(sin(x), exp(y), z)", "1 z: M x sin M y exp * ."),
    ("P(sin(x), 2*y, z)", "1 z: M x sin 2 y * * ."),
    # a product that ends in a constant lacks the operators of its end
    ("P(sin(x), y, 2)", "2 y: M x sin ."),
    ("P(sin(x), y, z, 2)", "2 y: M x sin z * ."),
    ("P(sin(x), y, z, w, 2)", "2 y: M x sin z * w ."),
    ("P(sin(x), y, z, w, u, 2)", "2 y: M x sin z * w u * * ."),
    ("P(sin(x), y, z, w, u, v, 2)", "2 y: M x sin z * w u * * v ."),
    # splitting at the top
    ("sin(x) + exp(y) + 3*z", "1 1: M x sin . 1 1: M y exp ."),
    ("sin(x) - exp(y)", "1 1: M x sin . -1 1: M y exp ."),
    ("3 - 2 * exp(y)", "-2 1: M y exp ."),
    ("x - z * exp(y)", "-1 z: M y exp ."),
    ("(sin(x) + y) - sin(z)", "1 1: M x sin . 1 1: M z sin - ."),
    ("-(sin(x) + y)", "1 1: M x sin y + - ."),
    ("x + 2*y", ""),
]  # fmt: skip


@pytest.mark.parametrize(("source", "expected"), TOKENS, ids=[source for source, _ in TOKENS])
def test_tokens(p, variables, source, expected):
    body = eval(source, {**FUNCTIONS, **variables})
    columns = [*NAMES, "1"]  # column -1 is none
    actual = [
        f"{factor:g} {columns[column]}: {words(tokens)}"
        for column, factor, tokens in quilexlib._formula_tokens(p, body)
    ]
    assert " ".join(actual) == expected


def extremum_tokens(count):
    """The tokens of max(x, x, ...) by the recursive definition of the balanced tree."""

    def tree(first, last):
        if last - first == 1:
            return ["x"]
        half = 1
        while half * 2 < last - first:
            half *= 2
        left = tree(first, first + half)
        return ["M", *left, *tree(first + half, last), "max"]

    surplus = ["M"] if count & (count - 1) == 0 else []
    return " ".join([*surplus, *tree(0, count), "."])


@pytest.mark.parametrize("count", range(1, 18))
def test_markers_of_max(p, variables, count):
    [(_, _, tokens)] = quilexlib._formula_tokens(p, quilex.max(*[variables["x"]] * count))
    assert words(tokens) == extremum_tokens(count)


ERRORS = [
    ("sin(other)", "Variable in nonlinear part of constraint has not been added to problem yet"),
    ("other * sin(x)", "Variable in nonlinear part of constraint has not been added to problem"),
    ("sin(2 * other)", "Variable in nonlinear expression has not been added to problem yet"),
    ("sin(x + x * other)", "Variable in nonlinear expression has not been added to problem yet"),
    ("user(x, y)", "First argument of a user() operator must be the function itself"),
    ("user()", "Invalid user function, must specify at least one argument"),
    ("max()", "Nonlinear function max has no arguments"),
    ("sin(x) * math.inf", "a coefficient's factor is inf, must be finite"),
    ("sin(x * math.nan)", "a coefficient in a formula is nan, must be finite"),
]


@pytest.mark.parametrize(("source", "message"), ERRORS, ids=[source for source, _ in ERRORS])
def test_a_refused_body_leaves_the_problem_as_it_was(p, variables, source, message):
    names = {**FUNCTIONS, **variables, "other": quilex.var(), "user": quilex.user, "math": math}
    good = quilex.exp(variables["x"]) + variables["x"] <= 1
    p.addConstraint(good)
    for body in (eval(source, names), quilex.sin(variables["z"]) + eval(source, names)):
        with pytest.raises(RuntimeError) as info:
            p.addConstraint(body <= 1)
        assert message in str(info.value)
        with pytest.raises(RuntimeError) as info:
            p.setObjective(body)
        assert message in str(info.value)
    p.addConstraint(quilex.log(variables["y"]) >= 2)
    assert [item[0] for item in quilexlib._formulas(p)] == [0, 1]
    assert (p.attributes.rows, p.attributes.cols, p.attributes.nlpcoefs) == (2, 6, 2)


def test_deep_trees(p, variables):
    node = variables["x"]
    for _ in range(100_000):
        node = quilex.sin(node)
    constraint = node <= 1
    p.addConstraint(constraint)
    [(_, _, _, tokens)] = quilexlib._formulas(p)
    assert len(tokens) == 200_002
    value = 0.5
    for _ in range(100_000):
        value = math.sin(value)
    assert quilexlib._formula_value(p, tokens, [0.5] + [0.0] * 5) == value


class Program:
    """Random expressions with their values at a point, both built by the same operators."""

    FUNCTIONS = (
        (quilex.sin, math.sin),
        (quilex.cos, math.cos),
        (quilex.atan, math.atan),
        (quilex.abs, abs),
        (quilex.erf, math.erf),
        (quilex.erfc, math.erfc),
        (lambda e: quilex.tan(quilex.sin(e)), lambda v: math.tan(math.sin(v))),
        (lambda e: quilex.asin(0.9 * quilex.sin(e)), lambda v: math.asin(0.9 * math.sin(v))),
        (lambda e: quilex.acos(0.9 * quilex.cos(e)), lambda v: math.acos(0.9 * math.cos(v))),
        (lambda e: quilex.exp(quilex.sin(e)), lambda v: math.exp(math.sin(v))),
        (lambda e: quilex.log(abs(e) + 0.5), lambda v: math.log(abs(v) + 0.5)),
        (lambda e: quilex.log10(abs(e) + 0.5), lambda v: math.log10(abs(v) + 0.5)),
        (lambda e: quilex.sqrt(abs(e) + 0.5), lambda v: math.sqrt(abs(v) + 0.5)),
        (lambda e: -e, lambda v: -v),
    )

    def __init__(self, seed, variables):
        self.random = random.Random(seed)
        self.point = [self.random.uniform(-2, 2) for _ in variables]
        self.variables = variables
        self.slots = [self.leaf() for _ in range(4)]

    def leaf(self):
        if self.random.random() < 0.2:
            value = self.random.choice((1, -1, 2.0, 0.5, -3))
            return value, value
        k = self.random.randrange(len(self.variables))
        return self.variables[k], self.point[k]

    def operand(self):
        return self.random.choice(self.slots) if self.random.random() < 0.7 else self.leaf()

    def several(self, least, most):
        return [self.small_operand() for _ in range(self.random.randint(least, most))]

    def small_operand(self):
        # So that no sine of a huge number is taken, whose rounding errors would be large.
        e, v = self.operand()
        return (quilex.sin(e), math.sin(v)) if abs(v) > 3 else (e, v)

    def function(self):
        e, v = self.operand()
        if isinstance(e, int | float):
            e, v = self.variables[0], self.point[0]
        mine, exact = self.random.choice(self.FUNCTIONS)
        return mine(e), exact(v)

    def extremum(self):
        operands = self.several(2, 9)
        mine, exact = self.random.choice(((quilex.max, max), (quilex.min, min)))
        return mine(*[e for e, _ in operands]), exact(v for _, v in operands)

    def sum(self):
        e, v = self.function()
        for term, value in self.several(1, 9):
            sign = self.random.choice((1, -1, 2))
            e, v = e + sign * term, v + sign * value
        return e, v

    def difference(self):
        (e, v), (f, w) = self.operand(), self.operand()
        return e - f, v - w

    def product(self):
        # In place, so that the list grows; a constant goes last.
        e, v = self.function()
        if not is_nonlinear(e):
            e, v = quilex.sin(e), math.sin(v)
        for factor, value in [*self.several(1, 8), (self.random.choice((1, 2.0, -0.5)),) * 2]:
            e *= factor
            v *= value
        return e, v

    def quotient(self):
        (e, v), (f, w) = self.operand(), self.operand()
        return e / (abs(f) + 0.5), v / (abs(w) + 0.5)

    def power(self):
        (e, v), (f, w) = self.operand(), self.operand()
        if self.random.random() < 0.5:
            exponent = self.random.choice((2, 3))
            return e**exponent, v**exponent
        return (abs(e) + 0.5) ** quilex.sin(f), (abs(v) + 0.5) ** math.sin(w)

    def step(self):
        makers = (self.function, self.extremum, self.sum, self.difference)
        makers += (self.product, self.quotient, self.power)
        e, v = self.random.choice(makers)()
        if abs(v) > 100:
            e, v = quilex.sin(e), math.sin(v)
        self.slots[self.random.randrange(len(self.slots))] = (e, v)
        return e, v


def simple_value(operand, point):
    """The value of an operand that is not nonlinear; `point` goes by variable."""
    if isinstance(operand, int | float):
        return operand
    constant, linear, products = quilexlib._parts(operand)
    value = constant + sum(c * point[v] for v, c in linear)
    return value + sum(c * point[u] * point[v] for u, v, c in products or ())


def is_nonlinear(operand):
    return type(operand).__name__ == "nonlinear"


def ordinary_value(body, point):
    """The value of the part of a body that is not made of nonlinear coefficients."""
    code, operands = quilexlib._parts(body)
    signs = [1] * len(operands) if code == 0 else [1, -1] if code == 1 else []
    return sum(
        sign * simple_value(operand, point)
        for sign, operand in zip(signs, operands)
        if not is_nonlinear(operand)
    )


PROGRAMS = 20_000 if LONG else 2_000
CHUNKS = 10


@pytest.mark.parametrize("chunk", range(CHUNKS))
def test_formulas_mean_what_the_expressions_say(p, chunk):
    variables = [quilex.var(lb=-10) for _ in range(6)]
    p.addVariable(variables)
    expected = []
    for k in range(PROGRAMS // CHUNKS):
        program = Program(1_000_003 * chunk + k, variables)
        for _ in range(8):
            body, value = program.step()
        if not is_nonlinear(body):
            continue
        p.addConstraint(body <= 1)
        point = dict(zip(variables, program.point))
        expected.append((program.point, value - ordinary_value(body, point), value))
    actual = [0.0] * len(expected)
    for row, column, factor, tokens in quilexlib._formulas(p):
        point = expected[row][0]
        value = factor * quilexlib._formula_value(p, tokens, point)
        actual[row] += value if column == -1 else value * point[column]
    assert len(expected) > PROGRAMS // CHUNKS * 0.8
    for row, (_, nonlinear_part, whole) in enumerate(expected):
        scale = 1 + abs(whole) + abs(nonlinear_part)
        assert actual[row] == pytest.approx(nonlinear_part, abs=1e-8 * scale), row
