"""Solves the published nonlinear problems by both local solvers and by automatic choice.

    python verify_nonlinear.py [--only NAMES] [--rounds 5] [--sets hs,scalable] [--largest]

One line per problem: for each method whether the published optimum was reached from the published
start (violation at most 1e-6 by own arithmetic, objective to 1e-6 relative or to the digits
of the publication, or better), iterations, function evaluations and milliseconds of the `solve`
call alone (least of the rounds, ours and casadi's Ipopt in turn), beside casadi's Ipopt.
"""

import argparse
import math
import sys
import time

from nonlinear_catalogue import (
    casadi_solver,
    hock_schittkowski,
    is_reached,
    scalable,
    state_in_quilex,
    violation,
)

METHODS = {"slp": 1, "interior": 2, "automatic": 0}
TOLERANCE = 1e-6


def solve_ours(problem, method):
    """One solve by a method: (milliseconds, status, objective, point, iterations, evaluations)."""
    model, variables = state_in_quilex(problem)
    model.setControl("nlpsolver", METHODS[method])
    model.setControl("timelimit", 60.0)
    begin = time.perf_counter()
    model.solve()
    taken = 1e3 * (time.perf_counter() - begin)
    found = model.getSolution(variables)
    counts = [int(model.getAttrib(name)) for name in ("nlpiterations", "nlpevaluations")]
    return (taken, model.getProbStatusString(), model.getObjVal(), found, *counts)


def solve_casadi(solver, arguments):
    """One solve: (milliseconds, objective, iterations)."""
    begin = time.perf_counter()
    answer = solver(**arguments)
    taken = 1e3 * (time.perf_counter() - begin)
    return taken, float(answer["f"]), int(solver.stats()["iter_count"])


def line_of(problem, optimum, digits, rounds):
    """The figures of one problem by every solver."""
    solver, arguments = casadi_solver(problem)
    figures = {method: [] for method in METHODS}
    theirs = []
    for _ in range(rounds):
        for method in METHODS:
            figures[method].append(solve_ours(problem, method))
        theirs.append(solve_casadi(solver, arguments))
    line = {}
    for method, runs in figures.items():
        _, status, objective, point, iterations, evaluations = runs[0]
        good = status in ("nlp_solution", "nlp_globally_optimal")
        good = good and violation(problem, point) <= TOLERANCE
        good = good and is_reached(problem, objective, optimum, digits)
        line[method] = (
            good,
            status,
            objective,
            iterations,
            evaluations,
            min(run[0] for run in runs),
        )
    sign = -1 if problem["sense"] == "max" else 1
    objective = sign * theirs[0][1]
    reached = is_reached(problem, objective, optimum, digits)
    line["casadi"] = (reached, "", objective, theirs[0][2], 0, min(run[0] for run in theirs))
    return line


def print_line(problem, optimum, line):
    cells = [f"{problem['name']}", f"{optimum:.9g}"]
    for method, (good, status, objective, iterations, evaluations, taken) in line.items():
        verdict = "" if good else f" {objective:.9g} {status.removeprefix('nlp_')}"
        counts = f"{iterations}" if method == "casadi" else f"{iterations}/{evaluations}"
        cells.append(f"{counts} {taken:.2f}{verdict}")
    print("| " + " | ".join(cells) + " |", flush=True)


def geometric_mean(values):
    return math.exp(sum(map(math.log, values)) / len(values)) if values else math.nan


def summary(name, lines):
    for method in (*METHODS, "casadi"):
        rows = [line[method] for line in lines]
        mean = geometric_mean([row[5] for row in rows])
        yield (
            f"{name} {method}: {sum(row[0] for row in rows)} of {len(rows)} at the published"
            f" optimum; {mean:.3f} ms (geometric mean of all)"
        )
    for method in METHODS:
        ratio = geometric_mean([line[method][5] / line["casadi"][5] for line in lines])
        own = geometric_mean([line[method][5] / line["interior"][5] for line in lines])
        yield f"{name} {method}: time / casadi {ratio:.3f}, / our interior point {own:.3f}"


def problems_of(name, largest):
    if name == "hs":
        return [(one, one["optimum"], TOLERANCE) for one in hock_schittkowski().values()]
    return [
        (problem, optimum, max(digits, TOLERANCE)) for problem, optimum, digits in scalable(largest)
    ]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--only", default="", help="comma-separated problem names")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--sets", default="hs,scalable")
    parser.add_argument("--largest", action="store_true", help="only the largest known sizes")
    options = parser.parse_args()
    for name in options.sets.split(","):
        print("| problem | optimum |", " | ".join((*METHODS, "casadi")), "|  (it/evaluations ms)")
        print("|---" * (3 + len(METHODS)) + "|")
        lines = []
        for problem, optimum, digits in problems_of(name, options.largest):
            if options.only and problem["name"] not in options.only.split(","):
                continue
            lines.append(line_of(problem, optimum, digits, options.rounds))
            print_line(problem, optimum, lines[-1])
        print(*summary(name, lines), sep="\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
