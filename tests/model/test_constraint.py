"""Constraints: comparisons, the constructor, copies, truth."""

import gc
import weakref

import numpy
import pytest

import quilex

INFINITY = quilex.infinity


@pytest.fixture
def m():
    class Names:
        x, y, z = (quilex.var(name=name) for name in "xyz")

    Names.e = quilex.sin(Names.x)
    return Names


def parts(constraint):
    return str(constraint.body).strip(), constraint.lb, constraint.ub


# The constraint, its body, and its bounds (None: infinite).
COMPARISONS = {
    "x<=3": lambda m: (m.x <= 3, "x", None, 3),
    "3<=x": lambda m: (m.x >= 3, "x", 3, None),
    "x==3": lambda m: (m.x == 3, "x", 3, 3),
    "x<=0": lambda m: (m.x <= 0, "x", None, 0),
    "x<=True": lambda m: (m.x <= True, "x", None, 1),
    "x<=y": lambda m: (m.x <= m.y, "x - y", None, 0),
    "x<=x": lambda m: (m.x <= m.x, "0.0", None, 0),
    "2x>=1": lambda m: (2 * m.x >= 1, "2 x", 1, None),
    "2x>=0": lambda m: (2 * m.x >= 0, "2*x", 0, None),
    "x+5<=10": lambda m: (m.x + 5 <= 10, "x", None, 5),
    "x+2>=y": lambda m: (m.x + 2 >= m.y, "x - y", -2, None),
    "x+5<=5": lambda m: (m.x + 5 <= 5, "x", None, 0),
    "x*y<=3": lambda m: (m.x * m.y <= 3, "x*y", None, 3),
    "x*y+1==y": lambda m: (m.x * m.y + 1 == m.y, "- y + x*y", -1, -1),
    "e<=2": lambda m: (m.e <= 2, "sin (x)", None, 2),
    "e<=0": lambda m: (m.e <= 0, "sin (x)", None, 0),
    "e<=y": lambda m: (m.e <= m.y, "(sin (x) - y)", None, 0),
    "3-e<=0": lambda m: (3 - m.e <= 0, "sin (x)", 3, None),
    "3-e>=0": lambda m: (3 - m.e >= 0, "sin (x)", None, 3),
    "3-e==0": lambda m: (3 - m.e == 0, "sin (x)", 3, 3),
    "e+3<=5": lambda m: (m.e + 3 <= 5, "(sin (x))", None, 2),
    "e+3<=0": lambda m: (m.e + 3 <= 0, "(sin (x))", None, -3),
    "e+e>=1": lambda m: (m.e + m.e >= 1, "(sin (x) + sin (x))", 1, None),
}


@pytest.mark.parametrize("case", COMPARISONS)
def test_comparison(m, case):
    constraint, body, lb, ub = COMPARISONS[case](m)
    lb = -INFINITY if lb is None else lb
    ub = INFINITY if ub is None else ub
    assert parts(constraint) == (body, lb, ub)
    assert type(constraint) is quilex.constraint
    assert "-0.0" not in (str(constraint.lb), str(constraint.ub))


def test_comparisons_leave_their_operands_alone(m):
    s = m.e + quilex.exp(m.y) + 3
    q = m.x + m.y + 5
    before = str(s), str(q)
    first = s <= 0
    assert parts(s <= 0) == parts(first)
    bounded = q <= 9
    q += m.z
    s += m.z
    assert parts(bounded) == ("x + y", -INFINITY, 4)
    assert before == ("(sin (x) + exp (y) + 3)", "5 + x + y")


REFUSED = {
    "x<3": (
        lambda m: m.x < 3,
        "Invalid constraint: cannot enforce f(x) != 0, f(x) > 0, or f(x) < 0",
    ),
    "3<x": (
        lambda m: m.x > 3,
        "Invalid constraint: cannot enforce f(x) != 0, f(x) > 0, or f(x) < 0",
    ),
    "e!=3": (
        lambda m: m.e != 3,
        "Invalid constraint: cannot enforce f(x) != 0, f(x) > 0, or f(x) < 0",
    ),
    "x==None": (lambda m: m.x == None, "Invalid object in operation"),  # noqa: E711
    "x<='3'": (lambda m: m.x <= "3", "Invalid object in operation"),
    "x<=constraint": (lambda m: m.x <= (m.y <= 3), "Invalid object in operation"),
    "x<=uint8": (lambda m: m.x <= numpy.uint8(3), "Invalid object in operation"),
}


@pytest.mark.parametrize("case", REFUSED)
def test_refused_comparison(m, case):
    comparison, text = REFUSED[case]
    with pytest.raises(RuntimeError) as error:
        comparison(m)
    assert str(error.value) == text


def test_a_constraint_has_no_truth_value(m):
    def uses():
        yield lambda: bool(m.x <= 1)
        yield lambda: 1 <= m.x <= 3
        yield lambda: (m.x <= 1) and (m.y <= 1)
        yield lambda: m.x in [m.y]
        yield lambda: [m.y, m.x].index(m.x)
        yield lambda: numpy.less_equal(numpy.array([m.x]), 1)

    for use in uses():
        with pytest.raises(RuntimeError, match="no truth value"):
            use()
    assert m.x in [m.x]  # the same object needs no comparison


