"""Library methods that change a model: their effect on the next solve, and their arguments."""

import numpy as np
import pytest

import quilex


@pytest.fixture
def model():
    """max 3x + 2y over x + y <= 4 and x - y >= -2 with x, y in [0, 3]: 11 at (3, 1)."""
    p = quilex.problem()
    p.controls.outputlog = 0
    x, y = quilex.var("x", ub=3), quilex.var("y", ub=3)
    total, difference = quilex.constraint(x + y <= 4, name="total"), x - y >= -2
    p.addVariable(x, y)
    p.addConstraint(total, difference)
    p.setObjective(3 * x + 2 * y, sense=quilex.maximize)
    return p, x, y, total, difference


def solved(p):
    p.solve()
    assert p.getProbStatusString() in ("lp_optimal", "mip_optimal")
    return p.getObjVal()


# name: arguments made from (x, y, total, difference), the objective after the change
CHANGES = {
    "chgrhs": (lambda x, y, t, d: ([t], [5]), 13),
    "chgrhs by name": (lambda x, y, t, d: (["total"], (5,)), 13),
    "chgrhs by index from numpy": (
        lambda x, y, t, d: (np.array([0, 1], dtype=np.intc), np.array([5.0, 1.5])),
        12,
    ),
    "chgrhs from iterators": (lambda x, y, t, d: (iter([t, d]), iter([5, 2.5])), 10),
    "chgrhs of nothing": (lambda x, y, t, d: ([], []), 11),
    "chgrhsrange": (lambda x, y, t, d: ([d], [1]), 9.5),
    "chgrowtype": (lambda x, y, t, d: ([d], "E"), 9),
    "chgrowtype of two": (lambda x, y, t, d: ([t, d], "NN"), 15),
    "chgbounds": (lambda x, y, t, d: ([x, y], "UB", [2, 1]), 8),
    "chgbounds, later entries win": (lambda x, y, t, d: ([x, "x", 0], "LUB", [1, 1, 2]), 10),
    "chgobj": (lambda x, y, t, d: ([x, -1], [1, 10]), 17),
    "chgcoef": (lambda x, y, t, d: (t, x, 2), 22 / 3),
    "chgmcoef": (lambda x, y, t, d: ([t, t], [x, 1], [2, 0]), 12),
    "chgobjsense": (lambda x, y, t, d: (quilex.minimize,), 0),
    "chgqobj": (lambda x, y, t, d: (x, "x", -1), 8),
    "chgmqobj": (lambda x, y, t, d: ([x, y], [x, y], [-1, -1]), 3.25),
}


@pytest.mark.parametrize("case", CHANGES)
@pytest.mark.parametrize("live", [False, True], ids=["before", "after a solve"])
def test_change_counts_at_the_next_solve(model, case, live):
    p, *objects = model
    arguments, expected = CHANGES[case]
    if live:
        assert solved(p) == pytest.approx(11)
    assert getattr(p, case.split()[0].rstrip(","))(*arguments(*objects)) is None
    assert solved(p) == pytest.approx(expected)


def test_column_types_and_limits(model):
    p, x, y, total, _ = model
    p.chgrhs(mindex=[total], rhs=[3.6])
    p.chgcoltype([x, y], "IS")
    p.chgglblimit([y], [1.5])
    assert solved(p) == pytest.approx(9.2)  # x = 2, y = 1.6; x = 3 leaves too little for y
    p.chgcoltype([x, y], "CC")
    assert solved(p) == pytest.approx(10.2)


def test_quadratic_row_coefficient(model):
    p, x, _, total, _ = model
    p.chgqrowcoeff(total, x, x, 1)
    assert solved(p) == pytest.approx(5 * 3**0.5 - 1, abs=1e-5)  # y = x + 2
    p.chgqrowcoeff(irow="total", icol=0, jcol=0, dval=0)
    assert solved(p) == pytest.approx(11)


MISSING = {
    "chgrhs": "mindex, rhs",
    "chgrhsrange": "mindex, rng",
    "chgobj": "mindex, obj",
    "chgmcoef": "mrow, mcol, dval",
    "chgmqobj": "mqcol1, mqcol2, dval",
    "chgrowtype": "mindex and qrtype",
    "chgbounds": "mindex, qbtype, bnd",
    "chgcoltype": "mindex, qbtype",
    "chgglblimit": "mindex, dlimit",
}


@pytest.mark.parametrize("name", MISSING)
def test_missing_arguments(model, name):
    method = getattr(model[0], name)
    for arguments in ((), ([0],), ([0], None)):
        with pytest.raises(RuntimeError, match=f"^Must provide arguments {MISSING[name]}$"):
            method(*arguments)


REFUSED = {
    "lengths": ("chgrhs", ([0, 1], [1]), RuntimeError, "expected 2, found 1"),
    "lengths of iterators": ("chgrhs", ([0, 1], iter([1])), RuntimeError, "expected 2, found 1"),
    "scalar": ("chgrhs", (0, 1), RuntimeError, "Invalid sequence of objects"),
    "row out of range": ("chgrhs", ([2], [1]), RuntimeError, r"rows\[0\] is 2"),
    "not a number": ("chgrhs", ([0], [float("nan")]), RuntimeError, r"rhs\[0\] is not a number"),
    "unknown name": ("chgcoef", ("nobody", 0, 1), RuntimeError, "nobody"),
    "a column as a row": ("chgcoef", ("total", "total", 1), RuntimeError, "total"),
    "foreign variable": (
        "chgcoef",
        lambda: (0, quilex.var("z"), 1),
        RuntimeError,
        "Variable z not in",
    ),
    "no coefficient": ("chgcoef", (0, 0), TypeError, "argument"),
    "text as coefficient": ("chgcoef", (0, 0, "1"), TypeError, "real number"),
    "wrong sense": ("chgobjsense", (0,), RuntimeError, "sense is 0"),
    "fractional sense": ("chgobjsense", (1.0,), TypeError, "float"),
    "crossed bounds": ("chgbounds", ([0, 0], "LU", [2, 1]), RuntimeError, "column 0 would have"),
    "letters": ("chgrowtype", ([0], "X"), RuntimeError, "must be one of LGERN"),
    "unknown keyword": ("chgrhs", ([0], [1], 3), TypeError, "argument"),
}


@pytest.mark.parametrize("case", REFUSED)
def test_refusal_changes_nothing(model, case):
    p = model[0]
    name, arguments, error, text = REFUSED[case]
    with pytest.raises(error, match=text):
        getattr(p, name)(*(arguments() if callable(arguments) else arguments))
    assert solved(p) == pytest.approx(11)


def test_change_drops_results_and_uses_pending_rows(model):
    p, x, y, *_ = model
    assert solved(p) == pytest.approx(11)
    late = x <= 1
    p.addConstraint(late)  # waits in a batch until another method needs it
    p.chgrhs([late], [2])
    assert solved(p) == pytest.approx(10)
    assert p.getSolution(x, y) == pytest.approx([2, 2])
