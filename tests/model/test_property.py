"""Random programs of operators, run twice: with modelling objects and with something simpler.

Against the dictionary model results agree in every bit, in order and in what was deleted; against
exact arithmetic at random points they agree in value, nonlinear expressions included. The short
form runs 2,000 programs of each kind, ``QUILEX_LONG=1`` a hundred thousand.
"""

import gc
import operator
import os
import random
import struct
from fractions import Fraction

import pytest

import quilexlib
from tests.model import dictionary_model as model

PROGRAMS = 100_000 if os.environ.get("QUILEX_LONG") else 2_000
STEPS = 25
CHUNKS = 20


def bits(value):
    """The value with its last bit: 0.0 and -0.0 differ, NaNs do not."""
    return "nan" if value != value else struct.pack("d", value)


def same_parts(actual, expected):
    """Compare two (constant, linear, products) triples entry by entry."""

    def with_bits(entries):
        return None if entries is None else [(*e[:-1], bits(e[-1])) for e in entries]

    return (
        actual[0] == expected[0] or (actual[0] != actual[0] and expected[0] != expected[0])
    ) and all(with_bits(a) == with_bits(e) for a, e in zip(actual[1:], expected[1:], strict=True))


class DictionaryProgram:
    """One random program over a few slots that may hold the same object."""

    CONSTANTS = (0.0, 1.0, -1.0, 2.0, 0.1, 0.2, 0.3, -0.3, 1e-200, 1e200, 1 / 3, 7.0)

    def __init__(self, seed):
        self.random = random.Random(seed)
        self.variables = [quilexlib.var() for _ in range(self.random.choice((3, 6, 30)))]
        self.number = {v: i for i, v in enumerate(self.variables)}
        self.slots = [self.leaf() for _ in range(6)]
        self.trace = []

    def leaf(self):
        if self.random.random() < 0.25:
            value = self.random.choice(self.CONSTANTS)
            return value, value
        variable = self.random.choice(self.variables)
        return variable, self.number[variable]

    def operand(self):
        return self.random.choice(self.slots) if self.random.random() < 0.6 else self.leaf()

    def step(self):
        name, actual, expected = self.random.choices(
            (self.plain, self.in_place, self.alias, self.negate, self.sum_of, self.look, self.grow),
            (10, 8, 2, 1, 2, 2, 3),
        )[0]()
        self.trace.append(name)
        if name == "look":
            return
        slot = self.random.randrange(len(self.slots))
        if actual is None or (isinstance(expected, float) and abs(expected) > 1e250):
            actual, expected = self.leaf()
        self.slots[slot] = actual, expected

    def both(self, name, act, expect):
        """Run both; an error must be the same error, None must be a nonlinear expression."""
        try:
            expected = expect()
        except (RuntimeError, ZeroDivisionError) as error:
            with pytest.raises(RuntimeError) as raised:
                act()
            if isinstance(error, RuntimeError):
                assert str(raised.value) == str(error)
            return name, None, None
        actual = act()
        if expected is None:
            assert type(actual).__name__ == "nonlinear", (name, self.trace)
            return name, None, None
        return name, actual, expected

    def plain(self):
        (a, ma), (b, mb) = self.operand(), self.operand()
        if isinstance(a, float) and isinstance(b, float):
            b, mb = self.variables[0], 0
        name, act, expect = self.random.choice(
            (
                ("+", operator.add, model.add),
                ("-", operator.sub, lambda x, y: model.add(x, y, -1.0)),
                ("*", operator.mul, model.multiply),
            )
        )
        return self.both(name, lambda: act(a, b), lambda: expect(ma, mb))

    def in_place(self):
        (a, ma), (b, mb) = self.random.choice(self.slots), self.operand()
        if isinstance(a, float) and isinstance(b, float):
            a, ma = self.variables[0], 0
        name, act, expect = self.random.choice(
            (
                ("+=", operator.iadd, lambda x, y: model.add_in_place(x, y, 1.0)),
                ("-=", operator.isub, lambda x, y: model.add_in_place(x, y, -1.0)),
                ("*=", operator.imul, model.multiply_in_place),
            )
        )
        return self.both(name, lambda: act(a, b), lambda: expect(ma, mb))

    def alias(self):
        return ("=", *self.random.choice(self.slots))

    def negate(self):
        a, ma = self.operand()
        if isinstance(a, float):
            return "neg", a, ma
        return self.both("neg", lambda: -a, lambda: self.negated(ma))

    @staticmethod
    def negated(a):
        return model.Term(-1.0, a) if isinstance(a, int) else model.scale(a, -1.0)

    def sum_of(self):
        items = [self.operand() for _ in range(self.random.choice((0, 1, 2, 5, 40)))]
        actual = [a for a, _ in items]
        form = self.random.choice((list, tuple, iter))
        return self.both(
            "Sum", lambda: quilexlib.Sum(form(actual)), lambda: model.total([m for _, m in items])
        )

    def grow(self):
        """A chain of variables, kept at every other step."""
        a, ma = self.operand()
        for _ in range(self.random.choice((3, 20))):
            v = self.random.choice(self.variables)
            c = self.random.choice((1.0, -1.0, 0.1))
            a, ma = a + c * v, model.add(ma, model.scale(self.number[v], c))
            if self.random.random() < 0.5:
                self.slots[self.random.randrange(len(self.slots))] = a, ma
        return "grow", a, ma

    def look(self):
        """Reading an expression in the middle must change nothing."""
        a, _ = self.operand()
        str(a)
        return "look", None, None

    def check(self):
        for actual, expected in self.slots:
            if isinstance(expected, float):
                assert bits(actual) == bits(expected), self.trace
                continue
            assert type(actual).__name__ == KINDS[model.kind(expected)], self.trace
            constant, linear, products = quilexlib._parts(actual)
            found = (
                constant,
                [(self.number[v], c) for v, c in linear],
                None
                if products is None
                else [(self.number[u], self.number[w], c) for u, w, c in products],
            )
            assert same_parts(found, model.contents(expected)), (
                self.trace,
                found,
                model.contents(expected),
            )


