"""User functions: their tokens, how they are registered, and the library's calls of them."""

import fractions
import gc
import math
import signal
import threading
import weakref

import numpy
import pytest

import quilex
import quilexlib

MARKER, END = (22, 0.0), (0, 0.0)


@pytest.fixture
def x(p):
    variables = [quilex.var(lb=-10, ub=10) for _ in range(3)]
    p.addVariable(variables)
    return variables


def call(number):
    return (11, float(number))


def columns(*indices):
    return [(10, float(index)) for index in indices]


def tokens_of(p, body):
    [(_, _, tokens)] = quilexlib._formula_tokens(p, body)
    return tokens


def value_of(p, body, point=(0.5, 2.0, -3.0)):
    """The body's only coefficient, as the library evaluates it."""
    return quilexlib._formula_value(p, tokens_of(p, body), list(point))


def test_tokens(p, x):
    def f(*values):
        return sum(values)

    def g(*values):
        return math.prod(values)

    one = columns(0)
    assert tokens_of(p, quilex.user(f, x[0])) == [*one, call(1), END]
    assert tokens_of(p, quilex.user(f)) == [MARKER, call(1), END]
    assert tokens_of(p, quilex.user(g, x[0], x[1])) == [MARKER, *columns(0, 1), call(2), END]
    # The same callable has the same number, whatever it is called with.
    assert tokens_of(p, quilex.sin(quilex.user(f, x[2]))) == [
        MARKER, *columns(2), call(1), (12, 27.0), END,
    ]  # fmt: skip
    other = quilex.problem()
    other.addVariable(x)
    assert tokens_of(other, quilex.user(g, x[0])) == [*one, call(1), END]


class Scaled:
    def __init__(self, factor):
        self.factor = factor

    def __call__(self, value):
        return self.factor * value

    def method(self, value):
        return self.factor + value


def test_one_number_for_equal_callables(p, x):
    scaled = Scaled(3.0)
    body = quilex.user(scaled.method, x[0]) * quilex.user(scaled.method, x[1])
    assert [value for type, value in tokens_of(p, body) if type == 11] == [1.0, 1.0]
    assert value_of(p, quilex.user(scaled, x[1])) == 6.0
    with pytest.raises(TypeError, match="unhashable"):
        p.addConstraint(
            quilex.user(type("F", (), {"__call__": len, "__hash__": None})(), x[0]) <= 1
        )
    assert value_of(p, quilex.user(scaled.method, x[1])) == 5.0
    assert p.attributes.rows == 0


def test_values(p, x):
    def f(*values):
        assert all(type(value) is float for value in values)
        return sum(k * value for k, value in enumerate(values, 1))

    a, b, c = 0.5, 2.0, -3.0
    user = quilex.user
    cases = [
        (user(f, x[0]), a),
        (user(f, x[0], x[1], x[2]), a + 2 * b + 3 * c),
        (user(f, 2 * x[0] + 1, x[1] * x[2], 7), 2 * a + 1 + 2 * b * c + 21),
        (quilex.exp(user(f, x[0]) + x[1]), math.exp(a + b)),
        (user(f, x[0], user(math.exp, x[1])), a + 2 * math.exp(b)),
        (user(math.exp, user(math.hypot, x[0], x[1])), math.exp(math.hypot(a, b))),
        (user(math.hypot, x[0], quilex.max(x[1], x[2])), math.hypot(a, b)),
        (quilex.max(x[0], user(math.exp, x[1])), math.exp(b)),
        (quilex.sin(user(lambda: 0.25)), math.sin(0.25)),
        (x[1] / user(f, x[0]), b / a),
    ]
    for body, expected in cases:
        assert value_of(p, body) == pytest.approx(expected, rel=1e-15)


def test_rows_are_judged_with_functions(p, x):
    p.addConstraint(quilex.user(math.hypot, x[0], x[1]) + x[2] <= 4)
    slack = []
    p.calcslacks([3.0, 4.0, 1.0], slack)
    assert slack == [-2.0]

    def fails(*_):
        raise KeyError("cause")

    p.addConstraint(quilex.user(fails, x[0]) <= 4)
    with pytest.raises(RuntimeError, match="Problem encountered in user function") as info:
        p.calcslacks([3.0, 4.0, 1.0], slack)
    assert isinstance(info.value.__cause__, KeyError)


RESULTS = [
    (-3.0, -3.0),
    (3, 3.0),
    (True, 1.0),
    (fractions.Fraction(1, 4), 0.25),
    (numpy.float32(0.5), 0.5),
    (numpy.int64(-3), -3.0),
    ((2.5,), 2.5),
    ((-3.0, 1.0), -3.0),
    ((1.5, "not asked for"), 1.5),
    (math.nan, math.nan),
    ((math.nan, 0.0), math.nan),
    (math.inf, math.inf),
]


@pytest.mark.parametrize(("result", "value"), RESULTS, ids=[repr(item[0]) for item in RESULTS])
def test_results(p, x, result, value):
    assert value_of(p, quilex.user(lambda _: result, x[0])) == pytest.approx(value, nan_ok=True)


