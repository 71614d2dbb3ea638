"""Checks a point against an instance with numpy alone: an opinion independent of the engine's."""

import numpy as np


def objective_value(instance, point):
    """The objective of the file at the point, its constant included."""
    x = np.asarray(point, dtype=float)
    linear = float(np.dot([column.cost for column in instance.columns], x))
    return instance.constant + linear + sum(q * x[i] * x[j] for i, j, q in instance.quadratic)


TOLERANCE = 1e-6 + 1e-12  # with room for the rounding of an activity that lies right on it


def violations(instance, point, tolerance=TOLERANCE):
    """What the point violates by more than the tolerance, as a list of texts.

    A row is allowed the tolerance times the largest of 1, its side and its largest single term, as
    the rounding of a sum grows with its terms.
    """
    x = np.asarray(point, dtype=float)
    found = []
    if len(x) != len(instance.columns):
        return [f"{len(x)} values for {len(instance.columns)} columns"]
    if not np.all(np.isfinite(x)):
        return ["a value is not finite"]
    for value, column in zip(x, instance.columns):
        found += _column_violations(column, value, tolerance)
    for row in instance.rows:
        found += _row_violations(row, x, tolerance)
    for kind, members in instance.sets:
        found += _set_violations(kind, members, x, tolerance)
    for column, value, row in instance.indicators:
        if abs(x[column] - value) <= 0.5:
            found += _row_violations(instance.rows[row], x, tolerance)
    return found


def _column_violations(column, value, tolerance):
    if column.kind in "SR" and abs(value) <= tolerance:
        return []
    lower = column.threshold if column.kind in "SR" else column.lower
    found = []
    if value < lower - tolerance * max(1.0, abs(lower)):
        found.append(f"{column.name} = {value!r} is below {lower!r}")
    if value > column.upper + tolerance * max(1.0, abs(column.upper)):
        found.append(f"{column.name} = {value!r} is above {column.upper!r}")
    if column.kind in "IBR" and abs(value - round(value)) > tolerance * max(1.0, abs(value)):
        found.append(f"{column.name} = {value!r} is not an integer")
    return found


def _row_violations(row, x, tolerance):
    terms = [a * x[j] for j, a in row.terms] + [q * x[i] * x[j] for i, j, q in row.quadratic]
    activity = float(np.sum(terms)) if terms else 0.0
    largest = max((abs(term) for term in terms), default=0.0)
    for side, excess in ((row.lower, row.lower - activity), (row.upper, activity - row.upper)):
        if np.isfinite(side) and excess > tolerance * max(1.0, abs(side), largest):
            return [f"row {row.name}: {activity!r} misses {side!r} by {excess:.3g}"]
    return []


def _set_violations(kind, members, x, tolerance):
    ordered = [column for column, _ in sorted(members, key=lambda member: member[1])]
    used = [k for k, column in enumerate(ordered) if abs(x[column]) > tolerance]
    if len(used) > kind or (len(used) == 2 and used[1] != used[0] + 1):
        return [f"set of type {kind}: members {used} are not zero"]
    return []
