"""Data frames, series and labelled arrays: read by position, wherever objects or numbers are taken.

Their lengths and items go by column or by label, so that read as sequences they give another model
without a word.
"""

import numpy as np
import pytest

import quilex


class Series:
    """Like pandas.Series: items by label, here the positions in reverse."""

    def __init__(self, values):
        self.values = np.array(values)

    def __array__(self, dtype=None, copy=None):
        return self.values

    def __len__(self):
        return len(self.values)

    def __getitem__(self, label):
        return self.values[len(self.values) - 1 - label]

    def __iter__(self):
        return iter(self.values)


class Frame:
    """Like pandas.DataFrame: length in rows, items and iteration by column."""

    def __init__(self, rows):
        self.values = np.array(rows)

    def __array__(self, dtype=None, copy=None):
        return np.asfortranarray(self.values)

    def __len__(self):
        return len(self.values)

    def __getitem__(self, column):
        return Series(self.values[:, column])

    def __iter__(self):
        return iter(range(self.values.shape[1]))


class Labelled:
    """Like xarray.DataArray of no dimension: has neither length nor items."""

    def __init__(self, value):
        self.value = value

    def __array__(self, dtype=None, copy=None):
        array = np.empty((), dtype=object)
        array[()] = self.value
        return array


def pandas_kinds():
    pandas = pytest.importorskip("pandas")
    return (
        lambda values: pandas.Series(values, index=list(range(len(values)))[::-1]),
        lambda rows: pandas.DataFrame(rows),
    )


@pytest.fixture(params=["stand-ins", "pandas"])
def kinds(request):
    return (Series, Frame) if request.param == "stand-ins" else pandas_kinds()


def built(add, get, values):
    """What a problem holds after `add` was given the values."""
    p = quilex.problem()
    add(p, values)
    return [str(item) for item in get(p)]


def solved():
    p = quilex.problem()
    p.controls.outputlog = 0
    x = [quilex.var(f"x{k}", lb=k, ub=10) for k in range(6)]
    p.addVariable(x)
    p.addConstraint([quilex.constraint(v >= -k, name=f"r{k}") for k, v in enumerate(x)])
    p.addSOS([quilex.sos(x[k : k + 2], [1, 2], name=f"s{k}") for k in range(2)])
    p.setObjective(quilex.Sum(x))
    p.delSOS([0, 1])
    p.solve()
    return p


def names(objects):
    return [str(one) for one in objects]


def after(method, *arguments):
    """The columns, rows and coefficients that a method leaves."""

    def run(p, given):
        getattr(p, method)(given, *arguments)
        p.setObjective(quilex.Sum(p.getVariable()))
        p.solve()
        return names(p.getVariable()), names(p.getConstraint()), p.getSolution()

    return run


def variables(p):
    return p.getVariable()[:4]


def rows(p):
    return p.getConstraint()[:4]


def indices(p):
    return [3, 1, 2, 5]


def columns_and_numbers(p):
    return [3.5, 1.0, 2.0, 5.0]


