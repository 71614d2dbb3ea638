"""Adding variables and constraints: nesting, order, messages, and what a failure leaves behind."""

import collections

import numpy as np
import pytest

import quilex


def nested(item, depth):
    for _ in range(depth):
        item = [item]
    return item


def shapes(items):
    """The same six items in many containers, all to be walked in order."""
    a, b, c, d, e, f = items
    array = np.array(items, dtype=object)
    yield "arguments", tuple(items)
    yield "list", (items,)
    yield "tuple in list", ([a, (b, c), [[d]], (e, [f])],)
    yield "generator", ((x for x in items),)
    yield "generator of lists", (([x] for x in items),)
    yield "dict", (dict(enumerate(items)),)
    yield "view of a dict", (dict(enumerate(items)).values(),)
    yield "array", (array,)
    yield "matrix", (array.reshape(2, 3),)
    yield "transposed", (np.ascontiguousarray(array.reshape(2, 3).T).T,)
    yield "every second", (np.array([[x, 0] for x in items], dtype=object).ravel()[::2],)
    yield "array without dimensions", (np.array(a, dtype=object), [b, c], iter((d, e)), f)
    yield "deque", (collections.deque(items),)


SHAPES = [name for name, _ in shapes(range(6))]


@pytest.mark.parametrize("shape", SHAPES)
def test_objects_are_walked_in_order(p, consistent, shape):
    variables = [quilex.var(ub=10) for _ in range(6)]
    p.addVariable(*dict(shapes(variables))[shape])
    assert [v.name for v in p.getVariable()] == [v.name for v in variables]
    rows = [v <= k for k, v in enumerate(variables)]
    p.addConstraint(*dict(shapes(rows))[shape])
    assert [r.name for r in p.getConstraint()] == [r.name for r in rows]
    assert consistent()


def test_nothing_to_add_changes_nothing(p):
    for nothing in ((), ([],), ({},), ((x for x in ()),), (np.array([], dtype=object),)):
        assert p.addVariable(*nothing) is None
        assert p.addConstraint(*nothing) is None
        assert p.addSOS(*nothing) is None
        assert p.addIndicator() is None
    assert p.attributes.cols == p.attributes.rows == 0


def test_depth_of_nesting(p):
    p.addVariable(nested(quilex.var(), 32))
    with pytest.raises(RuntimeError, match=r"Maximum recursion \(inclusion\) level reached"):
        p.addVariable(nested(quilex.var(), 33))
    x = p.getVariable(0)
    p.addConstraint(nested(x <= 1, 31))
    with pytest.raises(RuntimeError, match=r"Maximum recursion \(inclusion\) level reached"):
        p.addConstraint(nested(x <= 1, 32))
    deep = np.empty((1,) * 32, dtype=object)
    deep[(0,) * 32] = quilex.var()
    p.addVariable(deep)
    with pytest.raises(RuntimeError, match="Maximum recursion"):
        p.addVariable([deep])


BAD_VARIABLES = {
    "a number": (lambda: 3, "Incorrect objects added as variables to problem"),
    "a str": (lambda: "xy", "Incorrect objects added as variables to problem"),
    "a constraint": (lambda: quilex.var() <= 1, "Incorrect objects added as variables to problem"),
    "unknown type": (
        lambda: quilex.var(vartype=9),
        r"Incorrect variable type passed to addVariable\(\)",
    ),
    "threshold": (
        lambda: quilex.var(ub=5, threshold=7, vartype=quilex.semicontinuous),
        "check that its threshold is between its lower and upper bounds",
    ),
    "infinite threshold": (
        lambda: quilex.var("v", threshold=1e20, vartype=quilex.semicontinuous),
        "threshold of variable v: 1e\\+20",
    ),
    "inverted": (lambda: quilex.var("v", lb=2, ub=1), "variable v: lower bound 2.0, upper bound 1"),
    "nan": (lambda: quilex.var("v", lb=float("nan")), "variable v: lower bound nan"),
    "infinite lower": (lambda: quilex.var("v", lb=1e20), "variable v: lower bound 1e\\+20"),
    "binary out of reach": (
        lambda: quilex.var("v", lb=3, ub=0.5, vartype=quilex.binary),
        "binary variable v",
    ),
    "not ASCII": (lambda: quilex.var("naïve"), "Invalid variable name 'naïve'"),
    "with NUL": (lambda: quilex.var("a\0b"), "Invalid variable name"),
}


