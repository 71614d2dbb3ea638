"""Optimal values of small models by enumeration and dense linear algebra, with numpy alone.

Integer and other discrete choices are enumerated. What remains is a linear program (all vertices
are tried), a convex quadratic one (all sets of active sides are tried) or one with convex quadratic
rows (a barrier method from a strictly feasible point).
"""

import itertools
import math
from dataclasses import dataclass, replace

import numpy as np
from random_model import Row

SINGULAR = 1e-9  # determinants of small matrices of small numbers
SLACK = 1e-7  # of a row or bound, relative to its side beyond 1
# A box in place of missing bounds: coefficients are small, so vertices are far inside it, and an
# optimum that grows with the box is unbounded.
FAR, FARTHER = 1e4, 2e4


@dataclass(frozen=True)
class Answer:
    """status is optimal, infeasible or unbounded; value is the objective with its constant."""

    status: str
    value: float = math.nan


def solve(model):
    """The answer for a model of at most about six columns."""
    near = _best(_boxed(model, FAR))
    if near is None:
        return Answer("infeasible")
    has_no_bound = any(math.isinf(c.lower) or math.isinf(c.upper) for c in model.columns)
    if has_no_bound and abs(_best(_boxed(model, FARTHER)) - near) > 1e-6:
        return Answer("unbounded")
    return Answer("optimal", near + model.constant)


def _boxed(model, size):
    columns = tuple(
        replace(c, lower=max(c.lower, -size), upper=min(c.upper, size)) for c in model.columns
    )
    return replace(model, columns=columns)


def _best(model):
    """The best value over all discrete choices, constant aside; None when there is none."""
    sign = -1.0 if model.maximize else 1.0
    values = [_continuous(choice, sign) for choice in _choices(model)]
    values = [value for value in values if value is not None]
    return sign * min(values) if values else None


def _choices(model):
    """All models with C columns, without sets and conditions, whose union is the given model."""
    per_column = [intervals(column) for column in model.columns]
    supports = [_supports(one) for one in model.sets]
    for chosen in itertools.product(*per_column):
        for allowed in itertools.product(*supports):
            yield from _fixed(model, chosen, allowed)


def _fixed(model, chosen, allowed):
    """The model with every column in its interval, or nothing where that empties one of them."""
    columns = []
    for k, (lower, upper) in enumerate(chosen):
        banned = any(
            k in members and k not in support
            for (_, members, _), support in zip(model.sets, allowed)
        )
        if banned:
            lower, upper = max(lower, 0.0), min(upper, 0.0)
        if lower > upper:
            return
        columns.append(replace(model.columns[k], kind="C", lower=lower, upper=upper))
    rows = [row for row in model.rows if not row.when or columns[row.when[0]].lower == row.when[1]]
    yield replace(model, columns=tuple(columns), rows=tuple(rows), sets=())


def intervals(column):
    """The intervals, often single points, whose union a column may lie in."""
    lower, upper, threshold = column.lower, column.upper, column.threshold
    if column.kind == "C":
        return [(lower, upper)]
    if column.kind == "S":
        return [(0.0, 0.0), (threshold, upper)]
    if column.kind == "P":
        return [*_points(lower, min(threshold, upper)), (max(threshold, lower), upper)]
    if column.kind == "R":
        return [(0.0, 0.0), *_points(threshold, upper)]
    return _points(lower, upper)


def _points(lower, upper):
    return [(float(v), float(v)) for v in range(math.ceil(lower), math.floor(upper) + 1)]


def _supports(one):
    """The largest sets of members that may be nonzero together."""
    kind, members, weights = one
    ordered = [member for _, member in sorted(zip(weights, members))]
    return [set(ordered[k : k + kind]) for k in range(len(ordered) - kind + 1)] or [set(ordered)]


def _continuous(model, sign):
    """The least sign * objective over a model with C columns, or None when it is infeasible."""
    if any(row.products for row in model.rows):
        return _barrier(model, sign)
    fixed = 0.0
    if not model.products:
        model, fixed = _without_fixed_columns(model)
    normals, sides = _half_spaces(model)
    cost = sign * np.array([column.cost for column in model.columns])
    if len(cost) == 0:
        return None if np.any(sides < -SLACK) else sign * fixed
    hessian = 2 * sign * np.array(model.products) if model.products else None
    points = np.array(list(_candidates(normals, sides, cost, hessian))).reshape(-1, len(cost))
    room = sides + SLACK * np.maximum(1.0, np.abs(sides))
    points = points[np.all(points @ normals.T <= room, axis=1)]
    if len(points) == 0:
        return None
    values = points @ cost
    if hessian is not None:
        values = values + 0.5 * np.sum((points @ hessian) * points, axis=1)
    return float(np.min(values)) + sign * fixed


