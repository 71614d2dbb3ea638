"""Controls and attributes: by name, as methods, and the values of new problems."""

import gc
import re
import rlcompleter

import numpy as np
import pytest

import quilex


@pytest.fixture
def p():
    yield quilex.problem()
    quilex.setdefaults()


def message(action, *arguments):
    with pytest.raises(RuntimeError) as caught:
        action(*arguments)
    return str(caught.value)


def test_controls_are_read_and_set_by_name(p):
    p.controls.feastol = 1e-8
    p.controls.seed = 3
    assert p.controls.feastol == p.getControl("feastol") == 1e-8
    assert p.controls.seed == 3
    assert type(p.controls.feastol) is float
    assert type(p.controls.seed) is int
    p.setControl("seed", 4)
    assert p.controls.seed == 4
    p.setControl({"seed": 5, "feastol": 1e-7})
    assert (p.controls.seed, p.controls.feastol) == (5, 1e-7)


def test_attributes_are_read_by_name(p):
    assert p.attributes.rows == p.getAttrib("rows") == 0
    p.addVariable(quilex.var(), quilex.var())
    assert p.attributes.cols == 2


ACCEPTED = [
    ("feastol", 1e-8),
    ("timelimit", 3),
    ("timelimit", True),
    ("timelimit", np.float64(2.5)),
    ("timelimit", np.intc(2)),
    ("timelimit", np.int_(2)),
    ("presolve", True),
    ("seed", np.intc(2)),
    ("seed", np.int_(2)),
]


@pytest.mark.numpy_versions
@pytest.mark.parametrize(("name", "value"), ACCEPTED)
def test_values_that_are_accepted(p, name, value):
    setattr(p.controls, name, value)
    assert getattr(p.controls, name) == value
    setattr(quilex.controls, name, value)
    assert getattr(quilex.controls, name) is value
    assert getattr(quilex.problem().controls, name) == value


NON_NUMBER = "Cannot set non-numerical value to a floating-point control"
NON_INTEGER = "Cannot set non-integer value to an integer control"
REFUSED = [
    ("feastol", "x", NON_NUMBER),
    ("feastol", None, NON_NUMBER),
    ("feastol", np.float32(1e-7), NON_NUMBER),
    ("feastol", 1j, NON_NUMBER),
    ("presolve", 1.0, NON_INTEGER),
    ("presolve", "1", NON_INTEGER),
    ("presolve", np.uint8(1), NON_INTEGER),
    ("presolve", np.float64(1), NON_INTEGER),
    ("nosuchname", 1, "Incorrect control name"),
    ("FEASTOL", 1e-7, "Incorrect control name"),
]


@pytest.mark.numpy_versions
@pytest.mark.parametrize(("name", "value", "text"), REFUSED)
def test_values_that_are_refused(p, name, value, text):
    before = p.getControl()
    for target in (p.controls, quilex.controls):
        assert message(setattr, target, name, value) == text
    assert message(p.setControl, name, value) == text
    assert message(p.setControl, {name: value}) == text
    assert p.getControl() == before
    assert quilex.problem().getControl() == before


def test_the_library_refuses_values_out_of_range(p):
    before = p.controls.feastol
    for action in (
        lambda: setattr(p.controls, "feastol", -1.0),
        lambda: p.setControl("feastol", 2.0),
    ):
        text = message(action)
        assert "feastol" in text
    assert p.controls.feastol == before
    for value in (2**31, 2**70, -(10**30)):
        assert "beyond the 32-bit range" in message(setattr, p.controls, "seed", value)
    assert "beyond the range" in message(setattr, p.controls, "feastol", 10**400)
    assert message(p.setObjective, quilex.var(), 10**30) == "Invalid optimization sense"
    # The module-wide object checks the type only; the next problem cannot be made.
    quilex.controls.feastol = -1.0
    assert "feastol" in message(quilex.problem)


def test_default_values_are_for_problems_made_afterwards(p):
    library = quilex.controls.presolve
    text = repr(quilex.controls)
    quilex.controls.presolve = 1 - library
    assert quilex.controls.presolve == 1 - library
    assert repr(quilex.controls) == text == repr(quilex.controls.__dict__)
    assert p.controls.presolve == library
    assert quilex.problem().controls.presolve == 1 - library


def test_reading_several(p):
    both = {"feastol": p.controls.feastol, "seed": p.controls.seed}
    names = list(both)
    for arguments in (names, [names], [tuple(names)], [iter(names)]):
        assert p.getControl(*arguments) == both
    assert p.getControl(["seed"]) == {"seed": both["seed"]}
    assert p.getControl([]) == p.getControl(iter(())) == {}
    everything = p.getControl()
    assert list(everything) == list(p.controls.__dict__) == list(quilex.controls.__dict__)
    assert everything == quilex.controls.__dict__
    assert eval(repr(p.controls)) == everything
    assert set(p.getAttrib()) == set(p.attributes.__dict__)
    assert p.getAttrib()["rows"] == 0
    assert str(p.attributes).startswith("{")


