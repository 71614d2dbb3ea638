"""Special ordered sets: construction, checks, copies, garbage collection."""

import gc
import weakref

import pytest

import quilex


def test_construction_and_names():
    x, y = quilex.var(), quilex.var()
    first = quilex.sos([x, y], [1, 2])
    number = int(first.name[3:])
    # The constructor takes two numbers and keeps the second; a copy takes one.
    assert quilex.sos([x, y], [1, 2], 2).name == f"sos{number + 2}"
    copied = first.copy()
    # The name tells the source's number, not the copy's.
    assert str(copied) == f"sos{number}_copy_sos{number}"
    assert quilex.sos([x], [1]).name == f"sos{number + 5}"
    named = quilex.sos(indices=[x], weights=[1], type=1, name=b"set")
    assert named.name == b"set" and str(named) == "b'set'"
    named.name = "other"
    assert str(named) == "other" and repr(named).startswith("<quilex.SOS object")


@pytest.mark.parametrize(
    "arguments, text",
    [
        (lambda x: ([x], (1,)), "SOS weights must be passed as a list"),
        (lambda x: ((x,), (1,)), "SOS weights must be passed as a list"),
        (lambda x: ((x,), [1]), "SOS indices must be passed as a list"),
        (lambda x: ([x], [1], 3), "SOS type must be 1 or 2"),
        (lambda x: ([x], (1,), 10**30), "SOS type must be 1 or 2"),
    ],
)
def test_refused(arguments, text):
    with pytest.raises(RuntimeError) as error:
        quilex.sos(*arguments(quilex.var()))
    assert str(error.value) == text


def test_copy_of_an_empty_set_object():
    with pytest.raises(RuntimeError, match="Could not get a copy of a SOS"):
        quilex.sos.__new__(quilex.sos).copy()


def test_cycles_are_collected():
    class Set(quilex.sos):
        pass

    members = [quilex.var()]
    group = Set(members, [1])
    members.append(group)
    alive = weakref.ref(group)
    del group, members
    gc.collect()
    assert alive() is None
