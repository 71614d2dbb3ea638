"""Solving, statuses, and reading results in every form."""

import numpy as np
import pytest

import quilex


@pytest.fixture
def solved(p):
    """max 3x + 2y with two rows; the optimum (1, 3) has value 9 and two binding rows."""
    x, y = quilex.var("x"), quilex.var("y")
    p.addVariable(x, y)
    rows = [x + y <= 4, 3 * x + y <= 6, x - y <= 5]
    p.addConstraint(rows)
    p.setObjective(3 * x + 2 * y, sense=quilex.maximize)
    p.solve()
    return p, (x, y), rows


def test_an_optimal_lp(solved):
    p, _, _ = solved
    assert p.getProbStatus() == quilex.lp_optimal
    assert p.getProbStatusString() == "lp_optimal"
    assert p.getObjVal() == pytest.approx(9)
    assert p.getSolution() == pytest.approx([1, 3])
    assert p.getSlack() == pytest.approx([0, 0, 7])
    assert p.getDual() == pytest.approx([1.5, 0.5, 0])
    assert p.getRCost() == pytest.approx([0, 0])
    # Strong duality and complementary slackness, by hand.
    assert np.dot(p.getDual(), [4, 6, 5]) == pytest.approx(p.getObjVal())


FORMS = {
    "object": (lambda x, y: (y,), 3),
    "index": (lambda x, y: (1,), 3),
    "numpy index": (lambda x, y: (np.int64(1),), 3),
    "list": (lambda x, y: ([y, x, 1],), [3, 1, 3]),
    "nested": (lambda x, y: ([y, (x, [y])],), [3, 1, 3]),
    "arguments": (lambda x, y: (y, x), [3, 1]),
    "dict": (lambda x, y: ({"b": y, "a": [x, x]},), [3, 1, 1]),
    "generator": (lambda x, y: (v for v in (y, x)), [3, 1]),
    "array": (lambda x, y: (np.array([[y, x]], dtype=object),), [3, 1]),
    "empty": (lambda x, y: ([],), []),
}


@pytest.mark.parametrize("form", FORMS)
def test_forms_of_arguments(solved, form):
    p, (x, y), _ = solved
    make, expected = FORMS[form]
    arguments = make(x, y)
    arguments = arguments if isinstance(arguments, tuple) else (arguments,)
    result = p.getSolution(*arguments)
    assert type(result) is (list if isinstance(expected, list) else float)
    assert result == pytest.approx(expected)
    assert p.getSolution(*make(x, y)) is not None


WRONG = [
    ("text", "need index, variable, constraint, or SOS"),
    (1.5, "need index, variable, constraint, or SOS"),
    ([None], "need index, variable, constraint, or SOS"),
    (2, "out of range"),
    (-1, "out of range"),
    ([0, 10**30], "out of range|beyond the range"),
    (quilex.problem, "need index, variable, constraint, or SOS"),
]


@pytest.mark.parametrize("wrong, message", WRONG)
def test_wrong_arguments(solved, wrong, message):
    p, _, _ = solved
    for get in (p.getSolution, p.getRCost, p.getSolutionArray):
        with pytest.raises(RuntimeError, match=message):
            get([wrong] if get == p.getSolutionArray else wrong)
    for stranger in (quilex.var(), [quilex.var()], quilex.var() <= 1):
        with pytest.raises(RuntimeError, match="not in the problem"):
            p.getSolution(stranger)


