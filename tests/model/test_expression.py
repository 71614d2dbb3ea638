"""Expressions: what tables show and the random programs of test_property do not."""

import pytest

import quilexlib


def entries(obj):
    return [(id(v), c) for v, c in quilexlib._parts(obj)[1]]


class TestInPlace:
    """What changes, and what another name for the same object, or a longer one, sees of it."""

    def test_every_name_sees_the_change(self, names, structure):
        x, y, z = names["x"], names["y"], names["z"]
        e = x + y
        f = e
        e += z
        assert f is e and structure(f) == (0.0, {"x": 1.0, "y": 1.0, "z": 1.0})
        g = e
        e = e + x
        assert g is not e and structure(g) == (0.0, {"x": 1.0, "y": 1.0, "z": 1.0})

    @pytest.mark.parametrize("size", [2, 4, 5, 8, 9, 40])
    def test_shared_logs_stay_apart(self, size):
        v = [quilexlib.var() for _ in range(size + 3)]
        base = quilexlib.Sum(v[:size])
        longer = base + v[size]
        longest = longer + v[size + 1]
        base += 5.0 * v[size + 2]  # after others have appended
        other = longer - v[0]
        longer *= 2.0
        del longest
        again = base + v[0]
        expected = [(id(x), 1.0) for x in v[:size]]
        assert entries(base) == [*expected, (id(v[size + 2]), 5.0)]
        assert entries(longer) == [(id(x), 2.0) for x in v[: size + 1]]
        assert entries(other) == [*expected[1:], (id(v[size]), 1.0)]
        assert entries(again)[0] == (id(v[0]), 2.0)

    def test_own_operand(self, names, structure):
        x, y = names["x"], names["y"]
        e = x + 2 * y + x * y + 1
        e += e
        assert structure(e) == (2.0, {"x": 2.0, "y": 4.0, "x*y": 2.0})
        e -= e
        assert quilexlib._parts(e) == (0.0, [], [])
        e = quilexlib.Sum([quilexlib.var() for _ in range(50)])
        e += e
        assert {c for _, c in quilexlib._parts(e)[1]} == {2.0}

    def test_neutral_and_zero_factors(self, names, structure):
        e = names["x"] + names["y"]
        f = e
        f *= 1
        f /= 1.0
        f **= 1
        f += 0
        assert f is e
        f *= 0
        assert f == 0.0 and type(f) is float and len(quilexlib._parts(e)[1]) == 2
        f = e
        f **= 0
        assert f == 1.0
        e /= 4
        assert structure(e) == (0.0, {"x": 0.25, "y": 0.25})


def test_underflow_keeps_an_entry_of_zero(names, structure):
    x, y = names["x"], names["y"]
    e = (1e-200 * x + y) * 1e-200
    assert structure(e) == (0.0, {"x": 0.0, "y": 1e-200})
    e += x
    assert [(str(v), c) for v, c in quilexlib._parts(e)[1]] == [("x", 1.0), ("y", 1e-200)]


def test_long_chains_take_linear_time_and_memory(names):
    """Every prefix of a chain is kept; with a log of its own each this would be 800 MB."""
    v = [quilexlib.var() for _ in range(10_000)]
    e, kept = v[0] + v[1], []
    for x in v[2:]:
        e = e + x
        kept.append(e)
    assert [len(quilexlib._parts(k)[1]) for k in kept[::3333]] == [3, 3336, 6669]
