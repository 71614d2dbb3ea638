"""States an instance through the modelling layer, with ordinary operators."""

import math

import quilex

VARIABLE_TYPES = {
    "C": "continuous",
    "B": "binary",
    "I": "integer",
    "S": "semicontinuous",
    "R": "semiinteger",
}


def state(instance):
    """A `quilex.problem` that holds the instance, and its list of variables in column order."""
    problem = quilex.problem()
    x = [make_variable(column) for column in instance.columns]
    problem.addVariable(x)
    conditional = {row for _, _, row in instance.indicators}
    constraints = [make_constraint(row, x) for row in instance.rows]
    problem.addConstraint(c for k, c in enumerate(constraints) if k not in conditional)
    for column, value, row in instance.indicators:
        problem.addIndicator(x[column] == value, constraints[row])
    for kind, members in instance.sets:
        columns, weights = zip(*members)
        problem.addSOS(quilex.sos([x[j] for j in columns], list(weights), type=kind))
    problem.setObjective(
        make_objective(instance, x),
        sense=quilex.maximize if instance.maximize else quilex.minimize,
    )
    return problem, x


def make_variable(column):
    bounds = {"lb": bound(column.lower), "ub": bound(column.upper)}
    if column.kind in "SR":
        bounds["threshold"] = column.threshold
    return quilex.var(vartype=getattr(quilex, VARIABLE_TYPES[column.kind]), **bounds)


def bound(value):
    return math.copysign(quilex.infinity, value) if math.isinf(value) else value


def make_constraint(row, x):
    """The row as the comparison a user would write; a range needs the constructor."""
    body = quilex.Sum(a * x[j] for j, a in row.terms)
    if row.quadratic:
        body = body + quilex.Sum(q * x[i] * x[j] for i, j, q in row.quadratic)
    if not (row.terms or row.quadratic) or (math.isinf(row.lower) and math.isinf(row.upper)):
        return quilex.constraint(body=body, lb=bound(row.lower), ub=bound(row.upper))
    if row.lower == row.upper:
        return body == row.lower
    if math.isinf(row.lower):
        return body <= row.upper
    if math.isinf(row.upper):
        return body >= row.lower
    return quilex.constraint(body=body, lb=row.lower, ub=row.upper)


def make_objective(instance, x):
    terms = quilex.Sum(column.cost * v for column, v in zip(instance.columns, x) if column.cost)
    if instance.quadratic:
        terms = terms + quilex.Sum(q * x[i] * x[j] for i, j, q in instance.quadratic)
    return terms + instance.constant