def test_arrays_have_the_shape_of_their_argument(solved):
    p, (x, y), rows = solved
    for argument, expected in (
        (None, [1, 3]),
        (np.array([[y], [x]], dtype=object), [[3], [1]]),
        (np.array([[x, y]] * 3, dtype=object).T, [[1] * 3, [3] * 3]),
        (np.array(y, dtype=object), 3),
        (np.array([], dtype=object), []),
        (np.array([[1, 0], [0, 0]]), [[3, 1], [1, 1]]),
        (np.array([1, 0], dtype=np.int16)[::-1], [1, 3]),
        (np.array([1], dtype=">i4"), [3]),
        ([y, [x]], [3, 1]),
        ((v for v in (x, x)), [1, 1]),
    ):
        result = p.getSolutionArray(argument)
        assert result.dtype == np.float64
        assert result.shape == np.shape(expected)
        np.testing.assert_allclose(result, expected)
    np.testing.assert_allclose(p.getDualArray(np.array(rows, dtype=object)), [1.5, 0.5, 0])
    np.testing.assert_allclose(p.getSlackArray(rows), [0, 0, 7])
    np.testing.assert_allclose(p.getRCostArray(), [0, 0])
    for wrong in (np.array([0.5]), np.array(["x"]), np.array([None]), np.array([7])):
        with pytest.raises(RuntimeError):
            p.getSolutionArray(wrong)
    first = p.getSolutionArray()
    first[:] = 0
    assert p.getSolution() == pytest.approx([1, 3])


def test_every_way_to_a_value_gives_the_same_bits(p):
    # Equal values may be one float; values that are alike, as 0.0 and -0.0, may not.
    bounds = [0.0, -0.0, 1 / 3, 1.0, 2 / 3, 0.0] * 3 + [k / 7 for k in range(200)] * 2
    xs = [quilex.var(lb=b, ub=b) for b in bounds]
    p.addVariable(xs)
    p.solve()
    wanted = p.getSolutionArray()
    np.testing.assert_allclose(wanted, bounds)
    for values in ([p.getSolution(x) for x in xs], p.getSolution(), p.getSolution(xs)):
        assert np.array(values).tobytes() == wanted.tobytes()


GETTERS = ["getSolution", "getSlack", "getDual", "getRCost"]


@pytest.mark.parametrize("getter", GETTERS)
def test_before_any_solve(p, xs, getter):
    p.addConstraint(xs[0] <= 1)
    for call in (getattr(p, getter), getattr(p, getter + "Array"), p.getObjVal):
        with pytest.raises(RuntimeError, match="has not been solved"):
            call()
    assert p.getProbStatusString() == "lp_unstarted"


def test_results_follow_the_problem(solved):
    p, (x, y), _ = solved
    z = quilex.var(lb=2, ub=3)
    p.addVariable(z)
    assert p.getSolution([x, y]) == pytest.approx([1, 3])
    assert len(p.getSolution()) == 3
    p.setObjective(z - x, sense=quilex.maximize)
    p.solve()
    assert p.getSolution(z) == pytest.approx(3)
    assert p.getSolution(x) == pytest.approx(0)
    p.delVariable(y)
    p.solve()
    assert p.getSolution() == pytest.approx([0, 3])


def test_integer_problems_have_no_duals(p):
    x = quilex.var(ub=3.5, vartype=quilex.integer)
    p.addVariable(x)
    p.addConstraint(2 * x <= 5)
    p.setObjective(x, sense=quilex.maximize)
    p.solve()
    assert p.getProbStatusString() == "mip_optimal"
    assert (p.getSolution(x), p.getSlack(0), p.getObjVal()) == pytest.approx((2, 1, 2))
    with pytest.raises(RuntimeError, match="Cannot retrieve dual variables in a MIP"):
        p.getDual()
    with pytest.raises(RuntimeError, match="Cannot retrieve reduced cost in a MIP"):
        p.getRCost(x)


@pytest.mark.parametrize(
    "rows, vartype, status",
    [
        (lambda x: x <= -1, quilex.continuous, "lp_infeas"),
        (lambda x: x >= 1, quilex.continuous, "lp_unbounded"),
        (lambda x: x <= -1, quilex.integer, "mip_infeas"),
        (lambda x: x >= 1, quilex.integer, "mip_unbounded"),
    ],
)
def test_statuses_without_a_solution(p, rows, vartype, status):
    x = quilex.var(vartype=vartype)
    p.addVariable(x)
    p.addConstraint(rows(x))
    p.setObjective(x, sense=quilex.maximize)
    p.solve()
    assert p.getProbStatusString() == status
    assert p.getProbStatus() == getattr(quilex, status)


