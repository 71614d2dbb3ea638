"""The published nonlinear problems in nlp/, and how to state them: for quilex and for casadi."""

import json
import math
import re
import sys
from functools import cache

from catalogue import HERE

sys.path.insert(0, str(HERE / "nlp"))
from scalable import KNOWN

FUNCTIONS = ("sin", "cos", "tan", "exp", "log", "sqrt", "abs")


@cache
def hock_schittkowski():
    """The 88 problems of nlp/hs.json by name."""
    text = (HERE / "nlp" / "hs.json").read_text(encoding="utf-8")
    return {problem["name"]: problem for problem in json.loads(text)["problems"]}


def scalable(largest_only=False):
    """(problem, optimum, relative tolerance of the publication) of the generators' known sizes."""
    largest = {generator: arguments for generator, arguments, *_ in KNOWN}
    for generator, arguments, optimum, digits, _ in KNOWN:
        if not largest_only or largest[generator] == arguments:
            yield generator(*arguments), optimum, digits


def python_text(expression):
    """Infix text as Python reads it."""
    return re.sub(r"\^", "**", expression)


def summands(expression):
    """The texts between the plus signs outside brackets: Python cannot nest thousands of sums."""
    depth, begin = 0, 0
    for place, letter in enumerate(expression):
        depth += (letter == "(") - (letter == ")")
        if depth == 0 and expression.startswith(" + ", place):
            yield expression[begin:place]
            begin = place + 3
    yield expression[begin:]


def compiled(expression, names, add=sum):
    """The expression with its variables' values taken from the mapping `names`."""
    parts = [
        eval(compile(python_text(part), "<expression>", "eval"), {}, names)
        for part in summands(expression)
    ]
    return parts[0] if len(parts) == 1 else add(parts)


def state_in_quilex(problem):
    """(quilex problem, variables), the published start set."""
    import quilex

    model = quilex.problem(problem["name"])
    infinite = quilex.infinity
    variables = [
        quilex.var(
            name=one["name"],
            lb=-infinite if one["lb"] is None else one["lb"],
            ub=infinite if one["ub"] is None else one["ub"],
        )
        for one in problem["variables"]
    ]
    model.addVariable(variables)
    names = {name: getattr(quilex, name) for name in FUNCTIONS}
    names |= {one["name"]: variable for one, variable in zip(problem["variables"], variables)}
    sense = quilex.maximize if problem["sense"] == "max" else quilex.minimize
    model.setObjective(compiled(problem["objective"], names, quilex.Sum), sense=sense)
    for row in problem["constraints"]:
        body = compiled(row["expr"], names, quilex.Sum)
        if row["lb"] is not None and row["lb"] == row["ub"]:
            model.addConstraint(body == row["lb"])
            continue
        if row["lb"] is not None:
            model.addConstraint(body >= row["lb"])
        if row["ub"] is not None:
            model.addConstraint(body <= row["ub"])
    if model.getAttrib("nlpcoefs") == 0:
        # Quadratic, and as that it would go to the solvers of convex programs: a fixed column with
        # a nonlinear row of its own, which presolve takes out, sends it to the local solvers.
        fixed = quilex.var("fixed", lb=0, ub=0)
        model.addVariable(fixed)
        model.addConstraint(quilex.exp(fixed) <= 2)
    model.setStart(variables, [one["start"] for one in problem["variables"]])
    return model, variables


def casadi_solver(problem, options=None):
    """(casadi's Ipopt solver, its arguments) from the published start."""
    import casadi

    x = casadi.SX.sym("x", len(problem["variables"]))
    names = {name: getattr(casadi, "fabs" if name == "abs" else name) for name in FUNCTIONS}
    names |= {one["name"]: x[k] for k, one in enumerate(problem["variables"])}
    sign = -1 if problem["sense"] == "max" else 1
    rows = [compiled(row["expr"], names) for row in problem["constraints"]]
    statement = {"x": x, "f": sign * compiled(problem["objective"], names)}
    if rows:
        statement["g"] = casadi.vertcat(*rows)

    def bounds(items, key, infinite):
        return [infinite if one[key] is None else one[key] for one in items]

    settings = {"ipopt": {"print_level": 0, "sb": "yes"} | (options or {}), "print_time": False}
    arguments = {
        "x0": [one["start"] for one in problem["variables"]],
        "lbx": bounds(problem["variables"], "lb", -math.inf),
        "ubx": bounds(problem["variables"], "ub", math.inf),
    }
    if rows:
        arguments["lbg"] = bounds(problem["constraints"], "lb", -math.inf)
        arguments["ubg"] = bounds(problem["constraints"], "ub", math.inf)
    return casadi.nlpsol("solver", "ipopt", statement, settings), arguments


def violation(problem, x):
    """Largest absolute violation of a bound or row at x, by Python's own arithmetic."""
    names = {name: getattr(math, name) for name in FUNCTIONS if name != "abs"} | {"abs": abs}
    names |= {one["name"]: value for one, value in zip(problem["variables"], x)}
    worst = 0.0
    items = [(one, value) for one, value in zip(problem["variables"], x)]
    items += [(row, compiled(row["expr"], names)) for row in problem["constraints"]]
    for one, value in items:
        if one["lb"] is not None:
            worst = max(worst, one["lb"] - value)
        if one["ub"] is not None:
            worst = max(worst, value - one["ub"])
    return worst


def is_reached(problem, objective, optimum, digits):
    """Whether an objective is the published one to `digits` relative, or better."""
    sign = -1 if problem["sense"] == "max" else 1
    return sign * (objective - optimum) <= digits * max(1.0, abs(optimum))