CONSTRUCTIONS = {
    "leq": (lambda m: {"sense": quilex.leq, "rhs": 4}, None, 4),
    "geq": (lambda m: {"sense": quilex.geq, "rhs": 4}, 4, None),
    "eq": (lambda m: {"sense": quilex.eq, "rhs": 4}, 4, 4),
    "range is like eq": (lambda m: {"sense": quilex.range, "rhs": 4}, 4, 4),
    "unknown sense is like eq": (lambda m: {"sense": 77, "rhs": 4}, 4, 4),
    "sense without rhs": (lambda m: {"sense": quilex.geq}, None, None),
    "sense with bounds": (lambda m: {"sense": quilex.geq, "ub": 3}, None, 3),
    "bounds": (lambda m: {"lb": 1, "ub": 3}, 1, 3),
    "lb": (lambda m: {"lb": 1}, 1, None),
}


@pytest.mark.parametrize("case", CONSTRUCTIONS)
def test_construction(m, case):
    arguments, lb, ub = CONSTRUCTIONS[case]
    constraint = quilex.constraint(body=m.x, **arguments(m))
    assert constraint.body is m.x
    assert (constraint.lb, constraint.ub) == (
        -INFINITY if lb is None else lb,
        INFINITY if ub is None else ub,
    )


MISSING = (
    "Arguments required for quilex.constraint(): constraint OR {body, lb and/or ub} OR "
    "{body,sense,rhs}."
)
BOTH = "Cannot create constraint by specifying both rhs AND either or both of lb/ub."
EMPTY = (
    "Attempt to generate an empty constraint failed. Consider using "
    "quilex.constraint(body=..., sense=..., rhs=...) instead."
)
INVALID = "Invalid expression passed as body of constraint"
WRONG_CONSTRUCTIONS = {
    "nothing": (lambda m: {}, MISSING),
    "body alone": (lambda m: {"body": m.x}, MISSING),
    "bounds alone": (lambda m: {"lb": 1}, MISSING),
    "rhs without sense": (lambda m: {"body": m.x, "rhs": 3}, MISSING),
    "rhs and lb": (lambda m: {"body": m.x, "lb": 1, "rhs": 3}, BOTH),
    "rhs, sense and ub": (lambda m: {"body": m.x, "sense": 1, "rhs": 3, "ub": 1}, BOTH),
    "rhs and NaN bound": (lambda m: {"body": m.x, "lb": float("nan"), "rhs": 3}, BOTH),
    "truth of a comparison": (lambda m: {"constraint": 3 <= 4}, EMPTY),
    "no constraint": (lambda m: {"constraint": m.x}, EMPTY),
    "text": (lambda m: {"body": "x", "lb": 1}, INVALID),
    "invalid body beside a constraint": (lambda m: {"constraint": m.x <= 1, "body": []}, INVALID),
    "empty array": (lambda m: {"body": numpy.array([]), "lb": 1}, INVALID),
}


@pytest.mark.parametrize("case", WRONG_CONSTRUCTIONS)
def test_wrong_construction(m, case):
    arguments, text = WRONG_CONSTRUCTIONS[case]
    with pytest.raises(RuntimeError) as error:
        quilex.constraint(**arguments(m))
    assert str(error.value) == text


def test_bodies_from_arrays_and_other_constraints(m):
    array = numpy.array([[m.x, m.y], [m.z, m.z]])
    assert quilex.constraint(body=array[::-1], lb=1).body is m.z
    source = quilex.constraint(body=m.x, lb=1, ub=2, name="a")
    taken = quilex.constraint(source, lb=7)
    assert taken.body is m.x and (taken.lb, taken.ub) == (1, 2)
    assert taken.name != "a"
    source.lb = -2e20
    assert quilex.constraint(source, name="b").lb == -INFINITY


def test_names_and_numbers(m):
    first = m.x <= 1
    number = int(first.name[1:])
    assert (m.x <= 1).name == f"R{number + 1}"
    # The constructor takes two numbers and keeps the second.
    constructed = quilex.constraint(body=m.x, lb=1)
    assert constructed.name == f"R{number + 3}"
    named = quilex.constraint(body=m.x, lb=1, name="first")
    assert str(named) == repr(named) == named.name == "first"
    named.name = b"bytes"
    assert str(named) == "b'bytes'"
    copied = first.copy()
    assert copied.name == f"R{number + 6}_copy_{first.name}"


def test_copies_are_deep(m):
    e = m.x + m.y
    for body in (e, m.e + m.y):
        constraint = quilex.constraint(body=body, lb=1, ub=2)
        copied = constraint.copy()
        body += m.z
        assert (copied.lb, copied.ub) == (1, 2)
        assert "z" in str(constraint.body) and "z" not in str(copied.body)


def test_attributes(m):
    constraint = m.x <= 1
    constraint.lb, constraint.body = -3, m.y
    assert constraint.lb == -3.0 and constraint.body is m.y
    for name in ("name", "body", "lb", "ub"):
        with pytest.raises(TypeError):
            delattr(constraint, name)
    for value, text in (
        (float("nan"), "ub of constraint R.* cannot be nan"),
        (10**400, "ub is an int"),
    ):
        with pytest.raises(RuntimeError, match=text):
            constraint.ub = value
    assert constraint.ub == 1.0
    assert quilex.constraint.__new__(quilex.constraint).body is None
    assert hash(constraint) == hash(constraint)


def test_subclasses_and_garbage_collection(m):
    class Named(quilex.constraint):
        pass

    constraint = Named(body=m.x, lb=1)
    constraint.note = constraint
    alive = weakref.ref(constraint)
    assert isinstance(constraint.copy(), quilex.constraint)
    del constraint
    gc.collect()
    assert alive() is None

    assert not gc.is_tracked(m.x <= 1)
    chain = m.x <= 1
    for _ in range(100_000):
        link = m.x <= 1
        link.body = chain
        chain = link
    del chain, link