# entry point: (what it is given, what is done with it). The result must be that of a list.
ENTRIES = {
    "addVariable": (
        lambda p: [quilex.var(f"n{k}") for k in range(4)],
        lambda p, given: (p.addVariable(given), names(p.getVariable())),
    ),
    "addConstraint": (
        lambda p: [quilex.constraint(v <= k, name=f"n{k}") for k, v in enumerate(variables(p))],
        lambda p, given: (p.addConstraint(given), names(p.getConstraint())),
    ),
    "addSOS": (
        lambda p: [quilex.sos(variables(p), [1, 2, 3, 4], name=f"n{k}") for k in range(4)],
        lambda p, given: (p.addSOS(given), names(p.getSOS())),
    ),
    "getVariable": (indices, lambda p, given: names(p.getVariable(given))),
    "getConstraint": (indices, lambda p, given: names(p.getConstraint(given))),
    "getSolution of indices": (indices, lambda p, given: p.getSolution(given)),
    "getSolution": (variables, lambda p, given: p.getSolution(given)),
    "getSlack": (rows, lambda p, given: p.getSlack(given)),
    "getDual": (rows, lambda p, given: p.getDual(given)),
    "getRCost": (variables, lambda p, given: p.getRCost(given)),
    "nested": (variables, lambda p, given: p.getSolution([given, given])),
    "getSolutionArray": (
        variables,
        lambda p, given: np.ravel(p.getSolutionArray(given)).tolist(),
    ),
    "getSlackArray": (rows, lambda p, given: np.ravel(p.getSlackArray(given)).tolist()),
    "Sum": (variables, lambda p, given: str(quilex.Sum(given))),
    "Sum of numbers": (lambda p: [1.0, 2.0, 3.0, 4.0], lambda p, given: str(quilex.Sum(given))),
    "Prod": (variables, lambda p, given: str(quilex.Prod(given))),
    "Dot": (
        variables,
        lambda p, given: (
            str(quilex.Dot(np.array([1.0, 2.0, 3.0, 4.0]), np.asarray(given)))
            if isinstance(given, list)
            else str(quilex.Dot(np.array([1.0, 2.0, 3.0, 4.0]), given))
        ),
    ),
    "sin": (
        variables,
        lambda p, given: names(quilex.sin(np.asarray(given) if isinstance(given, list) else given)),
    ),
    "body": (
        variables,
        lambda p, given: str(
            quilex.constraint(
                body=np.asarray(given) if isinstance(given, list) else given, ub=1
            ).body
        ),
    ),
    "delVariable": (indices, after("delVariable")),
    "delVariable of objects": (variables, after("delVariable")),
    "delConstraint": (indices, after("delConstraint")),
    "delSOS": (
        lambda p: [0],
        lambda p, given: (
            p.addSOS(quilex.sos(variables(p), [1, 2, 3, 4])),
            p.delSOS(given),
            len(p.getSOS()),
        ),
    ),
    "chgrhs": (
        columns_and_numbers,
        lambda p, given: (p.chgrhs([0, 1, 2, 3], given), after("chgrhs", [1.0])(p, [0])),
    ),
    "chgobj by indices": (
        indices,
        lambda p, given: (p.chgobj(given, [1.0, -2.0, 3.0, 4.0]), p.solve(), p.getObjVal()),
    ),
}
IN_ONE_DIMENSION = {
    "Sum", "Sum of numbers", "Prod", "Dot", "sin", "body", "delVariable", "delConstraint", "delSOS",
    "delVariable of objects", "chgrhs", "chgobj by indices",
}  # fmt: skip


@pytest.mark.parametrize("entry", ENTRIES)
def test_series_are_read_by_position(entry, kinds):
    series, _ = kinds
    make, run = ENTRIES[entry]
    p, q = solved(), solved()
    assert run(p, series(make(p))) == run(q, make(q))


@pytest.mark.parametrize("entry", [one for one in ENTRIES if one not in IN_ONE_DIMENSION])
def test_frames_are_read_row_by_row(entry, kinds):
    _, frame = kinds
    make, run = ENTRIES[entry]
    p, q = solved(), solved()
    given = make(p)
    assert run(p, frame([given[:2], given[2:]])) == run(q, make(q))


def test_arrays_without_axes():
    p = quilex.problem()
    x = quilex.var("x")
    p.addVariable([Labelled(x)])
    p.addConstraint(Labelled(x <= 1))
    assert names(p.getVariable()) == ["x"]
    assert p.attributes.rows == 1


def test_subclasses_with_an_array_of_their_own_stay_what_they_are():
    class Variable(quilex.var):
        def __array__(self, dtype=None, copy=None):
            raise AssertionError("a variable is no array")

    class Several(list):
        __array__ = Variable.__array__

    p = quilex.problem()
    x = Variable("x")
    p.addVariable(Several([x]))
    assert str(quilex.Sum(Several([x, x]))).strip() == "2*x"
    assert p.getVariable(0) is x


@pytest.mark.parametrize("form", ["set", "frozenset", "iterator", "keys", "values"])
def test_sums_take_sets_and_views(form):
    x = [quilex.var(f"x{k}") for k in range(3)]
    given = {
        "set": set(x),
        "frozenset": frozenset(x),
        "iterator": iter(x),
        "keys": dict.fromkeys(x).keys(),
        "values": dict(enumerate(x)).values(),
    }[form]
    assert sorted(str(quilex.Sum(given)).split()) == ["+", "+", "x0", "x1", "x2"]
    assert quilex.Prod({2.0, 3.0}) == quilex.Prod({1: 2.0, 2: 3.0}.values()) == 6.0


def test_a_str_of_names_says_how_one_name_is_passed():
    p = quilex.problem()
    y, z, yz = (quilex.var(name) for name in ("y", "z", "yz"))
    p.addVariable(y, yz)
    with pytest.raises(RuntimeError, match=r"for 'yz' itself pass \['yz'\]"):
        p.delVariable("yz")
    with pytest.raises(RuntimeError, match=r"for 'yz' itself pass \['yz'\]"):
        p.chgobj("yz", [1, 2])
    p.addVariable(z)
    p.delVariable("yz")
    assert names(p.getVariable()) == ["yz"]
    p.delVariable(["yz"])
    assert p.getVariable() == []
