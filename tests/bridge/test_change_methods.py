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
    "addrows": (lambda x, y, t, d: ("LG", [2.5, -1], [0, 1, 3], [x, "x", 1], [1, 1, -1]), 10.5),
    "addrows of a range": (lambda x, y, t, d: ("R", [2], [0, 1], [0], [1], [1]), 10),
    "addrows without entries": (lambda x, y, t, d: ("N", [0], [0, 0], [], []), 11),
    "addrows of nothing": (lambda x, y, t, d: ("", [], [], [], []), 11),
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


@pytest.mark.parametrize("add, remove", [
    (lambda p, t, x: p.chgqrowcoeff(t, x, x, 1),
     lambda p, t: p.chgqrowcoeff(irow="total", icol=0, jcol=0, dval=0)),
    (lambda p, t, x: p.addqmatrix("total", [x], [0], [1]), lambda p, t: p.delqmatrix(t)),
])  # fmt: skip
def test_quadratic_row(model, add, remove):
    p, x, _, total, _ = model
    add(p, total, x)
    assert solved(p) == pytest.approx(5 * 3**0.5 - 1, abs=1e-5)  # y = x + 2
    remove(p, total)
    assert solved(p) == pytest.approx(11)


def test_quadratic_objective_is_removed(model):
    p, x, y, *_ = model
    p.chgmqobj([x, y], [x, y], [-1, -1])
    p.delqmatrix(-1)
    assert solved(p) == pytest.approx(11)


def test_indicators(model):
    p, _, _, total, _ = model
    switch = quilex.var("switch", vartype=quilex.binary)
    p.addVariable(switch)
    p.chgobj([switch], [-1])
    p.setindicators([total], [switch], [-1])  # x + y <= 4 only while the switch is 0
    assert solved(p) == pytest.approx(14)  # 15 at (3, 3) less the switch
    p.setindicators([total], [switch], [0])
    assert solved(p) == pytest.approx(11)


def test_added_rows_have_constraints(model):
    p, x, y, *_ = model
    p.addrows("LG", [9, -9], [0, 1, 2], [x, y], [1, 1], names=["upper", "lower"])
    p.addrows("L", [9], [0, 1], [x], [1])
    upper, lower, unnamed = p.getConstraint()[2:]
    assert [upper.name, lower.name] == ["upper", "lower"]
    assert unnamed.name.startswith("R")
    assert p.getIndex(lower) == p.getIndexFromName(1, "lower") == 3
    p.delConstraint(upper)
    assert [p.getIndex(row) for row in p.getConstraint()] == [0, 1, 2, 3]
    for names in (["only"], ["one", 2]):
        with pytest.raises(RuntimeError, match="Cannot get row name indexed by 1"):
            p.addrows("LL", [1, 1], [0, 0, 0], [], [], names=names)
    assert len(p.getConstraint()) == p.getAttrib("rows") == 4
    with pytest.raises(RuntimeError, match="Stale expression link"):
        quilex.problem().addConstraint(lower)


@pytest.mark.parametrize("arguments, text", [
    (("L", [1], [0], [0], [1]), "expected 2, found 1"),  # starts without the end
    (("L", [1], [0, 2], [0], [1]), "expected 2, found 1"),  # entries fewer than the starts say
    (("L", [1], [0, -1], [0], [1]), "mstart ends with -1"),
    (("LL", [1], [0, 0, 0], [], []), "expected 2, found 1"),
    (("L", [1], [0, 0], [], [], [1, 2]), "expected 1, found 2"),
    (("L", [1], [0, 1], ["nobody"], [1]), "nobody"),
])  # fmt: skip
def test_wrong_rows_leave_no_constraints(model, arguments, text):
    p = model[0]
    with pytest.raises(RuntimeError, match=text):
        p.addrows(*arguments)
    assert len(p.getConstraint()) == p.getAttrib("rows") == 2
    assert solved(p) == pytest.approx(11)