@pytest.mark.parametrize("case", BAD_VARIABLES)
def test_a_bad_variable_ends_the_walk_and_leaves_the_rest(p, consistent, case):
    make, message = BAD_VARIABLES[case]
    good = [quilex.var() for _ in range(3)]
    with pytest.raises(RuntimeError, match=message):
        p.addVariable(good[:2], make(), good[2])
    assert [v.name for v in p.getVariable()] == [v.name for v in good[:2]]
    assert consistent()
    p.addVariable(good[2])
    assert p.getIndex(good[2]) == 2


def test_the_same_object_twice(p, xs, consistent):
    with pytest.raises(RuntimeError, match="Variable already added to problem"):
        p.addVariable(xs[0])
    new = quilex.var()
    with pytest.raises(RuntimeError, match="Variable already added to problem"):
        p.addVariable([new, new])
    c = new + xs[0] <= 1
    with pytest.raises(RuntimeError, match="Constraint already added to problem"):
        p.addConstraint([c, c])
    assert p.attributes.cols == 7
    assert p.attributes.rows == 1
    assert consistent()


def test_an_exception_of_a_generator_passes_through(p, consistent):
    def some():
        yield quilex.var()
        raise ValueError("mine")

    with pytest.raises(ValueError, match="mine"):
        p.addVariable(some())
    with pytest.raises(ValueError, match="mine"):
        p.addConstraint(v <= 1 for v in raising(p))
    assert p.attributes.cols == 1
    assert p.attributes.rows == 1
    assert consistent()


def raising(p):
    yield p.getVariable(0)
    raise ValueError("mine")


def test_generators_may_use_the_problem_while_it_takes_from_them(p, consistent):
    def rows():
        for k in range(20):
            v = quilex.var(ub=k)
            p.addVariable(v)
            p.addConstraint(v <= 100)
            yield v + p.getVariable(0) <= k
            assert p.attributes.rows == 2 * k + 2
            if k == 7:
                p.delConstraint(0)
                p.addConstraint(v <= 200)

    p.addConstraint(rows())
    assert (p.attributes.cols, p.attributes.rows) == (20, 40)
    assert consistent()
    p.setObjective(p.getVariable(5), sense=quilex.maximize)
    p.solve()
    assert p.getObjVal() == pytest.approx(5)


@pytest.mark.parametrize("count", [1, 255, 256, 257, 16384, 40000])
def test_batches_of_any_size(p, consistent, count):
    variables = [quilex.var() for _ in range(count)]
    p.addVariable(variables)
    p.addConstraint(v <= k for k, v in enumerate(variables))
    assert consistent()
    p.setObjective(variables[-1], sense=quilex.maximize)
    p.solve()
    assert p.getObjVal() == pytest.approx(count - 1)


@pytest.mark.parametrize(
    "lb, ub, is_binary",
    [(0, 1, True), (0, 1.1, True), (0, 2, False), (-1, 1, False), (0.5, 0.9, True)],
)
def test_integer_variables_within_0_and_1_become_binary(p, lb, ub, is_binary):
    v = quilex.var(vartype=quilex.integer, lb=lb, ub=ub)
    p.addVariable(v)
    assert p.attributes.mipents == 1
    if is_binary and lb <= 0:
        p.setObjective(v, sense=quilex.maximize)
        p.solve()
        assert p.getSolution(v) == 1.0


def test_objects_belong_to_several_problems(p, xs):
    other = quilex.problem()
    other.addVariable(xs[3], xs[1])
    c = xs[1] + 2 * xs[3] <= 4
    p.addConstraint(xs[0] <= 1, c)
    other.addConstraint(c)
    assert (p.getIndex(xs[1]), other.getIndex(xs[1])) == (1, 1)
    assert (p.getIndex(xs[3]), other.getIndex(xs[3])) == (3, 0)
    assert (p.getIndex(c), other.getIndex(c)) == (1, 0)
    for problem in (p, other):
        problem.controls.outputlog = 0
        problem.setObjective(xs[3], sense=quilex.maximize)
        problem.solve()
        assert problem.getObjVal() == pytest.approx(2)
