"""Sums share their operands with the longer ones made from them; nobody must be able to tell.

Random programs run twice: with modelling objects, and with lists that are copied in full wherever
`a + b` copies its left operand.
"""

import gc
import operator
import random
import time
import weakref

import pytest

import quilex
import quilexlib


class Atom:
    def __init__(self, text):
        self.text = text

    def copy(self):
        return self


class Product:
    def __init__(self, operands, factor=None):
        self.operands, self.factor = list(operands), factor

    @property
    def text(self):
        last = [] if self.factor is None else [repr(self.factor)]
        return "(" + " * ".join(self.operands + last) + ")"

    def copy(self):
        return Product(self.operands, self.factor)


class Negation:
    def __init__(self, operand):
        self.operand = operand

    @property
    def text(self):
        return f"- ({self.operand.text})"

    def copy(self):
        """A copy multiplies by -1 instead."""
        if isinstance(self.operand, Negation):
            return self.operand.operand.copy()
        copy = self.operand.copy()
        if isinstance(copy, Atom):
            return Product([copy.text], -1.0)
        factor = -1.0 if copy.factor is None else -copy.factor
        return Product(copy.operands, None if factor == 1.0 else factor)


class Total:
    def __init__(self, items, constant=0.0):
        self.items, self.constant = list(items), constant

    @property
    def text(self):
        last = [repr(self.constant)] if self.constant else []
        return "(" + " + ".join([item.text for item in self.items] + last) + ")"

    def copy(self):
        return Total([item.copy() for item in self.items], self.constant)

    def grow(self, other, scale):
        if isinstance(other, float):
            self.constant += scale * other
            return self
        added = list(other.items) if isinstance(other, Total) else [other]
        self.constant += scale * getattr(other, "constant", 0.0)
        self.items += [item if scale > 0 else negated(item) for item in added]
        return self


def negated(item):
    return Negation(item)


def plus(a, b, scale):
    """a + b or a - b as a new object; None where the two make no sum."""
    if isinstance(a, Total):
        return a.copy().grow(b, scale)
    if scale < 0:
        return None
    return Total([a.copy()]).grow(b, scale)


def terms(text):
    """The text of a sum apart from the order of its terms, which is the library's own."""
    return sorted(text[1:-1].split(" + ")) if " + " in text else text


class Program:
    def __init__(self, seed):
        self.random = random.Random(seed)
        self.x = [quilex.var(f"x{k}") for k in range(4)]
        self.slots = [self.leaf() for _ in range(6)]

    def leaf(self):
        x, y = self.random.choice(self.x), self.random.choice(self.x)
        if self.random.random() < 0.5:
            return quilex.sin(x), Atom(f"sin ({x})")
        return quilex.sin(x) * y, Product([f"sin ({x})", str(y)])

    def operand(self):
        if self.random.random() < 0.2:
            constant = self.random.choice([1.0, -1.0, 2.5])
            return constant, constant
        return self.random.choice(self.slots) if self.random.random() < 0.8 else self.leaf()

    def step(self):
        (a, ma), (b, mb) = self.random.choice(self.slots), self.operand()
        scale = self.random.choice([1, 1, 1, -1])
        made = None
        kind = self.random.choices(["+", "+=", "*=", "<=", "=", "chain"], [8, 5, 3, 1, 1, 2])[0]
        if kind == "+":
            made = plus(ma, mb, scale)
            if made:
                a = a + b if scale > 0 else a - b
        elif kind == "+=" and isinstance(ma, Total):
            same = a
            a = operator.iadd(a, b) if scale > 0 else operator.isub(a, b)
            assert a is same
            made = ma.grow(mb, scale)
        elif kind == "*=" and isinstance(ma, Product):
            v = self.random.choice(self.x)
            a = operator.imul(a, v)
            ma.operands.append(str(v))
            made = ma
        elif kind == "<=" and isinstance(ma, Total) and ma.items:
            body = quilex.Sum(a) <= 5.0
            expected = ma.copy()
            assert body.ub == 5.0 - expected.constant
            expected.constant = 0.0
            assert terms(str(body.body)) == terms(expected.text)
        elif kind == "chain":
            made = ma
            for _ in range(5):
                b, mb = self.leaf()
                a, made = a + b, plus(made, mb, 1)
                if self.random.random() < 0.4:
                    self.slots[self.random.randrange(6)] = a, made
        elif kind == "=":
            made = ma
        if made is None or len(getattr(made, "items", ())) > 60:
            a, made = self.leaf()
        self.slots[self.random.randrange(6)] = a, made

    def check(self):
        for actual, expected in self.slots:
            assert terms(str(actual)) == terms(expected.text)


