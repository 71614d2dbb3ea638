"""Solves every published instance through the modelling layer and prints one table.

    python verify.py [--kinds lp,mip,qp,nlp] [--only NAMES] [--methods all|default] [--time-limit N]

Each solve runs in a process of its own, ours and the yardstick's in turn: HiGHS alone (highspy,
same gap, one thread) for LPs and MIPs, PIQP alone for QPs. LPs by all methods have one line each,
with our milliseconds by every method and HiGHS' own in brackets; "simplex" beside those of another
method says that simplex iterations ended it. The last lines compare the geometric means.
"""

import argparse
import json
import math
import subprocess
import sys
from dataclasses import dataclass, field

from catalogue import HERE, KINDS, REFUSED, UNFINISHED, published, relative_difference

TOLERANCE = 1e-6
# method -> (flags of our solve, options of HiGHS)
METHODS = {
    "default": ("", ""),
    "dual": ("d", "solver=simplex,simplex_strategy=1"),
    "primal": ("p", "solver=simplex,simplex_strategy=4"),
    "interior": ("b", "solver=ipm"),
    "first-order": ("n", "solver=pdlp"),
}
# Seconds for the first-order method alone.
FIRST_ORDER_LIMIT = 5.0
YARDSTICK = {"lp": "highs", "mip": "highs", "qp": "piqp"}
# Allowed: factor times the yardstick's own seconds plus a constant, as a geometric mean.
BUDGET = {"lp": (1.05, 0.005), "mip": (1.05, 0.005), "qp": (2.0, 0.002)}


@dataclass
class Line:
    """One line of the table."""

    kind: str
    name: str
    method: str
    optimum: float
    ours: dict
    theirs: dict
    verdict: str = field(init=False)

    def __post_init__(self):
        self.verdict = self._judge()

    @property
    def difference(self):
        objective = self.ours.get("objective")
        return math.nan if objective is None else relative_difference(objective, self.optimum)

    def _judge(self):
        if "error" in self.ours:
            return "refused" if self.name in REFUSED else self.ours["error"]
        if self.ours["objective"] is None:
            return "unfinished" if self.name in UNFINISHED else self.ours["status"]
        if not self.difference <= TOLERANCE:
            return "WRONG"
        if relative_difference(self.ours["at_point"], self.optimum) > TOLERANCE:
            return "WRONG AT POINT"
        return "VIOLATED " + self.ours["violations"][0] if self.ours["violations"] else "ok"

    def budget_ratio(self):
        """Our seconds over what is allowed, or None where one of the two did not solve it."""
        if self.verdict != "ok" or "seconds" not in self.theirs:
            return None
        if relative_difference(self.theirs["objective"], self.optimum) > 1e-4:
            return None
        factor, constant = BUDGET[self.kind]
        return self.ours["seconds"] / (factor * self.theirs["seconds"] + constant)

    @property
    def by_simplex(self):
        """Whether the first-order method was asked and simplex gave the answer."""
        iterations = self.ours.get("iterations", {})
        return self.method == "first-order" and iterations.get("simplex", 0) > 0

    def cell(self):
        """Its place in the line of an instance: milliseconds, or what went wrong."""
        if self.verdict != "ok":
            return self.verdict
        theirs = f"{self.theirs['seconds'] * 1e3:.1f}" if "seconds" in self.theirs else "-"
        if self.theirs.get("objective") is None:
            theirs = "-"
        return f"{self.ours['seconds'] * 1e3:.1f} ({theirs})" + " simplex" * self.by_simplex

    def __str__(self):
        objective, seconds = self.ours.get("objective"), self.ours.get("seconds")
        cells = [
            f"{self.kind}/{self.name}",
            self.method,
            f"{self.optimum:.9g}",
            "" if objective is None else f"{objective:.9g}",
            "" if objective is None else f"{self.difference:.1e}",
            "" if seconds is None else f"{seconds * 1e3:.2f}",
            f"{self.theirs['seconds'] * 1e3:.2f}" if "seconds" in self.theirs else "",
            self.verdict,
        ]
        return "| " + " | ".join(cells) + " |"


