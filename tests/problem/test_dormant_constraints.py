"""Constraints that nobody but their problem holds live as rows and come back when asked for."""

import gc

import pytest

import quilex

INF = quilex.infinity


def problem_of(count=3):
    p = quilex.problem()
    x = [quilex.var(name=f"x{i}") for i in range(count)]
    p.addVariable(x)
    return p, x


@pytest.mark.parametrize(
    ("make", "lower", "upper", "text"),
    [
        (lambda x: x[0] + 2 * x[1] <= 3, -INF, 3.0, "x0 +2 x1"),
        (lambda x: x[0] - x[2] >= -1.5, -1.5, INF, "x0 - x2"),
        (lambda x: x[1] + x[0] == 0.1, 0.1, 0.1, "x1 + x0"),
        (lambda x: x[0] + x[1] == -0.0, 0.0, 0.0, "x0 + x1"),
        (lambda x: quilex.constraint(body=x[0] + x[1], lb=-INF), -INF, INF, "x0 + x1"),
        (lambda x: quilex.constraint(body=x[0] + x[1], lb=1, ub=3), 1.0, 3.0, "x0 + x1"),
        # 0.3 - (0.3 - 0.1) is not 0.1: the row alone would not do.
        (lambda x: quilex.constraint(body=x[0] + x[1], lb=0.1, ub=0.3), 0.1, 0.3, "x0 + x1"),
        (lambda x: quilex.constraint(body=x[0] + x[1], lb=-1e30, ub=3), -1e30, 3.0, "x0 + x1"),
        (lambda x: x[0] + x[1] + 5 <= 7, -INF, 2.0, "x0 + x1"),
    ],
)
def test_comes_back_as_it_was(make, lower, upper, text):
    p, x = problem_of()
    c = make(x)
    printed, bounds = str(c.body), (c.lb, c.ub)
    p.addConstraint(c)
    del c
    again = p.getConstraint(0)
    assert str(again.body) == printed
    assert str(again.body).strip() == text
    assert (again.lb, again.ub) == bounds == (lower, upper)
    assert p.getConstraint(0) is again
    assert p.getIndex(again) == 0


@pytest.mark.parametrize("held", [True, False])
def test_constraints_keep_what_they_were_made_with_when_rows_change(held):
    p, x = problem_of()
    rows = [x[0] + x[1] <= 4, x[1] - x[2] >= 1, quilex.constraint(body=x[0] + x[2], lb=1, ub=3)]
    wanted = [(str(c.body), c.lb, c.ub) for c in rows]
    p.addConstraint(rows)
    if not held:
        del rows
    p.chgcoef(0, x[0], 100.0)
    p.chgmcoef([1, 1], [x[0], x[1]], [2, 0])
    p.chgrhs([0, 1], [9, 9])
    p.chgrowtype([2], "N")
    assert [(str(c.body), c.lb, c.ub) for c in p.getConstraint()] == wanted
    q = quilex.problem()
    q.controls.outputlog = 0
    q.addVariable(x)
    q.addConstraint(p.getConstraint(0))
    q.setObjective(x[0], sense=quilex.maximize)
    q.solve()
    assert q.getObjVal() == pytest.approx(4)


def test_a_held_constraint_stays_itself():
    p, x = problem_of()
    held = [x[0] + k * x[1] <= k for k in range(3)]
    p.addConstraint(held)
    p.addConstraint(x[1] <= 5, x[2] <= 6)
    found = p.getConstraint()
    assert all(a is b for a, b in zip(found, held))
    assert [c.ub for c in found[3:]] == [5.0, 6.0]


def test_names_and_subclasses_are_kept():
    class Row(quilex.constraint):
        pass

    p, x = problem_of()
    p.addConstraint(quilex.constraint(x[0] + x[1] <= 1, name="capacity"), Row(x[0] + x[2] <= 2))
    named, special = p.getConstraint()
    assert named.name == "capacity"
    assert type(special) is Row


def test_after_deletions():
    p, x = problem_of()
    p.addConstraint(x[0] + x[1] <= k for k in range(6))
    p.delConstraint([0, 2])
    assert [c.ub for c in p.getConstraint()] == [1.0, 3.0, 4.0, 5.0]
    p.addConstraint(x[1] + x[2] <= 9)
    p.delVariable(x[0])
    # The variable is gone from the rows, the bodies still show it.
    assert [str(c.body).strip() for c in p.getConstraint()] == ["x0 + x1"] * 4 + ["x1 + x2"]
    assert [p.getIndex(c) for c in p.getConstraint()] == [0, 1, 2, 3, 4]


def test_serial_numbers_go_on():
    p, x = problem_of()
    p.addConstraint(x[0] + x[1] <= 1)
    p.getConstraint(0)
    first, second = x[0] <= 1, x[0] <= 2
    assert int(second.name[1:]) == int(first.name[1:]) + 1
    p.addConstraint(first)
    assert p.getIndex(first) == 1


@pytest.mark.skipif(not hasattr(__import__("quilexlib"), "_live_counts"), reason="debug builds")
def test_rows_cost_no_objects():
    import quilexlib

    p, x = problem_of()
    gc.collect()
    before = quilexlib._live_counts()["constraint"]
    p.addConstraint(x[0] + x[1] <= k for k in range(5000))
    p.addConstraint(x[0] + x[2] <= k for k in range(5000))
    p.getIndex(x[0])  # hands over what is pending
    # One of each batch was in the caller's hands when the batch was sent.
    awake = quilexlib._live_counts()["constraint"]
    assert awake - before < 20
    assert p.getConstraint(7000).ub == 2000.0
    assert quilexlib._live_counts()["constraint"] == awake + 1