def test_attributes_of_what_was_added_are_for_problems_to_come(model):
    p, x, y, total, difference = model
    x.ub, x.vartype, total.ub, total.body = 2, quilex.integer, 3, x
    assert solved(p) == pytest.approx(11)
    assert str(total.body) == "x"
    other = quilex.problem()
    other.controls.outputlog = 0
    other.addVariable(x, y)
    other.addConstraint(total, difference)
    other.setObjective(3 * x + 2 * y, sense=quilex.maximize)
    assert solved(other) == pytest.approx(12)


REFUSED_ROWS = {  # by the library: row type, right-hand side, column, coefficient
    "type": ("X", 1, 0, 1),
    "side": ("L", float("nan"), 0, 1),
    "column": ("L", 1, 7, 1),
    "coefficient": ("L", 1, 0, 1e30),
}
ADDITIONS = {
    "addConstraint": lambda p, x, y: p.addConstraint(x + 2 * y <= 4),
    "a row that waits": lambda p, x, y: (p.addConstraint(x + 2 * y <= 4), p.addConstraint(y <= 9)),
    "addrows": lambda p, x, y: p.addrows("L", [4], [0, 2], [x, y], [1, 2], names=["new"]),
    "addIndicator": lambda p, x, y: (
        p.addVariable(always := quilex.var(vartype=quilex.binary)),
        p.addIndicator(always == 0, x + 2 * y <= 4),
        p.chgbounds([always], "U", [0]),
    ),
}


@pytest.mark.parametrize("case", REFUSED_ROWS)
@pytest.mark.parametrize("addition", ADDITIONS)
def test_constraints_of_refused_rows_have_no_index(model, case, addition):
    """They stay in the list, beyond the rows, until the next rows come."""
    p, x, y, *held = model
    kind, side, column, coefficient = REFUSED_ROWS[case]
    for _ in range(2):
        with pytest.raises(RuntimeError):
            p.addrows("L" + kind, [1, side], [0, 0, 1], [column], [coefficient])
        assert p.getAttrib("rows") == 2
        assert len(p.getConstraint()) == 4
    stray = p.getConstraint(3)
    for use in (p.getIndex, lambda c: p.chgrhs([c], [1]), p.getSlack, p.delConstraint):
        with pytest.raises(RuntimeError):
            use(stray)
    assert solved(p) == pytest.approx(11)
    ADDITIONS[addition](p, x, y)
    rows = p.getConstraint()
    assert [p.getIndex(c) for c in rows] == list(range(p.getAttrib("rows")))
    assert rows[:2] == held and stray not in rows
    assert solved(p) == pytest.approx(10)  # at (3, 0.5)
    assert p.getSlack(rows[2]) == pytest.approx(0)
    p.delConstraint(held[0])
    assert p.getIndex(rows[2]) == 1


class Meddling(list):
    """Names whose items run a program."""

    def __getitem__(self, i):
        self.program()
        return super().__getitem__(i)


def test_no_method_runs_while_names_are_read(model):
    p, x, *_ = model
    names = Meddling(["a", "b"])
    names.program = lambda: p.addConstraint(x <= 1)
    with pytest.raises(RuntimeError, match=r"cannot be used|Cannot get row name"):
        p.addrows("LL", [1, 1], [0, 0, 0], [], [], names=names)
    assert len(p.getConstraint()) == p.getAttrib("rows") == 2


def test_name_of_the_problem(model):
    p = model[0]
    p.setprobname("other")
    assert p.name() == "other"
    with pytest.raises(RuntimeError, match="ASCII"):
        p.setprobname("größer")


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
    "addqmatrix": "mqc1, mqc2, dqe",
    "addrows": "qrtype, rhs, mstart, mclind, dmatval",
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
    "no letter": ("chgrowtype", ([0], ["LG"]), RuntimeError, "Character expected, found 'LG'"),
    "text as number": ("chgrhs", ([0], ["one"]), RuntimeError, "Number expected, found 'one'"),
    "beyond floats": ("chgrhs", ([0], [10**400]), RuntimeError, "beyond the range of floats"),
    "coefficient beyond floats": ("chgcoef", (0, 0, 10**400), RuntimeError, "dval is an int"),
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