def run(solver, instance, method, time_limit):
    """One child process; its report, or {"error": the last line of its complaint}."""
    command = [sys.executable, str(HERE / "solve_one.py"), solver, instance.kind, instance.name]
    try:
        child = subprocess.run(
            [*command, method, str(time_limit)],
            capture_output=True,
            check=False,
            text=True,
            timeout=6 * time_limit + 30,
            cwd=HERE,
        )
    except subprocess.TimeoutExpired:
        return {"error": "no answer within the time limit"}
    for line in child.stdout.splitlines():
        if line.startswith("RESULT "):
            return json.loads(line[len("RESULT ") :])
    last = (child.stderr.strip().splitlines() or [f"ended with status {child.returncode}"])[-1]
    return {"error": last[:120].replace("|", "/")}


def solved(kind, instance, method, options):
    """The line of one instance by one method."""
    flags, highs_options = METHODS[method]
    limit = FIRST_ORDER_LIMIT if method == "first-order" else options.time_limit
    ours = run("quilex", instance, flags, options.time_limit)
    theirs = run(YARDSTICK[kind], instance, highs_options, limit)
    return Line(kind, instance.name, method, instance.optimum, ours, theirs)


def print_table(kind, instances, options):
    """One line per instance and method; returns them."""
    every = kind == "lp" and options.methods == "all"
    columns = list(METHODS) if every else ["ours", "rel. diff.", "ms", "yardstick ms", "verdict"]
    heads = ["instance", *([] if every else ["method"]), "optimum", *columns]
    print("| " + " | ".join(heads) + " |", "|---" * len(heads) + "|", sep="\n")
    table = []
    for instance in instances:
        for method in METHODS if every else ["default"]:
            table.append(solved(kind, instance, method, options))
            if not every:
                print(table[-1], flush=True)
        if every:
            cells = [line.cell() for line in table[-len(METHODS) :]]
            print(f"| lp/{instance.name} | {instance.optimum:.9g} |", " | ".join(cells), "|")
            sys.stdout.flush()
    print()
    return table


def summary(table):
    """The geometric means per kind and method, and how many instances they cover."""
    for kind, method in dict.fromkeys((line.kind, line.method) for line in table):
        rows = [line for line in table if (line.kind, line.method) == (kind, method)]
        ratios = [r for r in (line.budget_ratio() for line in rows) if r is not None]
        good = sum(line.verdict == "ok" for line in rows)
        text = f"{kind} {method}: {good} of {len(rows)} agree with the published optimum"
        if ended := sum(line.by_simplex for line in rows):
            text += f", {ended} of them by simplex in the end"
        if ratios:
            mean = math.exp(sum(map(math.log, ratios)) / len(ratios))
            factor, constant = BUDGET[kind]
            text += (
                f"; time / ({factor:g} x {YARDSTICK[kind]} + {constant * 1e3:g} ms) ="
                f" {mean:.3f} (geometric mean of {len(ratios)}, at most 1)"
            )
        yield text


def nonlinear_lines(only):
    """What verify_nonlinear.py prints, which solves in one process of its own."""
    command = [sys.executable, str(HERE / "verify_nonlinear.py"), "--only", only]
    with subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as child:
        yield from (line.rstrip() for line in child.stdout)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--kinds", default=",".join((*KINDS, "nlp")))
    parser.add_argument("--only", default="", help="comma-separated instance names")
    parser.add_argument("--methods", choices=("all", "default"), default="all")
    parser.add_argument("--time-limit", type=float, default=120.0, help="seconds of one solve")
    options = parser.parse_args()
    table = []
    kinds = options.kinds.split(",")
    if "nlp" in kinds:
        print(*nonlinear_lines(options.only), sep="\n", flush=True)
    for kind in [kind for kind in kinds if kind != "nlp"]:
        wanted = options.only.split(",") if options.only else None
        instances = [one for one in published(kind) if wanted is None or one.name in wanted]
        if instances:
            table += print_table(kind, instances, options)
    print(*summary(table), sep="\n")
    return any(line.verdict not in ("ok", "refused", "unfinished") for line in table)


if __name__ == "__main__":
    sys.exit(main())
