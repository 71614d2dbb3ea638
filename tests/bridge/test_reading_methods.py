"""Library methods that read a model back: every shape of output, and what is refused."""

import pytest

import quilex

OLD = object()  # in a list before the call: a longer list is cut, a shorter one extended


@pytest.fixture
def model():
    """Four rows over x, y and a binary b; the third is quadratic, the fourth an indicator row."""
    p = quilex.problem()
    x, y = quilex.var("x", ub=3), quilex.var("y", lb=-1, ub=8, vartype=quilex.integer)
    b = quilex.var("b", vartype=quilex.binary)
    rows = [
        quilex.constraint(2 * x + 3 * y <= 4, name="sum"),
        quilex.constraint(x - b >= -2, name="gap"),
        quilex.constraint(x**2 + 5 * x * y + y <= 7, name="quad"),
        quilex.constraint(body=x, lb=1, ub=6, name="range"),
    ]
    p.addVariable(x, y, b)
    p.addConstraint(rows[:3])
    p.addIndicator(b == 1, rows[3])
    p.addSOS(quilex.sos([x, y], [1, 2.5], type=1))
    p.setObjective(3 * x - y + 4 * x**2 + 6 * x * b + 9, sense=quilex.minimize)
    return p, (x, y, b), rows


X, Y, B = 0, 1, 2  # stand for variables, and R(i) for rows, as tables must not hold objects


class R(int):
    """The index of a row."""


def objects(model, value):
    """The value of a table with the modelling objects that its indices stand for."""
    if isinstance(value, list):
        return [objects(model, item) for item in value]
    return model[2][value] if type(value) is R else value


def columns(*indices):
    return "columns", indices


def expected_list(model, value):
    if isinstance(value, tuple):
        return [model[1][i] if i >= 0 else i for i in value[1]]
    return [objects(model, item) for item in value]


# name: arguments with None in place of each list, what fills the lists, the result
FILLED = {
    "getobj": ((None, X, B), [[3.0, -1.0, 0.0]], None),
    "getrhs": ((None, R(0), R(3)), [[4.0, -2.0, 7.0, 6.0]], None),
    "getrhs by name": ((None, "gap", "quad"), [[-2.0, 7.0]], None),
    "getrhsrange": ((None, 0, 3), [[0.0, 0.0, 0.0, 5.0]], None),
    "getrowtype": ((None, 0, 3), [["L", "G", "L", "R"]], None),
    "getcoltype": ((None, 0, 2), [["C", "I", "B"]], None),
    "getlb": ((None,), [[0.0, -1.0, 0.0]], None),
    "getlb from": ((None, 1), [[-1.0, 0.0]], None),
    "getub to": ((None, None, "y"), [[3.0, 8.0]], None),
    "getcols": ((None, None, None, 9, 0, 1), [[0, 3, 5], [R(0), R(1), R(3), R(0), R(2)],
                                              [2.0, 1.0, 1.0, 3.0, 1.0]], None),
    "getrows": ((None, None, None, 9, R(0), R(1)), [[0, 2, 4], columns(X, Y, X, B),
                                                    [2.0, 3.0, 1.0, -1.0]], None),
    "getrows of few": ((None, None, None, 1, 0, 1), [[0, 2, 4], columns(X), [2.0]], None),
    "getrows of none": ((None, None, None, -1, 0, 1), [[0, 2, 4], [], []], None),
    "getmqobj": ((None, None, None, 9, 0, 2), [[0, 2, 2, 2], columns(X, B), [4.0, 6.0]], 2),
    "getqrowqmatrix": ((2, None, None, None, 9, 0, 2), [[0, 2, 2, 2], columns(X, Y), [1.0, 5.0]],
                       2),
    "getqrowqmatrixtriplets": (("quad", None, None, None), [columns(X, X), columns(X, Y),
                                                            [1.0, 5.0]], None),
    "getqrows": ((None,), [[R(2)]], None),
    "getindicators": ((None, None, 2, 3), [columns(-1, B), [0, 1]], None),
    "getglobal": ((None,) * 7, [["I", "B"], [1, 2], [0.0, 0.0], ["1"], [0, 2], columns(X, Y),
                                [1.0, 2.5]], None),
}  # fmt: skip


@pytest.mark.parametrize("case", FILLED)
def test_lists_are_filled(model, case):
    arguments, wanted, result = FILLED[case]
    method = getattr(model[0], case.split()[0])
    wanted = [expected_list(model, value) for value in wanted]
    # Longer and shorter lists than the result, in turn, then one list alone.
    lists = [[OLD] * (0 if i % 2 else 20) for i in range(len(wanted))]
    rest = iter(lists)
    given = [next(rest, None) if value is None else objects(model, value) for value in arguments]
    assert method(*given) == result
    for filled, values in zip(lists, wanted, strict=True):
        assert len(filled) == len(values)
        for one, other in zip(filled, values, strict=True):
            is_same = type(one) is type(other) in (int, float, str) and one == other
            assert one is other or is_same, (filled, values)
    if len(lists) > 1 and case != "getcols":  # which wants all of its lists
        alone = [OLD]
        unwanted = set(map(id, lists[:-1]))
        given = [
            alone if value is lists[-1] else None if id(value) in unwanted else value
            for value in given
        ]
        assert method(*given) == result
        assert len(alone) == len(wanted[-1])


