"""Nonlinear problems solved: statuses, points, duals, refusals, limits, logs."""

import math

import pytest

import quilex
from quilex import abs as qabs
from quilex import exp, log, sin, sqrt

METHODS = {"automatic": 0, "slp": 1, "interior": 2}


@pytest.fixture(params=METHODS)
def p(request):
    problem = quilex.problem()
    problem.setControl("nlpsolver", METHODS[request.param])
    return problem


def variables(problem, count=2, lb=-10.0, ub=10.0):
    made = [quilex.var(f"x{k}", lb=lb, ub=ub) for k in range(count)]
    problem.addVariable(made)
    return made


def solved(problem, objective, rows=(), sense=quilex.minimize):
    problem.addConstraint(*rows)
    problem.setObjective(objective, sense=sense)
    problem.solve()
    return problem.getProbStatusString()


def test_optimum_duals_and_slacks(p):
    """min x^3 + 2y, x^1.5 y >= 8: y = 8 x^-1.5, so x^4.5 = 8 and the multiplier is 2 x^-1.5."""
    x, y = variables(p, lb=0.1)
    row = x * y * sqrt(x) >= 8
    assert solved(p, x**3 + 2 * y, [row]) in ("nlp_solution", "nlp_globally_optimal")
    best = 8 ** (1 / 4.5)
    assert p.getSolution([x, y]) == pytest.approx([best, 8 * best**-1.5], rel=1e-6)
    assert p.getObjVal() == pytest.approx(best**3 + 16 * best**-1.5, rel=1e-7)
    assert p.getDual(row) == pytest.approx(2 * best**-1.5, rel=1e-5)
    assert p.getSlack(row) == pytest.approx(0, abs=1e-5)
    assert p.getRCost([x, y]) == pytest.approx([0, 0], abs=1e-5)


def test_a_maximisation_has_the_signs_of_its_sense(p):
    x, y = variables(p, lb=0)
    row = x**2 + y**4 <= 5
    solved(p, log(1 + x) + y, [row], quilex.maximize)
    a, b = p.getSolution([x, y])
    assert a**2 + b**4 == pytest.approx(5, rel=1e-6)
    # The gradient is the dual times the row's.
    assert 1 / (1 + a) == pytest.approx(p.getDual(row) * 2 * a, rel=1e-4)
    assert p.getDual(row) == pytest.approx(1 / (4 * b**3), rel=1e-4)


@pytest.mark.parametrize(
    ("objective", "lb", "ub", "at"),
    [
        (lambda x: exp(x), -2.0, 3.0, [-2.0]),
        (lambda x: (x - 1) ** 4, -5.0, 5.0, [1.0]),
        (lambda x: sin(x), 4.0, 5.5, [1.5 * math.pi]),
        (lambda x: 1e-8 * exp(x) + 1e-8 * exp(-x), -5.0, 4.0, [0.0]),
        (lambda x: 1e8 * (x - 0.5) ** 2 * exp(x - 0.5), 0.0, 1.0, [0.5]),
        (lambda x: qabs(x - 1.25) + x**3 / 1000, 0.0, 5.0, [1.25]),
    ],
)
def test_one_variable(p, objective, lb, ub, at):
    (x,) = variables(p, 1, lb, ub)
    status = solved(p, objective(x))
    assert status in ("nlp_solution", "nlp_globally_optimal")
    assert p.getSolution([x]) == pytest.approx(at, abs=2e-3)
    assert objective(p.getSolution(x)) == pytest.approx(p.getObjVal(), rel=1e-9, abs=1e-15)


def test_fixed_columns_and_constant_problems(p):
    x, y = variables(p)
    p.addConstraint(x == 2, y == 3)
    assert solved(p, exp(x) * y) in ("nlp_solution", "nlp_globally_optimal")
    assert p.getObjVal() == pytest.approx(3 * math.exp(2))


@pytest.mark.parametrize(
    ("rows", "status"),
    [
        (lambda x, y: [exp(x) <= -1], {"nlp_infeasible"}),
        (lambda x, y: [x + y >= 21, exp(x) <= 5], {"nlp_infeasible"}),
        (lambda x, y: [sin(x) + y**2 <= -1.5], {"nlp_infeasible", "nlp_locally_infeasible"}),
        (
            lambda x, y: [exp(x) + exp(y) <= 0.1, x + y >= 1],
            {"nlp_infeasible", "nlp_locally_infeasible"},
        ),
    ],
)
def test_infeasible(p, rows, status):
    x, y = variables(p)
    assert solved(p, x + y, rows(x, y)) in status


def test_unbounded(p):
    x, y = variables(p, lb=-quilex.infinity, ub=quilex.infinity)
    assert solved(p, x + exp(y)) == "nlp_unbounded"


def test_a_saturating_objective_is_not_unbounded(p):
    """It falls for ever and never below -1."""
    x, y = variables(p, lb=0, ub=quilex.infinity)
    assert solved(p, -x / (1 + x) + y**2) != "nlp_unbounded"


