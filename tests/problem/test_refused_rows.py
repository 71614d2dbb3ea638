"""A refused row, variable or set leaves everything else as it was, and whoever is told of a failure
is the one whom it concerns."""

import gc

import numpy as np
import pytest

import quilex


class Meddles(int):
    """A number whose conversion runs a program, from a time on."""

    program = None

    def __float__(self):
        if self.program:
            self.program()
        return 3.0


def body_with(x, program):
    """A body that runs the program when it is converted."""
    number = Meddles(3)
    body = quilex.sin(x[2]) * x[3] * number
    number.program = program
    return body


def model(rows=3):
    p = quilex.problem()
    p.controls.outputlog = 0
    x = [quilex.var(f"x{k}", ub=10) for k in range(4)]
    p.addVariable(x)
    held = [x[0] + (k + 1) * x[1] <= k + 1 for k in range(rows)]
    p.addConstraint(held)
    return p, x, held


def require_whole(p, x, held):
    """The rows are those of `held`: their bodies, and what the library makes of them."""
    assert [str(c.body) for c in held] == [str(x[0] + (k + 1) * x[1]) for k in range(len(held))]
    assert [p.getIndex(c) for c in held] == list(range(len(held)))
    p.setObjective(x[1], sense=quilex.maximize)
    p.solve()
    assert p.getObjVal() == pytest.approx(1.0)
    assert p.getSlack(held) == pytest.approx([0.0] * len(held))


METHODS = {
    "addConstraint": lambda p, x: p.addConstraint(x[0] <= 1),
    "addVariable": lambda p, x: p.addVariable(quilex.var()),
    "delVariable": lambda p, x: p.delVariable(x[0]),
    "getConstraint": lambda p, x: p.getConstraint(),
    "setObjective": lambda p, x: p.setObjective(x[0]),
    "solve": lambda p, x: p.solve(),
}


@pytest.mark.parametrize("where", ["constraint", "objective"])
@pytest.mark.parametrize("name", METHODS)
def test_no_method_runs_while_numbers_are_converted(name, where):
    p, x, held = model()
    errors = []

    def program():
        with pytest.raises(RuntimeError, match="cannot be used while the numbers") as error:
            METHODS[name](p, x)
        errors.append(error)

    body = body_with(x, program)
    if where == "constraint":
        p.addConstraint(body <= 50)
        p.delConstraint(p.getConstraint(first=3, last=3))
    else:
        p.setObjective(body)
    assert errors
    require_whole(p, x, held)


def test_columns_and_sets_are_whole_or_not_there():
    p = quilex.problem()
    good = [quilex.var(f"v{k}", vartype=k % 3, ub=5) for k in range(6)]
    for k, v in enumerate(good):
        p.addVariable(v)
        for bad in (
            quilex.var(lb=2, ub=1),
            quilex.var("ü"),
            quilex.var(vartype=quilex.semicontinuous, threshold=9, ub=5),
            quilex.var(vartype=99),
        ):
            with pytest.raises(RuntimeError):
                p.addVariable(iter([bad]))
        assert p.attributes.cols == k + 1
    with pytest.raises(RuntimeError):
        p.addSOS(quilex.sos(good, [1, 2], name="short"))
    for name in ("", b"", 7, None):
        p.addSOS(quilex.sos(good[:2], [1, 2], name=name))
    assert (len(p.getSOS()), p.attributes.cols) == (4, 6)
    assert all(p.getVariable([f"v{k}"])[0] is good[k] for k in range(6))


def test_waiting_rows_outlive_their_library():
    p, x, held = model()
    quilex.free()  # the rows that wait have nowhere to go
    other = quilex.problem()
    other.controls.outputlog = 0
    other.addVariable(x)
    texts = [str(c.body) for c in held]
    other.addConstraint(held)
    copies = [c.copy() for c in held]
    require_whole(other, x, held)
    assert [str(c.body) for c in copies] == texts
    del p
    gc.collect()
    require_whole(other, x, held)


def test_waiting_rows_are_read_without_being_sent():
    p, x, held = model()
    expected = str(x[0] + 2 * x[1])
    assert str(held[1].body) == expected
    q = quilex.problem()
    q.addVariable(np.array(x[::-1], dtype=object))
    q.addConstraint(held)
    del p
    gc.collect()
    assert str(held[1].body) == expected
