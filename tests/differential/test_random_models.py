"""Random models of every class against brute force.

QUILEX_RANDOM_MODELS sets how many of each class (20 by default; script/verify takes 100). A fault
is shrunk, and the smallest model is printed as a line that can be pasted into a test.
"""

import os

import pytest
from comparison import fault
from random_model import CLASSES, INFINITY, Column, Model, Row, generate
from shrink import shrink

COUNT = int(os.environ.get("QUILEX_RANDOM_MODELS", "20"))


@pytest.mark.parametrize("seed", range(COUNT))
@pytest.mark.parametrize("kind", CLASSES)
def test_random_model(kind, seed):
    model = generate(kind, seed)
    text = fault(model)
    if text is not None:
        smallest = shrink(model, fault)
        pytest.fail(f"{kind}, seed {seed}: {text}\nshrunk: {smallest!r}\n{fault(smallest)}")


def test_the_shrinker_keeps_the_fault_and_drops_the_rest():
    model = generate("indicators", 3)
    guilty = model.rows[-1]
    smallest = shrink(model, lambda m: "row: there" if guilty in m.rows else None)
    assert smallest.rows == (guilty,)
    assert smallest.constant == 0.0


def test_a_feasible_model_is_not_called_infeasible():
    """HiGHS' presolve says so. Seed 346 of "all column types", shrunk; (0, 1, 0, 1) fits."""
    model = Model(
        columns=(
            Column("S", 0.0, 2.0, threshold=2.0),
            Column("I", 1.0, 2.0),
            Column("C", -2.0, 2.0),
            Column("B", 0.0, 1.0),
        ),
        rows=(
            Row((-4.0, 0.0, 0.5, 0.0), lower=0.0, upper=INFINITY),
            Row((-3.0, 2.0, 0.0, 5.0), lower=7.0, upper=7.0),
        ),
    )
    assert fault(model) is None
