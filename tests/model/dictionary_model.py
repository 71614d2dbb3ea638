"""What the linear and quadratic operators promise, with Python's own floats and dictionaries.

A variable is an int (its serial number stands for it), a constant a float, and every other operand
one of the classes below. Operators return None where the result is a nonlinear expression. Values,
their last bits, the order of entries and what is deleted or kept at a sum of 0.0 are part of it.
"""

from dataclasses import dataclass, field


@dataclass
class Term:
    k: float
    x: int


@dataclass
class Product:
    k: float
    x: int
    y: int

    def __post_init__(self):
        if self.x > self.y:
            self.x, self.y = self.y, self.x


@dataclass
class Expression:
    constant: float = 0.0
    linear: dict = field(default_factory=dict)
    quadratic: dict | None = None

    def set_linear(self, x, c):
        if c != 0.0:
            self.linear[x] = c

    def add_linear(self, x, c):
        if c == 0.0:
            return
        new = self.linear[x] + c if x in self.linear else c
        if new == 0.0:
            del self.linear[x]
        else:
            self.linear[x] = new

    def inner(self, outer):
        if self.quadratic is None:
            self.quadratic = {}
        return self.quadratic.setdefault(outer, {})

    def add_product(self, x, y, c):
        if c == 0.0:
            return
        x, y = min(x, y), max(x, y)
        inner = self.inner(x)
        inner[y] = inner[y] + c if y in inner else c
        if inner[y] == 0.0:
            del inner[y]

    def set_product(self, x, y, c):
        x, y = min(x, y), max(x, y)
        if c != 0.0:
            self.inner(x)[y] = c
        elif self.quadratic is not None and x in self.quadratic:
            self.quadratic[x].pop(y, None)

    def products(self):
        return [(u, w, c) for u, row in (self.quadratic or {}).items() for w, c in row.items()]


def kind(a):
    order = {float: 0, int: 1, Term: 2, Product: 3, Expression: 4}
    return order[type(a)]


def entry(a):
    return (a, 1.0) if isinstance(a, int) else (a.x, a.k)


def fill(x, k):
    return 0.0 if k == 0.0 else Term(k, x)


def copy(a, s):
    """S times a as a new expression."""
    e = Expression()
    if s == 0.0:
        return e
    if isinstance(a, float):
        e.constant = s * a
    elif isinstance(a, int | Term):
        x, k = entry(a)
        e.set_linear(x, s * k)
    elif isinstance(a, Product):
        e.set_product(a.x, a.y, s * a.k)
    else:
        factor = 1.0 if abs(s - 1.0) <= 1e-15 else s
        e.constant = s * a.constant
        e.linear = {x: factor * c for x, c in a.linear.items()}
        if a.quadratic is not None:
            e.quadratic = {
                u: {w: factor * c for w, c in row.items()} for u, row in a.quadratic.items()
            }
    return e


def add_to(e, b, s):
    """Add s times b, which is no expression, to the expression e in place."""
    if isinstance(b, float):
        e.constant += s * b
    elif isinstance(b, Product):
        e.add_product(b.x, b.y, s * b.k)
    else:
        x, k = entry(b)
        e.add_linear(x, s * k)


def add_expressions(a, b, s):
    e = copy(a, 1.0)
    e.constant += s * b.constant
    for x, c in b.linear.items():
        e.add_linear(x, s * c)
    for u, w, c in b.products():
        inner = e.inner(u)
        if w not in inner:
            inner[w] = s * c
        elif s * c == 0.0:
            del inner[w]
        else:
            inner[w] += s * c
    return e


def add(a, b, s=1.0):
    """A + s * b as a new object."""
    ka, kb = kind(a), kind(b)
    if ka == kb == 0:
        return a + s * b
    if ka == kb == 4:
        return add_expressions(a, b, s)
    if ka == 4:
        e = copy(a, 1.0)
        add_to(e, b, s)
        return e
    if kb == 4:
        e = copy(b, s)
        add_to(e, a, 1.0)
        return e
    if 3 in (ka, kb):
        return add_product(a, b, s)
    return add_terms(a, b, s)


def add_terms(a, b, s):
    if isinstance(b, float):
        if s * b == 0.0:
            return a
        x, k = entry(a)
        return Expression(s * b, {x: k})
    if isinstance(a, float):
        x, k = entry(b)
        if a == 0.0 and isinstance(b, Term):
            return fill(x, s * k)
        return Expression(a, {x: s * k})
    (x, k), (y, h) = entry(a), entry(b)
    if x == y:
        return fill(x, k + s * h)
    return Expression(0.0, {x: k, y: s * h})


