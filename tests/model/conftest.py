"""Fixtures of the modelling objects' tests."""

import pytest

import quilexlib


@pytest.fixture
def names():
    """Variables by their names."""
    return {n: quilexlib.var(name=n) for n in "xyzw"}


@pytest.fixture
def structure():
    """What an object is made of: a float, the text of a term, an expression's constant and
    {entry: coefficient}, or a nonlinear object's code and operands.
    """

    def of(obj):
        if type(obj) is float:
            return obj
        if type(obj).__name__ == "nonlinear":
            code, operands = quilexlib._parts(obj)
            return code, *map(of, operands)
        if type(obj).__name__ == "expression":
            constant, linear, products = quilexlib._parts(obj)
            entries = {str(v): c for v, c in linear}
            return constant, entries | {f"{u}*{v}": c for u, v, c in products or ()}
        return str(obj)

    return of