def _without_fixed_columns(model):
    """The linear model without its fixed columns, and what they cost."""
    free = [k for k, c in enumerate(model.columns) if c.lower < c.upper]
    fixed = [(k, c.lower) for k, c in enumerate(model.columns) if c.lower >= c.upper]
    rows = []
    for row in model.rows:
        used = sum(row.coefficients[k] * value for k, value in fixed)
        coefficients = tuple(row.coefficients[k] for k in free)
        rows.append(Row(coefficients, row.lower - used, row.upper - used))
    columns = tuple(model.columns[k] for k in free)
    cost = sum(model.columns[k].cost * value for k, value in fixed)
    return replace(model, columns=columns, rows=tuple(rows)), cost


def _half_spaces(model):
    """Rows and bounds as normals . x <= sides."""
    normals, sides = [], []
    unit = np.eye(len(model.columns))
    items = [(unit[k], c.lower, c.upper) for k, c in enumerate(model.columns)]
    items += [(np.array(row.coefficients), row.lower, row.upper) for row in model.rows]
    for normal, lower, upper in items:
        for factor, side in ((1.0, upper), (-1.0, lower)):
            if math.isfinite(side):
                normals.append(factor * normal)
                sides.append(factor * side)
    return np.array(normals).reshape(len(sides), len(model.columns)), np.array(sides)


def _candidates(normals, sides, cost, hessian):
    """Vertices, and with a Hessian the stationary points of every face, as an iterable of points.

    Stationary points of faces with a singular system are left out: a convex quadratic function over
    a bounded polytope has a minimiser on a face where the system is regular.
    """
    length = len(cost)
    smallest = 0 if hessian is not None else length
    for size in range(smallest, length + 1):
        subsets = np.array(list(itertools.combinations(range(len(sides)), size)), dtype=int)
        if size == length:
            yield from _solutions(normals[subsets], sides[subsets])
        elif size == 0:
            yield from _solutions(hessian[None], -cost[None])
        else:
            active = normals[subsets]
            count = len(subsets)
            top = np.concatenate(
                [np.broadcast_to(hessian, (count, length, length)), active.swapaxes(1, 2)], axis=2
            )
            low = np.concatenate([active, np.zeros((count, size, size))], axis=2)
            right = np.concatenate(
                [np.broadcast_to(-cost, (count, length)), sides[subsets]], axis=1
            )
            for point in _solutions(np.concatenate([top, low], axis=1), right):
                yield point[:length]


def _solutions(matrices, right):
    """Solutions of the regular systems among many."""
    if len(matrices) == 0:
        return
    regular = np.abs(np.linalg.det(matrices)) > SINGULAR
    if regular.any():
        yield from np.linalg.solve(matrices[regular], right[regular][..., None])[..., 0]


def _barrier(model, sign):
    """The least value by a logarithmic barrier, from the middle of the box (strictly feasible)."""
    length = len(model.columns)
    terms = [
        (sign * np.array([c.cost for c in model.columns]), _matrix(model.products, sign, length))
    ]
    sides = []
    for row in model.rows:
        for factor, side in ((1.0, row.upper), (-1.0, row.lower)):
            if math.isfinite(side):
                coefficients = factor * np.array(row.coefficients)
                terms.append((coefficients, _matrix(row.products, factor, length)))
                sides.append(factor * side)
    lower = np.array([c.lower for c in model.columns])
    upper = np.array([c.upper for c in model.columns])
    point = (lower + upper) / 2
    count = 2 * length + len(sides)
    weight = 1.0
    while count / weight > 1e-9:
        weight *= 4.0
        point = _centre(point, weight, terms, np.array(sides), lower, upper)
    linear, square = terms[0]
    return float(linear @ point + point @ square @ point)


def _matrix(products, factor, length):
    return factor * np.array(products) if products else np.zeros((length, length))


def _centre(point, weight, terms, sides, lower, upper):
    """Newton's method on weight * objective - sum of log(slack), with a line search."""

    def merit(x):
        slacks = np.concatenate(
            [[s - a @ x - x @ h @ x for s, (a, h) in zip(sides, terms[1:])], x - lower, upper - x]
        )
        if np.any(slacks <= 0):
            return math.inf
        linear, square = terms[0]
        return weight * (linear @ x + x @ square @ x) - np.sum(np.log(slacks))

    for _ in range(60):
        gradient = 1 / (upper - point) - 1 / (point - lower)
        hessian = np.diag(1 / (upper - point) ** 2 + 1 / (point - lower) ** 2)
        linear, square = terms[0]
        gradient = gradient + weight * (linear + 2 * square @ point)
        hessian = hessian + 2 * weight * square
        for side, (a, h) in zip(sides, terms[1:]):
            slope, slack = a + 2 * h @ point, side - a @ point - point @ h @ point
            gradient = gradient + slope / slack
            hessian = hessian + np.outer(slope, slope) / slack**2 + 2 * h / slack
        scale = 1 / np.sqrt(np.diag(hessian))
        step = -scale * np.linalg.solve(hessian * np.outer(scale, scale), scale * gradient)
        decrement = -gradient @ step
        if decrement < 1e-14:
            break
        length, start = 1.0, merit(point)
        while length > 1e-12 and merit(point + length * step) > start - 1e-4 * length * decrement:
            length /= 2
        if length <= 1e-12:
            break
        point = point + length * step
    return point
