"""Small random models of every class, reproducible from (class, seed)."""

import math
from dataclasses import dataclass, replace
from random import Random

INFINITY = math.inf


@dataclass(frozen=True)
class Column:
    """`kind` is C, B, I, S, R or P; S and R are 0 or from `threshold` up, P is integer below it."""

    kind: str = "C"
    lower: float = 0.0
    upper: float = 4.0
    threshold: float = 0.0
    cost: float = 0.0


@dataclass(frozen=True)
class Row:
    """lower <= coefficients . x + x' diag-and-products x <= upper; `when` is (binary, value)."""

    coefficients: tuple
    lower: float = -INFINITY
    upper: float = INFINITY
    products: tuple = ()
    when: tuple = ()


@dataclass(frozen=True)
class Model:
    """`products` and `Row.products` are dense symmetric matrices H of x'Hx, () where there is none.

    `sets` holds (type, columns, weights).
    """

    maximize: bool = False
    constant: float = 0.0
    columns: tuple = ()
    rows: tuple = ()
    products: tuple = ()
    sets: tuple = ()


@dataclass
class _Draw:
    """Draws that prefer zeros, repetitions and round numbers: that is where faults hide."""

    random: Random

    def number(self, low=-5, high=5):
        if self.random.random() < 0.25:
            return self.random.choice((0.5, -0.5, 1.5, 0.25, -2.5, 3.75))
        return float(self.random.randint(low, high))

    def chance(self, probability):
        return self.random.random() < probability

    def vector(self, length, density=0.8):
        return tuple(self.number() if self.chance(density) else 0.0 for _ in range(length))

    def positive_semidefinite(self, length):
        """G'G of a random G with few rows, so that it is often singular."""
        factors = [self.vector(length) for _ in range(self.random.randint(1, length))]
        return tuple(
            tuple(sum(g[i] * g[j] for g in factors) / 4 for j in range(length))
            for i in range(length)
        )


def generate(kind, seed):
    """The model of a class (a key of CLASSES) for a seed."""
    draw = _Draw(Random(f"{kind} {seed}"))
    return CLASSES[kind](draw)


def _column(draw, kind):
    cost = draw.number()
    lower = float(draw.random.choice((0, 0, 0, -1, -2, 1)))
    upper = lower + draw.random.randint(0, 4)
    if kind == "B":
        return Column("B", 0.0, 1.0, 0.0, cost)
    if kind in "SR":
        threshold = draw.random.choice((1.0, 1.5, 2.0) if kind == "S" else (1.0, 2.0, 3.0))
        return Column(kind, 0.0, threshold + draw.random.randint(0, 3), threshold, cost)
    if kind == "P":
        upper = lower + draw.random.randint(1, 4)
        return Column("P", lower, upper, float(draw.random.randint(int(lower), int(upper))), cost)
    return Column(kind, lower, upper, 0.0, cost)


def _point(draw, columns):
    """A point that the columns' own bounds and types allow."""
    return tuple(
        float(draw.random.randint(math.ceil(c.lower), math.floor(c.upper)))
        if c.kind not in "SR" or draw.chance(0.5)
        else 0.0
        for c in columns
    )


def _row(draw, point, **more):
    """A random row; nine times in ten the point satisfies it, often with equality."""
    coefficients = draw.vector(len(point))
    value = sum(a * x for a, x in zip(coefficients, point))
    if draw.chance(0.1):
        value = draw.number(-3, 8)
    room = draw.random.choice((0.0, 0.0, 0.5, 1.0, 2.0))
    form = draw.random.random()
    if form < 0.45:
        sides = (-INFINITY, value + room)
    elif form < 0.75:
        sides = (value - room, INFINITY)
    elif form < 0.9:
        sides = (value - room, value + draw.random.randint(0, 4))
    else:
        sides = (value, value)
    return Row(coefficients, *sides, **more)


def _linear(draw, kinds, rows=(1, 4), **more):
    columns = tuple(_column(draw, kind) for kind in kinds)
    point, count = _point(draw, columns), draw.random.randint(*rows)
    return Model(
        maximize=draw.chance(0.5),
        constant=draw.number() if draw.chance(0.3) else 0.0,
        columns=columns,
        rows=tuple(_row(draw, point) for _ in range(count)),
        **more,
    )


