"""First derivatives of formulas, read as the reduced costs at the start, against other programs."""

import random

import pytest

import quilex

# Not in the small environment of the oldest numpy.
casadi = pytest.importorskip("casadi")
mpmath = pytest.importorskip("mpmath")

SEEDS = range(60)

# Points well inside the domain and near its edges.
ANYWHERE = [-40.0, -3.7, -1e-9, 0.0, 1e-12, 0.3, 1.0, 25.0]
POSITIVE = [1e-300, 1e-9, 0.2, 1.0, 3.5, 1e12]
INSIDE = [-1 + 1e-12, -0.7, 0.0, 1e-9, 0.999999]
FUNCTIONS = {
    "sin": ANYWHERE,
    "cos": ANYWHERE,
    "tan": [-1.57, -0.4, 0.0, 1.2, 1.5707],
    "asin": INSIDE,
    "acos": INSIDE,
    "atan": [*ANYWHERE, 1e9],
    "exp": [-700.0, -2.0, 0.0, 1e-9, 3.0, 700.0],
    "log": POSITIVE,
    "log10": POSITIVE,
    "sqrt": POSITIVE,
    "erf": [-6.0, -1.0, 0.0, 1e-8, 2.0, 5.0],
    "erfc": [-3.0, 0.0, 0.5, 4.0, 10.0],
}
POWERS = [
    *((2, x) for x in (-3.0, 0.0, 1e-200, 5.0)),
    *((3, x) for x in (-2.0, 0.0, 4.0)),
    *((-2, x) for x in (-1.5, 1e-3, 9.0)),
    *((0.5, x) for x in (1e-8, 2.0)),
    *((2.7, x) for x in (1e-3, 1.0, 30.0)),
    *((-1.3, x) for x in (0.5, 1e4)),
]


def gradient(build, point):
    """The gradient that the engine has of build(variables) at a point."""
    p = quilex.problem()
    xs = [quilex.var(lb=-quilex.infinity) for _ in point]
    p.addVariable(xs)
    p.setObjective(build(xs))
    p.setStart(xs, list(point))
    p.setControl("nlpiterlimit", 0)
    p.solve()
    assert p.getSolution(xs) == list(point)
    return p.getRCost(xs)


@pytest.mark.parametrize("name", FUNCTIONS)
def test_functions(name):
    function = getattr(quilex, name)
    exact = getattr(mpmath, name)
    with mpmath.workdps(60):
        for x in FUNCTIONS[name]:
            # In units of the distance to zero, so that a step never leaves the domain.
            step = mpmath.mpf(10) ** -25 * (abs(mpmath.mpf(x)) or 1)
            wanted = (exact(x + step) - exact(x - step)) / (2 * step)
            (found,) = gradient(lambda v: function(v[0]), [x])
            assert found == pytest.approx(float(wanted), rel=1e-9, abs=1e-300), (name, x)


@pytest.mark.parametrize(("power", "x"), POWERS)
def test_powers(power, x):
    with mpmath.workdps(60):
        wanted = float(power * mpmath.power(x, mpmath.mpf(power) - 1))
    for build in (
        lambda v: v[0] ** power + quilex.exp(v[1]),
        lambda v: quilex.exp(v[1]) + v[0] ** power,
    ):
        assert gradient(build, [x, 0.0])[0] == pytest.approx(wanted, rel=1e-12, abs=1e-300)


def random_tree(rng, variables, functions, depth):
    """A tree that is defined everywhere, the same for every seed whatever it is made of.

    Products have a nonlinear factor: that of a linear term and an expression is refused."""
    if depth == 0:
        return rng.choice(variables) if rng.random() < 0.8 else round(rng.uniform(-2, 2), 2)
    kind = rng.randrange(8)
    a = random_tree(rng, variables, functions, depth - 1)
    b = random_tree(rng, variables, functions, depth - 1)
    if kind == 0:
        return a + b
    if kind == 1:
        return a - 2 * b
    if kind == 2:
        return a * functions.sin(b)
    if kind == 3:
        return a / (1.5 + b**2)
    if kind == 4:
        return functions.sin(a) + functions.cos(b)
    if kind == 5:
        return functions.sqrt(2 + a * a) * b
    if kind == 6:
        return functions.log(3 + a**2) - functions.atan(b)
    return functions.exp(-(a**2)) * b


@pytest.mark.parametrize("seed", SEEDS)
def test_random_trees(seed):
    point = [random.Random(seed + 0.5).uniform(-2, 2) for _ in range(4)]
    x = casadi.SX.sym("x", 4)
    symbols = [x[k] for k in range(4)]
    theirs = random_tree(random.Random(seed), symbols, casadi, 5) + casadi.exp(x[0])
    slopes = casadi.Function("slopes", [x], [casadi.gradient(theirs, x)])
    found = gradient(
        lambda v: random_tree(random.Random(seed), v, quilex, 5) + quilex.exp(v[0]), point
    )
    assert found == pytest.approx(slopes(point).full().ravel().tolist(), rel=1e-9, abs=1e-9)