@pytest.mark.parametrize("flags", [None, "", "p", "d", "b", b"d"])
def test_flags(solved, flags):
    p, _, _ = solved
    p.solve(flags)
    p.solve(flags=flags)
    assert p.getObjVal() == pytest.approx(9)


@pytest.mark.parametrize("flags", [3, "é", "?"])
def test_wrong_flags(solved, flags):
    p, _, _ = solved
    with pytest.raises((RuntimeError, UnicodeEncodeError)):
        p.solve(flags)


@pytest.mark.parametrize(
    "quadratic, vartype", [(0, "continuous"), (1, "continuous"), (0, "integer")]
)
def test_unknown_flags_are_named_in_every_class(quadratic, vartype):
    p = quilex.problem()
    x = quilex.var(ub=3, vartype=getattr(quilex, vartype))
    p.addVariable(x)
    p.setObjective(quadratic * x * x - x)
    with pytest.raises(RuntimeError, match="flags contains 'z', must be of 'd'"):
        p.solve("zzz")


def test_a_cutoff_that_nothing_reaches_is_the_reason():
    p = quilex.problem()
    x = quilex.var(ub=3, vartype=quilex.integer)
    p.addVariable(x)
    p.setObjective(-x)
    p.controls.mipabscutoff = -3
    p.solve()
    assert p.getProbStatusString() == "mip_no_sol_found"
    assert p.attributes.stopstatus == quilex.stop_cutoff
    assert p.attributes.maxprimalinfeas == 0
    p.controls.mipabscutoff = -2.5
    p.solve()
    assert p.getProbStatusString() == "mip_optimal"
    assert p.attributes.stopstatus == 0


def _disc(p, x, y, side):
    p.addConstraint(x * x + y * y <= side)
    p.setObjective(x + y)


def _empty_row(p, x, y):
    row = x <= -1
    p.addConstraint(row, x * x + y * y <= 4)
    p.chgcoef(row, x, 0.0)
    p.setObjective(x)


QUADRATIC = {
    "point": (lambda p, x, y: _disc(p, x, y, 0), "lp_optimal", 0.0),
    "negative side": (lambda p, x, y: _disc(p, x, y, -1), "lp_infeas", None),
    "small disc": (lambda p, x, y: _disc(p, x, y, 1e-12), "lp_optimal", -(2**0.5) * 1e-6),
    "large disc": (lambda p, x, y: _disc(p, x, y, 1e12), "lp_optimal", -(2**0.5) * 1e6),
    "row without entries": (_empty_row, "lp_infeas", None),
}


@pytest.mark.parametrize("case", QUADRATIC)
def test_quadratic_rows_of_any_size(p, case):
    state, status, optimum = QUADRATIC[case]
    x, y = (quilex.var(lb=-quilex.infinity) for _ in range(2))
    p.addVariable(x, y)
    state(p, x, y)
    p.solve()
    assert p.getProbStatusString() == status
    if optimum is not None:
        assert p.getObjVal() == pytest.approx(optimum, rel=1e-6, abs=1e-9)
        assert sum(v * v for v in p.getSolution()) <= 0.5 * optimum**2 * (1 + 1e-6)


def test_the_iteration_limit_ends_a_quadratic_solve(p):
    x, y = (quilex.var(lb=-quilex.infinity) for _ in range(2))
    p.addVariable(x, y)
    _disc(p, x, y, 4)
    p.controls.lpiterlimit = 3
    p.solve()
    assert p.getProbStatusString() == "lp_unfinished"
    assert p.attributes.bariter == 3
    p.controls.lpiterlimit = 300
    p.solve()
    assert p.getProbStatusString() == "lp_optimal"