REFUSED = [
    (None, "must return a number, or a tuple of the value and the derivatives, not NoneType"),
    ("1", "not str"),
    ([1.0], "not list"),
    ((), "a user function of 1 arguments must return a number or a tuple of 1 .. 2, not of 0"),
    ((1.0, 2.0, 3.0), "not of 3"),
    (("1", 2.0), "not str"),
]


@pytest.mark.parametrize(("result", "message"), REFUSED, ids=[repr(item[0]) for item in REFUSED])
def test_refused_results(p, x, result, message):
    with pytest.raises(RuntimeError, match=r"^Problem encountered in user function$") as info:
        value_of(p, quilex.user(lambda _: result, x[0]))
    assert isinstance(info.value.__cause__, TypeError)
    assert message in str(info.value.__cause__).replace("A user", "a user")


def test_exceptions(p, x):
    calls = []

    def f(value):
        calls.append(value)
        return 1 / value

    body = quilex.user(f, x[0]) + 0
    with pytest.raises(RuntimeError, match="Problem encountered in user function") as info:
        value_of(p, body, (0.0, 0.0, 0.0))
    assert isinstance(info.value.__cause__, ZeroDivisionError)
    assert info.value.__cause__.__traceback__.tb_frame.f_code.co_name == "f"
    # No Python code runs after the first failure, and the problem goes on.
    calls.clear()
    with pytest.raises(RuntimeError):
        value_of(p, quilex.exp(body) * quilex.user(f, x[0]), (0.0, 0.0, 0.0))
    assert calls == [0.0]
    assert value_of(p, body) == 2.0

    def interrupted(value):
        raise KeyboardInterrupt

    with pytest.raises(KeyboardInterrupt):
        value_of(p, quilex.user(interrupted, x[0]))
    with pytest.raises(RuntimeError) as info:  # too few arguments
        value_of(p, quilex.user(math.hypot, x[0], x[1]) * quilex.user(math.atan2, x[0]))
    assert isinstance(info.value.__cause__, TypeError)


def test_a_function_may_solve_another_problem(p, x):
    def smallest(bound):
        q = quilex.problem()
        y = [quilex.var(vartype=quilex.integer) for _ in range(2)]
        q.addVariable(y)
        q.addConstraint(2 * y[0] + 2 * y[1] >= bound)
        q.setObjective(y[0] + 3 * y[1])
        q.solve()
        return q.getObjVal()

    assert value_of(p, quilex.user(smallest, x[1] + 3)) == 3.0


