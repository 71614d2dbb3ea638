"""Looking objects up and deleting them."""

import numpy as np
import pytest

import quilex


@pytest.fixture
def full(p, xs):
    """The problem with six variables, four constraints and two sets."""
    rows = [xs[k] + xs[k + 1] <= k + 1 for k in range(4)]
    sets = [quilex.sos(xs[:3], [1, 2, 3]), quilex.sos(xs[2:], [1, 2, 3, 4], type=2)]
    p.addConstraint(rows)
    p.addSOS(sets)
    return p, {"Variable": xs, "Constraint": rows, "SOS": sets}


KINDS = ("Variable", "Constraint", "SOS")


def names(objects):
    return [str(one) for one in objects]


@pytest.mark.parametrize("kind", KINDS)
def test_get(full, kind):
    p, objects = full
    get, mine = getattr(p, f"get{kind}"), objects[kind]
    assert names(get()) == names(mine)
    assert get(1) is mine[1]
    assert get(np.int64(0)) is mine[0]
    assert names(get([1, (0, [1])])) == names([mine[1], mine[0], mine[1]])
    assert names(get(first=0, last=1)) == names(mine[:2])
    assert get(first=1, last=0) == []
    for bad in (99, -1):
        with pytest.raises(IndexError):
            get(bad)
        with pytest.raises(RuntimeError, match="Index out of range"):
            get([bad])


BAD_RANGES = [
    ({"index": 0, "first": 0, "last": 0}, "cannot be specified if 'index'"),
    ({"index": 0, "last": 0}, "cannot be specified if 'index'"),
    ({"first": 0}, "must be both nonnegative when specified"),
    ({"last": 1}, "must be both nonnegative when specified"),
    ({"first": 0, "last": 99}, "are out of range"),
]


@pytest.mark.parametrize("arguments, message", BAD_RANGES)
def test_bad_ranges(full, arguments, message):
    p, _ = full
    for kind in KINDS:
        with pytest.raises(RuntimeError, match=message):
            getattr(p, f"get{kind}")(**arguments)
        with pytest.raises(RuntimeError, match=message.replace("are out", "are out")):
            getattr(p, f"del{kind}")(**arguments)


def test_texts_that_deletion_has_of_its_own(full):
    p, _ = full
    with pytest.raises(RuntimeError, match="Parameters 'first' or 'last' are out of range"):
        p.delVariable(first=0, last=6)
    with pytest.raises(RuntimeError, match="'first' must be less than, or equal to, 'last'"):
        p.delVariable(first=2, last=1)
    with pytest.raises(RuntimeError, match="At least one parameter must be specified"):
        p.delConstraint()


@pytest.mark.parametrize("wrong", [3.5, None, quilex.problem])
def test_get_index_of_wrong_objects(full, wrong):
    p, _ = full
    for one in (wrong, quilex.var(), quilex.var() <= 1):
        with pytest.raises(RuntimeError, match="need variable, constraint, or SOS"):
            p.getIndex(one)


DELETIONS = {
    "index": (lambda mine: {"index": 1}, [1]),
    "object": (lambda mine: {"index": mine[1]}, [1]),
    "list": (lambda mine: {"index": [mine[1], 0]}, [0, 1]),
    "array": (lambda mine: {"index": np.array([1])}, [1]),
    "range": (lambda mine: {"first": 0, "last": 1}, [0, 1]),
    "empty": (lambda mine: {"index": []}, []),
}


@pytest.mark.parametrize("case", DELETIONS)
@pytest.mark.parametrize("kind", KINDS)
def test_delete(full, consistent, kind, case):
    p, objects = full
    make, gone = DELETIONS[case]
    mine = objects[kind]
    if kind == "SOS" and case == "array":
        pytest.skip("sets are named by lists")
    getattr(p, f"del{kind}")(**make(mine))
    rest = [one for k, one in enumerate(mine) if k not in gone]
    assert names(getattr(p, f"get{kind}")()) == names(rest)
    assert consistent()
    for k in gone:
        with pytest.raises(RuntimeError):
            p.getIndex(mine[k])


def test_refused_deletions_change_nothing(full, consistent):
    p, _ = full
    for bad in (
        *(99, [0, 0], [0, 99], quilex.var(), [quilex.var()], "nothing", 2.5, [1.5]),
        *(None, {0: 1}, ["x0\0y"], ["\xe9"]),
    ):
        with pytest.raises(RuntimeError):
            p.delVariable(bad)
        with pytest.raises(RuntimeError):
            p.delConstraint(bad)
        with pytest.raises(RuntimeError):
            p.delSOS(bad)
    for delete in (p.delVariable, p.delSOS):
        with pytest.raises(ZeroDivisionError):
            delete(1 / 0 for _ in range(1))
    assert len(p.getVariable(None, 0, 1)) == 2
    assert (p.attributes.cols, p.attributes.rows) == (6, 4)
    assert consistent()


def test_a_deleted_variable_leaves_the_rows(p, consistent):
    x, y = quilex.var(ub=4), quilex.var(ub=4)
    p.addVariable(x, y)
    c = x + y <= 5
    p.addConstraint(c)
    p.setObjective(x + y, sense=quilex.maximize)
    p.solve()
    assert p.getObjVal() == pytest.approx(5)
    p.delVariable(x)
    p.solve()
    assert p.getObjVal() == pytest.approx(4)
    assert str(c.body) == str((x + y <= 5).body)
    p.addVariable(x)
    assert (p.getIndex(y), p.getIndex(x)) == (0, 1)
    p.setObjective(x + y, sense=quilex.maximize)
    p.solve()
    assert p.getObjVal() == pytest.approx(8)
    assert consistent()


def test_random_additions_and_deletions(p, consistent):
    import random

    generator = random.Random(11)
    variables, rows = [], []
    for step in range(300):
        action = generator.random()
        if action < 0.4 or not variables:
            new = [quilex.var(ub=1) for _ in range(generator.randrange(1, 4))]
            generator.shuffle(new)
            p.addVariable(new)
            variables += new
        elif action < 0.7:
            row = quilex.Sum(generator.sample(variables, min(3, len(variables)))) <= step
            p.addConstraint(row)
            rows.append(row)
        else:
            mine, delete = (variables, p.delVariable) if action < 0.85 else (rows, p.delConstraint)
            gone = generator.sample(range(len(mine)), min(len(mine), generator.randrange(3)))
            delete(gone)
            mine[:] = [one for k, one in enumerate(mine) if k not in gone]
    assert names(p.getVariable()) == names(variables)
    assert names(p.getConstraint()) == names(rows)
    assert consistent()