RETURNED = {
    "getcoef": ((R(0), Y), 3.0),
    "getcoef absent": (("quad", "b"), 0.0),
    "getqobj": ((X, "b"), 6.0),
    "getqrowcoeff": ((R(2), "y", X), 5.0),
    "getIndexFromName": ((1, "quad"), 2),
    "getIndexFromName of a column": ((2, "b"), 2),
    "getmqobj without lists": ((None, None, None, 0, 0, 2), 0),
    "getqrowqmatrix without lists": ((2, None, None, None, 0, 0, 2), 2),
    "getrows without lists": ((None, None, None, 0, 0, 1), None),
    "getobj without lists": ((None, 0, 2), None),
    "getcontrolinfo": (("OutputLog",), (8013, quilex.type_int)),
    "getattribinfo": (("lpobjval",), (2001, quilex.type_double)),
    "getmessagestatus": ((1,), 1),
    "getlasterror": ((), ""),
}


@pytest.mark.parametrize("case", RETURNED)
def test_results(model, case):
    arguments, result = RETURNED[case]
    found = getattr(model[0], case.split()[0])(*(objects(model, value) for value in arguments))
    assert found == result
    assert type(found) is type(result)


def test_a_model_without_columns_empties_the_lists():
    p = quilex.problem()
    bounds = [1.0, 2.0]
    assert p.getlb(bounds) is None
    assert bounds == []
    with pytest.raises(RuntimeError, match="first is 0, but there are none"):
        p.getub([], 0, 0)


REFUSED = {
    "range of rows": ("getrhs", ([], 3, 2), "^Empty range of rows requested$"),
    "range of rows, words kept": ("getrows", ([], [], [], 9, 5, 4), "^Empty range of columns re"),
    "range of types": ("getcoltype", ([], 2, 1), "^Empty or invalid range of columns requested$"),
    "range of columns": ("getobj", ([], "y", "x"), "^Empty range of columns requested$"),
    "range without words": ("getlb", ([], 2, 1), "^first is 2, above last = 1$"),
    "beyond the rows": ("getrhs", ([], 0, 2**31 - 1), "^last is 2147483647, must be 0 .. 3$"),
    "before the rows": ("getrowtype", ([], -1, 2), "^first is -1, must be 0 .. 3$"),
    "no list": ("getrhs", (None, 0, 1), "^Must provide argument: rhs or range$"),
    "no lists": ("getcols", ([], None, [], 1, 0, 0), "^Must provide arguments mstart, mrwind, d"),
    "nothing": ("getrhsrange", (), "^Must provide argument: rhs or range$"),
    "a tuple": ("getobj", ((), 0, 1), "^Argument of type List required$"),
    "unknown name": ("getIndexFromName", (2, "nobody"), "nobody"),
    "linear row's index": ("getcoef", (0, 3), "col is 3, must be 0 .. 2"),
    "unknown control": ("getcontrolinfo", ("nosuch",), "nosuch"),
}


@pytest.mark.parametrize("case", REFUSED)
def test_refusals_leave_the_lists(model, case):
    name, arguments, text = REFUSED[case]
    with pytest.raises(RuntimeError, match=text):
        getattr(model[0], name)(*arguments)
    assert all(not argument for argument in arguments if isinstance(argument, list))


WRONG_TYPES = {
    "no range": ("getrhs", ([],), r"getrhs\(\) missing required argument 'first' \(pos 2\)"),
    "too many": ("getcoef", (0, 0, 0), r"getcoef\(\) takes at most 2"),
    "unknown keyword": ("getcoef", {"irow": 0, "jcol": 0}, r"getcoef\(\)"),
    "fractional size": ("getrows", ([], [], [], 1.5, 0, 0), "float"),
    "name is a number": ("getIndexFromName", (1, 1), "name must be str, not int"),
    "name is missing": ("setprobname", (None,), "probname must be str, not NoneType"),
}


@pytest.mark.parametrize("case", WRONG_TYPES)
def test_wrong_types(model, case):
    name, arguments, text = WRONG_TYPES[case]
    positional, keywords = ((), arguments) if isinstance(arguments, dict) else (arguments, {})
    with pytest.raises(TypeError, match=text):
        getattr(model[0], name)(*positional, **keywords)


def test_waiting_rows_are_read(model):
    p, (x, *_), _ = model
    p.addConstraint(x <= 1)  # waits in a batch until another method needs it
    sides = []
    p.getrhs(rhs=sides, first=4, last=4)
    assert sides == [1.0]


def test_the_last_error_of_a_problem(model):
    p = model[0]
    with pytest.raises(RuntimeError) as refused:
        p.chgrhs([99], [1])
    assert p.getlasterror() == str(refused.value)


def test_messages_by_number_and_a_log_file(model, tmp_path):
    p = model[0]
    p.delqmatrix("quad")
    p.delqmatrix(-1)
    p.setmessagestatus(1, 0)
    assert p.getmessagestatus(1) == 0
    p.setlogfile(str(tmp_path / "log"))
    p.solve()
    p.setlogfile(None)
    length = (tmp_path / "log").stat().st_size
    assert length > 0
    p.solve()
    assert (tmp_path / "log").stat().st_size == length