def add_product(a, b, s):
    if isinstance(a, Product) and isinstance(b, Product) and (a.x, a.y) == (b.x, b.y):
        return Product(a.k + s * b.k, a.x, a.y)
    if isinstance(b, float) and s * b == 0.0:
        return a
    if isinstance(a, float) and a == 0.0:
        return Product(s * b.k, b.x, b.y)
    e = Expression()
    for part, factor in ((a, 1.0), (b, s)):
        if isinstance(part, Product):
            e.set_product(part.x, part.y, factor * part.k)
        else:
            add_to(e, part, factor)
    return e


def multiply(a, b):
    ka, kb = kind(a), kind(b)
    if ka > kb and kb == 0:
        a, b, ka, kb = b, a, kb, ka
    if ka == 0:
        return scale(b, a)
    if 4 in (ka, kb):
        return multiply_expression(a, b)
    if 3 in (ka, kb):
        return None
    (x, k), (y, h) = entry(a), entry(b)
    return Product(k * h, x, y)


def scale(a, c):
    if isinstance(a, int):
        return a if c == 1.0 else fill(a, c)
    if isinstance(a, Term):
        return fill(a.x, c * a.k)
    if isinstance(a, Product):
        return Product(c * a.k, a.x, a.y)
    return copy(a, c)


def multiply_expression(a, b):
    if isinstance(a, Product) or isinstance(b, Product):
        return None
    if isinstance(a, Expression) and isinstance(b, Expression):
        return multiply_expressions(a, b)
    factor, e = (b, a) if isinstance(a, Expression) else (a, b)
    if e.quadratic is not None:
        return None
    x, k = entry(factor)
    result = Expression(0.0, {}, {})
    if isinstance(factor, Term):
        if k * e.constant != 0.0:
            raise RuntimeError("Error amending expression")
        if any(k * c != 0.0 for c in e.linear.values()):
            raise RuntimeError("Cannot amend quadratic expression")
        return result
    result.add_linear(x, e.constant)
    for w, c in e.linear.items():
        result.add_product(x, w, c)
    return result


def multiply_expressions(a, b):
    if not a.quadratic and not b.quadratic:
        e = Expression(a.constant * b.constant)
        for w, c in b.linear.items():
            e.add_linear(w, a.constant * c)
        for u, c in a.linear.items():
            e.add_linear(u, b.constant * c)
        for u, cu in a.linear.items():
            for w, cw in b.linear.items():
                if cu * cw != 0.0:
                    inner = e.inner(min(u, w))
                    other = max(u, w)
                    inner[other] = inner.get(other, 0.0) + cu * cw
        return e
    if a.quadratic and b.quadratic:
        return None
    full, rest = (a, b) if a.quadratic else (b, a)
    return None if rest.linear else copy(full, rest.constant)


def add_in_place(a, b, s):
    """A += s * b; expressions change."""
    if not isinstance(a, Expression):
        if isinstance(b, float) and b == 0.0 and not isinstance(a, float):
            return a
        return add(a, b, s)
    if not isinstance(b, Expression):
        add_to(a, b, s)
        return a
    a.constant += s * b.constant
    for x, c in list(b.linear.items()):
        a.add_linear(x, s * c)
    for u, row in list((b.quadratic or {}).items()):
        inner = a.inner(u)
        for w, c in list(row.items()):
            if w in inner:
                inner[w] += s * c
                if inner[w] == 0.0:
                    del inner[w]
            elif s * c != 0.0:
                inner[w] = s * c
    return a


def multiply_in_place(a, b):
    if isinstance(b, float) and b == 1.0 and not isinstance(a, float):
        return a
    if not isinstance(a, Expression) or not isinstance(b, float):
        return multiply(a, b)
    if b == 0.0:
        return 0.0
    a.constant *= b
    a.linear.update({x: c * b for x, c in a.linear.items()})
    for row in (a.quadratic or {}).values():
        row.update({w: c * b for w, c in row.items()})
    return a


def total(items):
    """Sum(items)."""
    accumulated = None
    for item in items:
        if accumulated is None:
            accumulated = copy(item, 1.0) if isinstance(item, Expression) else item
        else:
            accumulated = add_in_place(accumulated, item, 1.0)
    if accumulated is None:
        return Expression()
    return Expression(accumulated) if isinstance(accumulated, float) else accumulated


def contents(a):
    """What quilexlib._parts reports, with serial numbers for variables."""
    if isinstance(a, Expression):
        products = None if a.quadratic is None else a.products()
        return (a.constant, list(a.linear.items()), products)
    return contents(copy(a, 1.0))
