"""Solves one published instance in this process and prints one line of JSON.

    python solve_one.py SOLVER KIND NAME [METHOD] [TIME LIMIT]

SOLVER is quilex, highs or piqp; METHOD is the flags of `solve` for quilex, a comma-separated list
of option=value for highs. The shortest of up to five solves of fresh problems counts; the whole
takes at most about 0.3 s beyond the first.
"""

import json
import sys
import time

from catalogue import find
from peers import solve_highs, solve_piqp
from point_check import objective_value, violations


def solve_quilex(instance, method="", time_limit=60.0):
    """(seconds of problem.solve, status, objective, point, iterations by method)"""
    from statement import state

    problem, variables = state(instance)
    problem.controls.threads = 1
    problem.controls.timelimit = time_limit
    problem.controls.outputlog = 0
    began = time.perf_counter()
    problem.solve(method)
    seconds = time.perf_counter() - began
    status = problem.getProbStatusString()
    solved = status in ("lp_optimal", "mip_optimal")
    point = problem.getSolution(variables) if solved else None
    counts = problem.attributes
    iterations = {
        "simplex": counts.simplexiter,
        "interior": counts.bariter,
        "first-order": counts.firstorderiter,
    }
    return seconds, status, problem.getObjVal() if solved else None, point, iterations


SOLVERS = {"quilex": solve_quilex, "highs": solve_highs, "piqp": solve_piqp}


def main(solver, kind, name, method="", time_limit="60"):
    instance = find(kind, name).read()
    times = []
    while len(times) < 5 and sum(times) < 0.3:
        seconds, status, objective, point, *rest = SOLVERS[solver](
            instance, method, float(time_limit)
        )
        times.append(seconds)
    report = {"seconds": min(times), "status": status, "objective": objective}
    if rest:
        report["iterations"] = rest[0]
    if point is not None and len(point) == len(instance.columns):
        report["at_point"] = objective_value(instance, point)
        report["violations"] = violations(instance, point)[:3]
    print("RESULT " + json.dumps(report), flush=True)


if __name__ == "__main__":
    main(*sys.argv[1:])