KINDS = {1: "var", 2: "linterm", 3: "quadterm", 4: "expression"}


@pytest.mark.parametrize("chunk", range(CHUNKS))
def test_operators_behave_like_dictionaries(chunk):
    for k in range(PROGRAMS // CHUNKS):
        program = DictionaryProgram(1_000_003 * chunk + k)
        for _ in range(STEPS):
            program.step()
        program.check()


# The operator codes of nonlinear nodes that arithmetic makes.
NODE_VALUES = {
    0: sum,
    1: lambda args: args[0] - args[1],
    2: lambda args: -args[0],
    3: lambda args: product(args),
    4: lambda args: args[0] / args[1],
    5: lambda args: power(*args),
    17: lambda args: abs(args[0]),
}


def product(args):
    result = Fraction(1)
    for value in args:
        result *= value
    return result


def power(base, exponent):
    # A constant base or exponent that the rules fold: 0 ** 0 counts as 0.0 there and 1.0 elsewhere.
    if exponent.denominator != 1 or abs(exponent) > 6 or (base == 0 and exponent <= 0):
        raise ZeroDivisionError
    return base**exponent


def value_of(obj, point):
    """The exact value of a modelling object at a point (variable -> Fraction)."""
    if isinstance(obj, int | float):
        return Fraction(obj)
    if type(obj) is quilexlib.var:
        return point[obj]
    parts = quilexlib._parts(obj)
    if len(parts) == 2:
        return NODE_VALUES[parts[0]]([value_of(arg, point) for arg in parts[1]])
    constant, linear, products = parts
    result = Fraction(constant)
    for v, c in linear:
        result += Fraction(c) * point[v]
    for u, w, c in products or ():
        result += Fraction(c) * point[u] * point[w]
    return result


class ExactProgram:
    """One random program whose coefficients stay exact, evaluated at two points as it runs."""

    CONSTANTS = (0, 1, -1, 2.0, 0.5, -0.25, 3)

    def __init__(self, seed):
        self.random = random.Random(seed)
        self.variables = [quilexlib.var() for _ in range(4)]
        self.points = [
            {
                v: Fraction(self.random.randint(1, 9), self.random.choice((2, 3, 7))) * sign
                for v, sign in zip(self.variables, signs, strict=True)
            }
            for signs in ((1, 1, 1, 1), (1, -1, 1, -1))
        ]
        self.slots = [self.leaf() for _ in range(5)]
        self.trace = []

    def leaf(self):
        if self.random.random() < 0.2:
            value = self.random.choice(self.CONSTANTS)
            return value, [Fraction(value)] * 2
        v = self.random.choice(self.variables)
        return v, [point[v] for point in self.points]

    def operand(self):
        return self.random.choice(self.slots) if self.random.random() < 0.7 else self.leaf()

    OPERATORS = (
        ("+", operator.add, operator.iadd, operator.add),
        ("-", operator.sub, operator.isub, operator.sub),
        ("*", operator.mul, operator.imul, operator.mul),
        ("/", operator.truediv, operator.itruediv, operator.truediv),
        ("**", operator.pow, operator.ipow, power),
    )

    def step(self):
        name, plain, in_place, exact = self.random.choices(self.OPERATORS, (6, 6, 6, 2, 2))[0]
        (a, va), (b, vb) = self.operand(), self.operand()
        if name == "**" and self.random.random() < 0.7:
            b = self.random.choice((0, 1, 2, 3))
            vb = [Fraction(b)] * 2
        if isinstance(a, int | float) and isinstance(b, int | float):
            return
        mutate = self.random.random() < 0.4
        if name in ("/", "**") and not isinstance(b, int | float):
            # In place these change the node's own operands, which other nodes may hold as well.
            mutate = mutate and type(a).__name__ != "nonlinear"
        self.trace.append((name + "=" * mutate, str(a), str(b)))
        try:
            values = [self.expected(name, exact, a, b, x, y) for x, y in zip(va, vb, strict=True)]
        except ZeroDivisionError:
            values = None
        try:
            result = (in_place if mutate else plain)(a, b)
        except RuntimeError as error:
            assert self.may_fail(name, a, b, str(error)), (error, self.trace)
            return
        if not self.is_exact(result):
            values = None
        if mutate:
            self.forget_changed(a, result, values)
        if values is None:
            result, values = self.leaf()
        self.slots[self.random.randrange(len(self.slots))] = result, values

    @staticmethod
    def expected(name, exact, a, b, x, y):
        if name == "**" and isinstance(b, int | float) and b == 0:
            return Fraction(not (isinstance(a, int | float) and a == 0))
        if name == "**" and isinstance(a, int | float) and a in (0, 1):
            return Fraction(a)
        return exact(x, y)

    @staticmethod
    def may_fail(name, a, b, message):
        kinds = {type(a).__name__, type(b).__name__}
        if message in ("Error amending expression", "Cannot amend quadratic expression"):
            return kinds == {"linterm", "expression"}
        # A term of coefficient 0.0 divides by zero wherever it stands.
        return name == "/" and message.startswith("Division")

    def forget_changed(self, a, result, values):
        """After an operator in place: aliases follow, what may contain the object is dropped."""
        same = result is a
        for i, (obj, _) in enumerate(self.slots):
            if obj is a and same and values is not None:
                self.slots[i] = result, values
            elif type(obj).__name__ == "nonlinear" or (obj is a and values is None):
                self.slots[i] = self.leaf()

    def is_exact(self, obj):
        """Whether no coefficient has come near the 53 bits of a double, and the tree is small.

        Products of 0.0 are out as well: adding one to an expression deletes what is there.
        """
        budget = 300
        stack = [obj]
        while stack:
            budget -= 1
            item = stack.pop()
            if isinstance(item, int | float):
                coefficients = [item]
            else:
                parts = quilexlib._parts(item)
                if len(parts) == 2:
                    stack.extend(parts[1])
                    continue
                if any(c == 0.0 for *_, c in parts[2] or ()):
                    return False
                coefficients = [parts[0], *(e[-1] for e in (*parts[1], *(parts[2] or ())))]
            if budget < 0 or not all(-(2.0**20) < c < 2.0**20 for c in coefficients):
                return False
            if not all(float(c * 2.0**20).is_integer() for c in coefficients):
                return False
        return True

    def check(self):
        for obj, values in self.slots:
            try:
                found = [value_of(obj, point) for point in self.points]
            except ZeroDivisionError:
                continue  # a factor of 0 in front of what has no value here
            assert found == values, (self.trace, str(obj))


@pytest.mark.parametrize("chunk", range(CHUNKS))
def test_operators_compute_the_value(chunk):
    for k in range(PROGRAMS // CHUNKS):
        program = ExactProgram(7_000_003 * chunk + k)
        for _ in range(14):
            program.step()
        program.check()


def test_programs_leave_nothing_behind():
    """The same programs again and again: no object, log or reference more than after the first."""

    def run():
        for seed in range(40):
            for kind_of_program in (DictionaryProgram, ExactProgram):
                program = kind_of_program(seed)
                for _ in range(STEPS):
                    program.step()
        del program
        gc.collect()
        return quilexlib._live_counts()

    run()
    before = run()
    if not before:
        pytest.skip("only debug builds count live objects")
    assert run() == before