@pytest.mark.parametrize("chunk", range(10))
def test_programs_of_sums_behave_as_if_all_were_copied(chunk):
    for k in range(100):
        program = Program(1000 * chunk + k)
        for _ in range(30):
            program.step()
            program.check()


def test_a_longer_sum_takes_over_at_any_prefix():
    x = [quilex.var(f"x{k}") for k in range(300)]
    sums = [quilex.sin(x[0]) + quilex.sin(x[1])]
    for v in x[2:]:
        sums.append(sums[-1] + v**3)
    texts = [str(s) for s in sums]
    branches = [s + quilex.exp(x[0]) for s in sums[::7]]
    del sums[1::2]
    gc.collect()
    sums[10] += x[5]
    assert [str(s) for s in sums if s is not sums[10]] == [
        t for k, t in enumerate(texts[::2]) if k != 10
    ]
    assert all(str(b).endswith("exp (x0))") for b in branches)
    assert [len(quilexlib._parts(b)[1]) for b in branches] == list(range(3, 302, 7))
    constraint = sums[-1] <= 4
    assert str(constraint.body).count("**") == 298


def test_a_body_without_its_constant_leaves_the_sum_whole():
    x = [quilex.var(f"x{k}") for k in range(4)]
    s = sum((v**3 for v in x), 2.0)
    text = str(s)
    constraint = s <= 3
    assert (constraint.ub, str(s)) == (1.0, text)
    assert str(constraint.body).replace("3.0", "3") == text.replace(" + 2.0", "").replace(
        "3.0", "3"
    )


FORMS = {
    "sum()": lambda x: sum(v**3 for v in x),
    "with a linear part": lambda x: sum(v**3 + v + 1 for v in x),
    "subtracting": lambda x: _chain(x, lambda s, v: s - 2 * quilex.exp(v)),
    "on the left": lambda x: _chain(x, lambda s, v: v**3 + s),
    "user functions": lambda x: _chain(x, lambda s, v: s + quilex.user(len, v, 1)),
    "user functions on the left": lambda x: _chain(x, lambda s, v: quilex.user(len, v) * v + s),
    "in place and not": lambda x: _chain(x, lambda s, v: operator.iadd(s + v**3, quilex.sin(v))),
}


def _chain(x, step):
    total = quilex.sin(x[0]) + 1
    for v in x:
        total = step(total, v)
    return total


@pytest.mark.parametrize("form", FORMS)
def test_plain_sums_cost_time_proportional_to_their_length(form):
    x = [quilex.var() for _ in range(16_000)]

    def seconds(count):
        gc.disable()  # one full collection of all that the tests have costs more than the sum
        try:
            start = time.process_time()
            FORMS[form](x[:count])
            return (time.process_time() - start) / count
        finally:
            gc.enable()

    short = min(seconds(1_000) for _ in range(5))
    assert seconds(16_000) < 5 * short


def test_a_sum_whose_terms_contain_its_beginning_dies():
    """Its copies share operands with that beginning; no list may come to hold itself."""
    if not quilexlib._live_counts():
        pytest.skip("only debug builds count live objects")

    def grow():
        x = quilex.var()
        start = quilex.sin(x) + quilex.cos(x) + x
        inner = quilex.exp(start * start) + 2 * start
        total = start - quilex.sin(start) - quilex.log(inner)
        for _ in range(3):
            total = total + quilex.sin(total) - inner
        return total <= 1

    before = quilexlib._live_counts()
    grow()
    gc.collect()
    assert quilexlib._live_counts() == before


class Callback:
    def __call__(self, value):
        return value


@pytest.mark.parametrize("on_the_left", [False, True])
def test_sums_with_user_functions_are_collected(on_the_left):
    """A shared list may hold a function that leads back to it, seen through either sum."""
    add = (lambda a, b: b + a) if on_the_left else operator.add
    x = [quilex.var(f"x{k}") for k in range(12)]
    plain = sum(v**3 for v in x)
    text = str(plain)
    callback = Callback()
    alive = weakref.ref(callback)
    total = plain
    sums = []
    for v in x:
        total = add(total, quilex.user(callback, v))
        sums.append(total)
    longest = str(total)
    callback.sums = sums
    gc.collect()
    assert (str(plain), str(sums[-1])) == (text, longest)
    del total, sums, callback
    gc.collect()
    assert alive() is None
    assert str(plain) == text