def test_problems_of_two_threads(x):
    wrong = []

    def work(factor):
        p = quilex.problem()
        p.addVariable(x)
        tokens = tokens_of(p, quilex.user(Scaled(factor), x[0]))
        for k in range(500):
            if quilexlib._formula_value(p, tokens, [float(k), 0.0, 0.0]) != factor * k:
                wrong.append((factor, k))

    threads = [threading.Thread(target=work, args=(factor,)) for factor in (2.0, 3.0)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert wrong == []


def test_functions_live_as_long_as_the_problem(p, x):
    function = Scaled(2.0)
    alive = weakref.ref(function)
    p.addConstraint(quilex.user(function, x[0]) <= 1)
    p.delConstraint(0)
    del function
    gc.collect()
    assert alive() is not None
    p = None
    # The fixture has the problem too: a cycle through a problem of its own.
    q = quilex.problem()
    q.addVariable(x)
    function = Scaled(2.0)
    function.problem = q
    dead = weakref.ref(function)
    q.addConstraint(quilex.user(function, x[0]) <= 1)
    del function, q
    gc.collect()
    assert dead() is None


def test_functions_with_varying_inputs(p, x):
    def f(*values):
        return sum(k * value for k, value in enumerate(values, 1))

    # The formula with one input is read before the other one comes.
    assert value_of(p, quilex.exp(quilex.user(f, x[0]))) == math.exp(0.5)
    assert value_of(p, quilex.exp(quilex.user(f, x[0], x[1]))) == math.exp(4.5)
    assert value_of(p, quilex.exp(quilex.user(f, x[0]))) == math.exp(0.5)
    assert value_of(p, quilex.user(f, x[0], quilex.sin(quilex.user(f, x[1])))) == pytest.approx(
        0.5 + 2 * math.sin(2.0)
    )


def circle(a, b):
    return a * a + b * b


def circle_with_derivatives(a, b):
    return a * a + b * b, 2 * a, 2 * b


def circle_with_one_derivative(a, b):
    return a * a + b * b, 2 * a


def largest_on_circle(function, solver=0):
    """Maximise a + 2 b where the function is at most 5: at (1, 2)."""
    p = quilex.problem()
    variables = [quilex.var(lb=0.1, ub=5) for _ in range(2)]
    p.addVariable(variables)
    p.addConstraint(quilex.user(function, *variables) <= 5)
    p.setObjective(variables[0] + 2 * variables[1], quilex.maximize)
    p.setControl("nlpsolver", solver)
    p.setStart(variables, [2, 0.5])
    p.solve()
    return p


@pytest.mark.parametrize("solver", [0, 1, 2])
@pytest.mark.parametrize(
    "function",
    [
        circle,
        circle_with_derivatives,
        circle_with_one_derivative,
        lambda a, b: (a * a + b * b, math.nan, 2 * b),
        lambda a, b: np_circle(a, b),
    ],
)
def test_solves(function, solver):
    p = largest_on_circle(function, solver)
    assert p.getProbStatus() == quilex.nlp_solution
    assert p.getSolution() == pytest.approx([1, 2], abs=1e-4)
    assert p.getObjVal() == pytest.approx(5, abs=1e-5)


def np_circle(a, b):
    return numpy.float64(a * a) + b * b


def test_a_function_with_derivatives_is_called_less():
    calls = {circle: 0, circle_with_derivatives: 0}

    def counting(function):
        def call(*values):
            calls[function] += 1
            return function(*values)

        return call

    for function in calls:
        largest_on_circle(counting(function))
    assert calls[circle_with_derivatives] * 2 < calls[circle]


@pytest.mark.parametrize("solver", [1, 2])
@pytest.mark.parametrize("good_calls", [0, 3, 10])
def test_an_exception_stops_the_solve(solver, good_calls):
    seen = []

    def fails(a, b):
        seen.append(a)
        if len(seen) > good_calls:
            raise KeyError("mine")
        return circle(a, b)

    with pytest.raises(RuntimeError, match=r"^Problem encountered in user function$") as info:
        largest_on_circle(fails, solver)
    assert repr(info.value.__cause__) == "KeyError('mine')"
    assert len(seen) == good_calls + 1


def test_a_problem_goes_on_after_an_exception(p, x):
    def root(value):
        return math.sqrt(value - limit)

    p.addConstraint(quilex.user(root, x[0]) >= 2)
    p.setObjective(x[0])
    limit = 100
    with pytest.raises(RuntimeError) as info:
        p.solve()
    assert isinstance(info.value.__cause__, ValueError)
    limit = 1
    p.setStart(x, 8)
    p.solve()
    assert p.getObjVal() == pytest.approx(5, abs=1e-5)


@pytest.mark.parametrize("solver", [1, 2])
def test_differences_beyond_the_domain_are_one_sided(solver):
    """The power has no value below 0, and raises there; the solve never goes there itself."""

    def power(value):
        return math.sqrt(value) ** 3

    p = quilex.problem()
    p.setControl("nlpsolver", solver)
    x = quilex.var(ub=5)
    p.addVariable(x)
    p.setObjective(quilex.user(power, x) + x)
    p.setStart(x, 0)
    p.solve()
    assert p.getSolution(x) == pytest.approx(0, abs=1e-6)


def test_a_function_may_solve_in_a_solve():
    def inner(a, b):
        q = quilex.problem()
        y = quilex.var(lb=-10)
        q.addVariable(y)
        q.addConstraint(y >= a * a + b * b)
        q.setObjective(y)
        q.solve()
        return q.getObjVal()

    assert largest_on_circle(inner).getObjVal() == pytest.approx(5, abs=1e-4)


def test_an_own_function_that_cannot_be_evaluated_is_said():
    p = largest_on_circle(lambda a, b: math.nan)
    assert p.getProbStatusString() == "nlp_unfinished"


def test_two_solves_at_a_time():
    results = []

    def work(radius):
        def scaled(a, b):
            return circle(a, b) * 5 / radius

        for _ in range(3):
            results.append((radius, largest_on_circle(scaled).getObjVal()))

    threads = [threading.Thread(target=work, args=(radius,)) for radius in (5, 20)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert len(results) == 6
    for radius, value in results:
        assert value == pytest.approx(math.sqrt(5 * radius), rel=1e-5)


def test_a_solved_problem_can_be_changed(p, x):
    constraint = quilex.user(circle, x[0], x[1]) + x[2] ** 4 <= 2
    p.addConstraint(constraint)
    p.setObjective(-x[0] - x[1] - x[2])
    p.solve()
    best = p.getObjVal()
    p.addConstraint(quilex.exp(x[0]) <= 1)
    p.chgbounds([x[2]], ["U"], [0.5])
    p.solve()
    assert p.getSolution(x[0]) <= 1e-6
    assert p.getObjVal() > best + 0.5
    p.delConstraint(1)
    p.chgbounds([x[2]], ["U"], [10])
    p.solve()
    assert p.getObjVal() == pytest.approx(best, abs=1e-5)
    p.delConstraint(constraint)
    p.setObjective(x[0], quilex.maximize)
    p.solve()
    assert p.getProbStatusString() == "lp_optimal"
    assert p.getObjVal() == 10


def test_ctrl_c_in_a_function(interruptible):
    def interrupted(a, b):
        signal.raise_signal(signal.SIGINT)
        return circle(a, b)

    with pytest.raises(KeyboardInterrupt):
        largest_on_circle(interrupted)