def _kinds(draw, letters, least=2, most=4):
    return [draw.random.choice(letters) for _ in range(draw.random.randint(least, most))]


def _lp(draw):
    """A linear program, now and then without one of its bounds."""
    model = _linear(draw, _kinds(draw, "C", 1, 3))
    if not draw.chance(0.3):
        return model
    columns = list(model.columns)
    k = draw.random.randrange(len(columns))
    side = draw.random.choice(("lower", "upper"))
    columns[k] = replace(columns[k], **{side: -INFINITY if side == "lower" else INFINITY})
    return replace(model, columns=tuple(columns))


def _with_sets(kind):
    def draw_model(draw):
        model = _linear(draw, _kinds(draw, "CCI", 3, 4))
        columns = tuple(replace(column, lower=min(column.lower, 0.0)) for column in model.columns)
        members = draw.random.sample(range(len(columns)), draw.random.randint(2, len(columns)))
        weights = draw.random.sample(range(1, 9), len(members))
        one = (kind, tuple(members), tuple(float(w) for w in weights))
        return replace(model, columns=columns, sets=(one,))

    return draw_model


def _with_indicators(draw):
    model = _linear(draw, ["B", *_kinds(draw, "CCIB", 1, 3)], rows=(0, 2))
    point = _point(draw, model.columns)
    conditional = []
    for _ in range(draw.random.randint(1, 2)):
        row = _row(draw, point)
        row = replace(row, coefficients=(0.0, *row.coefficients[1:]))
        conditional.append(replace(row, when=(0, draw.random.randint(0, 1))))
    return replace(model, rows=model.rows + tuple(conditional))


def _convex(draw, length):
    """A convex quadratic objective for a minimisation, a concave one for a maximisation."""
    matrix = draw.positive_semidefinite(length)
    return matrix, tuple(tuple(-q for q in row) for row in matrix)


def _qp(draw):
    model = _linear(draw, _kinds(draw, "C", 2, 3))
    convex, concave = _convex(draw, len(model.columns))
    return replace(model, products=concave if model.maximize else convex)


def _qcqp(draw):
    """Rows h'x + x'Hx <= b that a known point of the box satisfies strictly."""
    model = _linear(draw, _kinds(draw, "C", 2, 3), rows=(0, 0))
    columns = tuple(
        replace(column, upper=max(column.upper, column.lower + 1.0)) for column in model.columns
    )
    inside = [(column.lower + column.upper) / 2 for column in columns]
    rows = []
    for k in range(draw.random.randint(1, 2)):
        convex, concave = _convex(draw, len(columns))
        coefficients = draw.vector(len(columns))
        value = sum(a * x for a, x in zip(coefficients, inside))
        value += sum(
            convex[i][j] * x * y for i, x in enumerate(inside) for j, y in enumerate(inside)
        )
        side = math.ceil(4 * value) / 4 + draw.random.choice((0.5, 1.0, 2.0))
        if k == 1 and draw.chance(0.5):
            flipped = tuple(-a for a in coefficients)
            rows.append(Row(flipped, lower=-side, products=concave))
        else:
            rows.append(Row(coefficients, upper=side, products=convex))
    model = replace(model, columns=columns, rows=tuple(rows))
    if draw.chance(0.5):
        convex, concave = _convex(draw, len(columns))
        model = replace(model, products=concave if model.maximize else convex)
    return model


CLASSES = {
    "lp": _lp,
    "binary": lambda draw: _linear(draw, _kinds(draw, "B", 3, 6)),
    "integer": lambda draw: _linear(draw, _kinds(draw, "I", 2, 4)),
    "mixed integer": lambda draw: _linear(draw, _kinds(draw, "CIB", 3, 4)),
    "semi-continuous": lambda draw: _linear(draw, ["S", *_kinds(draw, "SCI", 1, 3)]),
    "semi-integer": lambda draw: _linear(draw, ["R", *_kinds(draw, "RCI", 1, 3)]),
    "partial integer": lambda draw: _linear(draw, ["P", *_kinds(draw, "PCI", 1, 2)]),
    "all column types": lambda draw: _linear(draw, _kinds(draw, "CBISRP", 3, 4)),
    "sos1": _with_sets(1),
    "sos2": _with_sets(2),
    "indicators": _with_indicators,
    "convex qp": _qp,
    "convex qcqp": _qcqp,
}