@pytest.mark.parametrize(
    "names",
    [
        ("nosuchname",),
        ("seed", "nosuchname"),
        (["seed", "nosuchname"],),
        (5,),
        ({"seed"},),
        ({"seed": 1},),
        ("\xe9",),
        (None,),
    ],
)
def test_names_that_are_refused(p, names):
    assert message(p.getControl, *names) == "Could not retrieve value of control"
    assert message(p.getAttrib, *names) == "Could not retrieve value of attribute"
    assert message(p.getControl, iter([names])) == "Could not retrieve value of control"


def test_wrong_calls_of_set_control(p):
    cases = {
        (): "setControl requires at least one argument of type dictionary or two elements: "
        "parameter, value",
        ("seed",): "single argument to setControl must be a dictionary",
        ("seed", 1, 2): "setControl: arguments mismatch",
        ("nosuchname", 1): "Incorrect control name",
        (5, 1): "Incorrect control name",
    }
    for arguments, text in cases.items():
        assert message(p.setControl, *arguments) == text
    assert message(p.setControl, {"seed": 7, "bogus": 1, "threads": 3}) == "Incorrect control name"
    assert p.controls.seed == 7
    assert p.controls.threads != 3


def test_wrong_names_as_attributes(p):
    for target in (p.controls, quilex.controls):
        for name in ("nosuchname", "rows", "_", "__len__"):
            assert message(getattr, target, name) == "Incorrect control name"
        assert message(getattr, target, "\xe9") == "Bad control request"
        assert message(delattr, target, "seed") == "A control cannot be deleted"
    assert message(getattr, p.attributes, "seed") == "Incorrect attribute name"
    assert message(getattr, p.attributes, "\xe9") == "Bad attribute request"
    assert message(setattr, p.attributes, "rows", 3) == "A problem's attribute cannot be set"
    assert message(setattr, p.attributes, "nosuchname", 3) == "A problem's attribute cannot be set"


def test_dir_and_completion_list_the_names(p):
    for target in (p.controls, quilex.controls, p.attributes):
        names = set(target.__dict__)
        assert len(names) > 10
        assert names <= set(dir(target))
        assert target.__class__ is type(target)
    completer = rlcompleter.Completer({"p": p})
    assert completer.complete("p.controls.feast", 0) == "p.controls.feastol"
    assert completer.complete("p.attributes.row", 0) == "p.attributes.rows"


def test_tables_hold_triples(p):
    for table, one in ((p.controls.__dict__, "feastol"), (p.attributes.__dict__, "rows")):
        assert all(name == name.lower() for name in table)
        assert all(
            [type(part) for part in triple] == [int] * 3 and triple[1] in (1, 2, 3)
            for triple in table.values()
        )
        assert one in table
    assert p.attributes.__dict__["rows"] == (1124, 1, 0)


def test_a_damaged_table_is_an_error_and_no_crash(p):
    table = p.controls.__dict__
    for damage in (3, None, (), (1, 2), (1, 2, "x"), (2**80, 1, 0), (10**9, 1, 0), (8010, 9, 0)):
        table["damaged"] = damage
        try:
            assert message(getattr, p.controls, "damaged") == "Incorrect control name"
            assert message(p.getControl, "damaged") == "Could not retrieve value of control"
            message(p.getControl)
            message(setattr, p.controls, "damaged", 1)
        finally:
            del table["damaged"]


def test_objects_outlive_their_problem():
    p = quilex.problem()
    controls, attributes = p.controls, p.attributes
    del p
    gc.collect()
    for target, noun in ((controls, "control"), (attributes, "attribute")):
        text = f"The problem of this {noun} object no longer exists"
        assert message(getattr, target, "feastol") == text
        assert message(repr, target) == text
        assert "feastol" in controls.__dict__
    assert message(setattr, controls, "seed", 1).startswith("The problem of this control object")


def test_objects_made_by_their_types_are_harmless(p):
    control, attribute = type(p.controls)(), type(p.attributes)()
    assert message(getattr, control, "feastol") == "Incorrect control name"
    assert message(getattr, attribute, "rows") == "Incorrect attribute name"
    assert repr(control) == repr(attribute) == "None"


def test_a_cycle_through_a_table_is_collected():
    own = type(quilex.controls)()
    assert message(getattr, own, "__dict__") == "Incorrect control name"
    before = quilex.controls.__dict__
    before["itself"] = quilex.controls
    gc.collect()
    del before["itself"]


def test_lines_of_a_log_file_begin_with_the_time_where_it_is_asked_for(p, tmp_path):
    p.addVariable(quilex.var(ub=1))
    for logtimes in (0, 1):
        p.controls.logtimes = logtimes
        p.setlogfile(str(tmp_path / str(logtimes)))
        p.solve()
    p.setlogfile(None)
    plain, timed = ((tmp_path / name).read_text().splitlines() for name in "01")
    stamp = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d ")
    assert plain and timed
    assert not any(stamp.match(line) for line in plain)
    assert all(stamp.match(line) for line in timed)
