"""States a random model through the modelling layer, solves it, and compares with the reference."""

import math

import reference

import quilex

# The tolerance of rows and bounds, and room for the rounding of an activity that lies right on it.
TOLERANCE = 1e-6 + 1e-12
VARIABLE_TYPES = {
    "C": quilex.continuous,
    "B": quilex.binary,
    "I": quilex.integer,
    "S": quilex.semicontinuous,
    "R": quilex.semiinteger,
    "P": quilex.partiallyinteger,
}


def state(model):
    """A `quilex.problem` that holds the model, and its variables."""
    problem = quilex.problem()
    problem.controls.outputlog = 0
    x = [_variable(column) for column in model.columns]
    problem.addVariable(x)
    for row in model.rows:
        constraint = _constraint(row, x)
        if row.when:
            problem.addIndicator(x[row.when[0]] == row.when[1], constraint)
        else:
            problem.addConstraint(constraint)
    for kind, members, weights in model.sets:
        problem.addSOS(quilex.sos([x[k] for k in members], list(weights), type=kind))
    objective = quilex.Sum(c.cost * v for c, v in zip(model.columns, x))
    objective = objective + _products(model.products, x) + model.constant
    sense = quilex.maximize if model.maximize else quilex.minimize
    problem.setObjective(objective, sense=sense)
    return problem, x


def _variable(column):
    bounds = {"lb": _finite(column.lower), "ub": _finite(column.upper)}
    if column.kind in "SRP":
        bounds["threshold"] = column.threshold
    return quilex.var(vartype=VARIABLE_TYPES[column.kind], **bounds)


def _finite(value):
    return math.copysign(quilex.infinity, value) if math.isinf(value) else value


def _constraint(row, x):
    body = quilex.Sum(a * v for a, v in zip(row.coefficients, x)) + _products(row.products, x)
    if row.lower == row.upper:
        return body == row.lower
    if math.isinf(row.lower):
        return body <= row.upper
    if math.isinf(row.upper):
        return body >= row.lower
    return quilex.constraint(body=body, lb=row.lower, ub=row.upper)


def _products(matrix, x):
    return quilex.Sum(
        (1 if i == j else 2) * matrix[i][j] * x[i] * x[j]
        for i in range(len(matrix))
        for j in range(i, len(matrix))
        if matrix[i][j]
    )


def fault(model):
    """What is wrong with the engine's answer for a model, as a text; None when nothing is."""
    expected = reference.solve(model)
    try:
        problem, x = state(model)
        problem.solve()
        status = problem.getProbStatusString()
    except RuntimeError as error:
        return f"error: {error}"
    names = {"optimal": "optimal", "infeasible": "infeas", "unbounded": "unbounded"}
    if status not in (f"lp_{names[expected.status]}", f"mip_{names[expected.status]}"):
        return f"status: {status}, expected {expected}"
    if expected.status != "optimal":
        return None
    value, point = problem.getObjVal(), problem.getSolution(x)
    if abs(value - expected.value) > TOLERANCE * max(1.0, abs(expected.value)):
        return f"value: {value!r}, expected {expected}"
    if abs(_value(model, point) - value) > TOLERANCE * max(1.0, abs(value)):
        return f"objective: {value!r}, but {_value(model, point)!r} at the point {point}"
    broken = list(_broken(model, point))
    return f"point: {point} breaks {broken}" if broken else None


def _form(matrix, x):
    return sum(q * a * b for row, a in zip(matrix, x) for q, b in zip(row, x))


def _value(model, x):
    linear = sum(column.cost * v for column, v in zip(model.columns, x))
    return model.constant + linear + _form(model.products, x)


def _broken(model, x):
    """The parts of the model that a point violates."""
    for k, (column, v) in enumerate(zip(model.columns, x)):
        near = any(
            lower - TOLERANCE <= v <= upper + TOLERANCE
            for lower, upper in reference.intervals(column)
        )
        if not near:
            yield f"column {k}: {column}"
    for row in model.rows:
        if row.when and round(x[row.when[0]]) != row.when[1]:
            continue
        activity = sum(a * v for a, v in zip(row.coefficients, x)) + _form(row.products, x)
        room = TOLERANCE * max(1.0, abs(activity))
        if not row.lower - room <= activity <= row.upper + room:
            yield f"row {row}: {activity}"
    for kind, members, weights in model.sets:
        used = [
            n for n, (_, k) in enumerate(sorted(zip(weights, members))) if abs(x[k]) > TOLERANCE
        ]
        if len(used) > kind or (len(used) == 2 and used[1] - used[0] != 1):
            yield f"set {kind} {members}: {x}"
