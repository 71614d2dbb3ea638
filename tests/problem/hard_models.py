"""Models that keep the solver busy for longer than a test waits."""

import random

import quilex


def market_split(rows=5, columns=40, seed=5):
    """A market split problem: finding any good point is easy, the best one takes hours."""
    generator = random.Random(seed)
    problem = quilex.problem()
    problem.controls.outputlog = 0
    problem.controls.timelimit = 60.0
    x = [quilex.var(vartype=quilex.binary) for _ in range(columns)]
    slacks = [(quilex.var(), quilex.var()) for _ in range(rows)]
    problem.addVariable(x, slacks)
    for over, under in slacks:
        weights = [generator.randrange(100) for _ in x]
        activity = quilex.Sum(a * v for a, v in zip(weights, x))
        problem.addConstraint(activity + over - under == sum(weights) // 2)
    problem.setObjective(quilex.Sum(v for pair in slacks for v in pair))
    return problem, x, slacks


def is_feasible(problem, x, slacks, tolerance=1e-6):
    """Whether the point of the last solve is one of the model (checked from the bodies)."""
    values = problem.getSolution(x)
    if any(min(abs(v), abs(v - 1)) > tolerance for v in values):
        return False
    if any(v < -tolerance for v in problem.getSolution(slacks)):
        return False
    return all(abs(s) <= 1e-4 for s in problem.getSlack())
