"""Semi-continuous and semi-integer variables without an upper bound."""

import pytest

import quilex


@pytest.mark.parametrize(
    "kind, threshold, demand, best, value",
    [
        ("semicontinuous", 2.0, 1, 6, 2),
        ("semicontinuous", 2.5, 1, 7.5, 2.5),
        ("semicontinuous", 4.0, 1, 10, 0),  # the other variable is cheaper
        ("semiinteger", 2.5, 1, 9, 3),
        ("semicontinuous", 2.0, 30.5, 91.5, 30.5),
        ("semiinteger", 2.0, 30.5, 93, 31),
    ],
)
def test_zero_or_at_least_the_threshold(p, kind, threshold, demand, best, value):
    x = quilex.var(vartype=getattr(quilex, kind), ub=quilex.infinity, threshold=threshold)
    y = quilex.var(ub=3)
    p.addVariable(x, y)
    p.addConstraint(x + y >= demand)
    p.setObjective(3 * x + 10 * y)
    p.solve()
    assert p.getProbStatusString() == "mip_optimal"
    assert p.getObjVal() == pytest.approx(best)
    assert p.getSolution(x) == pytest.approx(value)


def test_a_model_is_solved_again_after_changes(p):
    x = quilex.var(vartype=quilex.semicontinuous, ub=quilex.infinity, threshold=2)
    y = quilex.var(ub=3)
    p.addVariable(x, y)
    c = x + y >= 1
    p.addConstraint(c)
    for cost, best in ((1, 1), (10, 6), (-1, -3)):
        p.setObjective(3 * x + cost * y)
        p.solve()
        assert p.getObjVal() == pytest.approx(best)
    p.addConstraint(y <= 0)
    p.setObjective(x, sense=quilex.maximize)
    p.solve()
    assert p.getProbStatusString() == "mip_unbounded"
    p.addConstraint(x <= 1)
    p.solve()
    assert p.getProbStatusString() == "mip_infeas"