@pytest.mark.parametrize("vartype", [quilex.integer, quilex.binary, quilex.partiallyinteger])
def test_columns_that_are_not_continuous_are_refused_by_name(p, vartype):
    (x,) = variables(p, 1)
    n = quilex.var("n", vartype=vartype, ub=1, threshold=1)
    p.addVariable(n)
    p.setObjective(exp(x) + n)
    with pytest.raises(RuntimeError, match=r"column 1 \(n\)"):
        p.solve()


def test_undefined_where_solvers_begin(p):
    x, y = variables(p, lb=-3.0, ub=3.0)
    status = solved(p, x * x + y, [log(x) >= -1, log(y - 1) >= -2])
    assert status in ("nlp_solution", "nlp_globally_optimal")
    assert p.getObjVal() == pytest.approx(2 * math.exp(-2) + 1, abs=1e-5)


def test_limits_keep_the_point(p):
    xs = variables(p, 6, -2.0, 2.0)
    p.setObjective(quilex.Sum(100 * (b - a**2) ** 2 + (1 - a) ** 2 for a, b in zip(xs, xs[1:])))
    p.setControl("nlpiterlimit", 3)
    p.solve()
    assert p.getProbStatusString() == "nlp_unfinished"
    assert p.getAttrib("stopstatus") == quilex.stop_iterlimit
    assert len(p.getSolution(xs)) == 6
    p.setControl("nlpiterlimit", 3000)
    p.solve()
    assert p.getProbStatusString() == "nlp_solution"
    assert p.getObjVal() == pytest.approx(0, abs=1e-6)


def test_solved_again_after_changes(p):
    x, y = variables(p, lb=0.0)
    solved(p, exp(x) + exp(y), [x + y >= 2])
    assert p.getSolution([x, y]) == pytest.approx([1, 1], abs=1e-5)
    p.addConstraint(y >= 1.5)
    p.solve()
    assert p.getSolution([x, y]) == pytest.approx([0.5, 1.5], abs=1e-5)
    p.setObjective(-x - y)
    p.addConstraint(exp(x) <= 2)
    p.solve()
    assert p.getSolution([x, y]) == pytest.approx([math.log(2), 10], abs=1e-5)


def test_the_log_shows_iterations_and_why_it_stopped(p, capfd):
    p.setControl("outputlog", 1)
    x, y = variables(p, lb=0.0)
    solved(p, exp(x) + (y - 3) ** 4, [x + y >= 2])
    text = capfd.readouterr().out
    for part in ("infeasible  optimality", "Stopped after", "ptimal: objective"):
        assert part in text


GOOD = {"nlp_solution", "nlp_globally_optimal"}
# What each model must not be called wrongly: (objective, rows, sense, bounds, start, best value or
# None where it is unbounded).
TRAPS = {
    "extremum inside a power": (
        lambda x: quilex.min(x, 900) ** 3,
        lambda x: [],
        quilex.maximize,
        (-quilex.infinity, 822.0),
        1.0,
        822.0**3,
    ),
    "slow descent": (lambda x: -sqrt(x), lambda x: [], 1, (0.0, quilex.infinity), None, None),
    "slower descent": (lambda x: -log(5 + x), lambda x: [], 1, (0, 1e12), None, -math.log(1e12)),
    "row that always holds": (
        lambda x: exp(x),
        lambda x: [x * x >= 0],
        quilex.minimize,
        (-5.0, 5.0),
        1.0,
        math.exp(-5),
    ),
    "pole": (lambda x: log(qabs(x - 1)), lambda x: [], 1, (-5.0, 5.0), None, None),
    "pole at a bound": (lambda x: log(x), lambda x: [], 1, (0.0, 5.0), None, None),
    "kink that is a minimum": (lambda x: qabs(x), lambda x: [], -1, (-3.0, 3.0), None, 3.0),
}


@pytest.mark.parametrize("name", TRAPS)
def test_nothing_is_called_a_solution_that_is_none(p, name):
    objective, rows, sense, (lb, ub), start, best = TRAPS[name]
    (x,) = variables(p, 1, lb, ub)
    if start is not None:
        p.setStart(x, start)
    status = solved(p, objective(x), rows(x), sense)
    if best is None:
        assert status not in GOOD
    elif status in GOOD:
        assert p.getObjVal() == pytest.approx(best, rel=1e-5)
    else:
        assert status == "nlp_unfinished"


def test_duals_beside_an_extremum(p):
    x, y = variables(p, 2, -quilex.infinity, quilex.infinity)
    rows = [y >= 3, x >= 2]
    assert solved(p, quilex.max(x + y / 4, exp(x), 2 * y), rows) == "nlp_globally_optimal"
    assert p.getDual(rows) == pytest.approx([0, math.exp(2)], abs=1e-4)


def test_contradicting_linear_rows_of_free_columns_are_proved(p):
    x, y = variables(p, 2, -quilex.infinity, quilex.infinity)
    assert solved(p, exp(x), [x + y >= 1, x + y <= 0]) == "nlp_infeasible"
