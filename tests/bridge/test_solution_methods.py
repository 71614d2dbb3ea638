"""Library methods that read solutions and evaluate points."""

import pytest

import quilex


@pytest.fixture
def model():
    """max 3x + 2y over x + y <= 4 and x - y >= -2 with x, y in [0, 3]: 11 at (3, 1)."""
    p = quilex.problem()
    x, y = quilex.var("x", ub=3), quilex.var("y", ub=3)
    p.addVariable(x, y)
    p.addConstraint(x + y <= 4, x - y >= -2)
    p.setObjective(3 * x + 2 * y, sense=quilex.maximize)
    return p, x, y


def filled(method, count, *others):
    lists = [[] for _ in range(count)]
    assert method(*others, *lists) is None
    return lists


def test_solution_of_an_lp(model):
    p = model[0]
    with pytest.raises(RuntimeError, match="solution"):
        p.getlpsol([])
    p.solve()
    x, slack, dual, dj = filled(p.getlpsol, 4)
    assert x == pytest.approx([3, 1])
    assert slack == pytest.approx([0, -4])
    assert dual == pytest.approx([2, 0])
    assert dj == pytest.approx([1, 0])
    only = []
    p.getlpsol(dj=only)
    assert only == dj
    assert p.getlpsol() is None


def test_solution_of_a_mip_and_its_fixing(model):
    p, x, y = model
    p.chgcoltype([x, y], "II")
    p.chgrhs([0], [3.5])
    p.solve()
    values, slack = filled(p.getmipsol, 2)
    assert values == pytest.approx([3, 0])
    assert slack == pytest.approx([0.5, -5])
    p.fixglobals(True)
    bounds = filled(p.getlb, 1) + filled(p.getub, 1)
    assert bounds == [[3, 0], [3, 0]]


def test_properties_of_a_point(model):
    p = model[0]
    assert p.calcobjective([1, 2.5]) == pytest.approx(8)
    assert filled(p.calcslacks, 1, (1, 2.5)) == [pytest.approx([0.5, -0.5])]
    assert filled(p.calcreducedcosts, 1, [2, 0], None) == [pytest.approx([1, 0])]
    infeasibility = p.calcsolinfo([4, 2], [0, 0], quilex.solinfo_absprimalinfeas)
    assert infeasibility == pytest.approx(2)  # of the row; the bound is missed by 1


@pytest.mark.parametrize(
    "name, arguments, text",
    [
        ("calcobjective", ([1],), "expected 2, found 1"),
        ("calcobjective", (iter([1, 2, 3]),), "expected 2, found 3"),
        ("calcslacks", ([1, 1], None), "^Must provide arguments solution and calculatedslacks$"),
        ("calcreducedcosts", ([1, 2, 3], None, []), "expected 2, found 3"),
        ("calcsolinfo", ([1, 1], None, 0), "^Must provide arguments solution and dual$"),
        ("calcobjective", (1,), "Invalid sequence of objects"),
    ],
)
def test_refusals(model, name, arguments, text):
    with pytest.raises(RuntimeError, match=text):
        getattr(model[0], name)(*arguments)
