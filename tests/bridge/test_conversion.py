"""Python containers to the library's arrays and back, by element kind."""

import gc
import sys

import numpy as np
import pytest

import quilexlib

pytestmark = [
    pytest.mark.skipif(
        not hasattr(quilexlib, "_convert"), reason="only debug builds reach the conversions"
    ),
    pytest.mark.numpy_versions,
]

ROW, COLUMN, SET, INT, INT64, DOUBLE, CHARACTER, INT8, STRING, CUT, OBJECT = range(11)


def convert(values, kind, problem=None, expected=-1, output=None, allocations=-1):
    output = [] if output is None else output
    count = quilexlib._convert(problem, values, kind, expected, output, allocations)
    assert count == (len(output) if values is not None else expected)
    return output


def masked(mask):
    return np.ma.array([1.0, 2.0, 3.0], mask=mask)


class Unsized:
    def __getitem__(self, i):
        raise IndexError

    def __len__(self):
        raise ValueError


class Labelled:
    """Looks its items up by label, as a data frame's column does."""

    def __init__(self, **items):
        self.items = items

    def __len__(self):
        return len(self.items)

    def __getitem__(self, label):
        return self.items[label]

    def __array__(self, dtype=None, copy=None):
        return np.array(list(self.items.values()), dtype=dtype)


FLOATS = [1.5, -2.0, 1e300]
WIDE = np.arange(40, dtype=np.float64).reshape(4, 10)


class Longer(np.ndarray):
    def __len__(self):
        return 3


CONVERTED = {
    "list": ([1, 2.5, True], DOUBLE, [1.0, 2.5, 1.0]),
    "tuple": ((1, 2), INT, [1, 2]),
    "empty": ([], DOUBLE, []),
    "empty array": (np.array([]), DOUBLE, []),
    "range": (range(3, 6), INT64, [3, 4, 5]),
    "text": ("LEG", CHARACTER, ["L", "E", "G"]),
    "numpy text": (np.array(["L", "E"]), CHARACTER, ["L", "E"]),
    "numbers as text": (["1.5", "2"], DOUBLE, [1.5, 2.0]),
    "small integers": ([1, -128, 127], INT8, ["1", "-128", "127"]),
    "small numpy integers": (np.array([3, -4], np.int8), INT8, ["3", "-4"]),
    "strings": (["ab", b"c", ""], STRING, ["ab", "c", ""]),
    "64 bits": ([2**62, -(2**62)], INT64, [2**62, -(2**62)]),
    "numpy scalars": ([np.intc(3), np.int_(4)], INT, [3, 4]),
    "indices": ([0, -1, 7], INT, [0, -1, 7]),
    "small scalars": (
        [np.float16(0.5), np.bool_(1), np.int8(-1), np.uint64(7)],
        DOUBLE,
        [0.5, 1.0, -1.0, 7.0],
    ),
    "float64": (np.array(FLOATS), DOUBLE, FLOATS),
    "float32": (np.array([0.5, 2], np.float32), DOUBLE, [0.5, 2.0]),
    "int64 as double": (np.array([1, 2]), DOUBLE, [1.0, 2.0]),
    "uint8 as double": (np.array([1, 200], np.uint8), DOUBLE, [1.0, 200.0]),
    "bool as double": (np.array([True, False]), DOUBLE, [1.0, 0.0]),
    "objects": (np.array([1, 2.5], object), DOUBLE, [1.0, 2.5]),
    "int64 as int": (np.array([1, 2]), INT, [1, 2]),
    "int32 as int64": (np.array([1, -2], np.int32), INT64, [1, -2]),
    "strided": (WIDE[1, ::3], DOUBLE, [10.0, 13.0, 16.0, 19.0]),
    "reversed": (WIDE[0, 2::-1], DOUBLE, [2.0, 1.0, 0.0]),
    "column of a matrix": (WIDE[:, 4], DOUBLE, [4.0, 14.0, 24.0, 34.0]),
    "broadcast": (np.broadcast_to(np.float64(7), 3), DOUBLE, [7.0] * 3),
    "big-endian doubles": (np.array(FLOATS, ">f8"), DOUBLE, FLOATS),
    "big-endian integers": (np.array([1, 256], ">i4"), INT, [1, 256]),
    "unaligned": (
        np.frombuffer(b"x" + np.array(FLOATS).tobytes(), np.float64, 3, 1),
        DOUBLE,
        FLOATS,
    ),
    "read only": (np.frombuffer(np.array(FLOATS).tobytes()), DOUBLE, FLOATS),
    "nothing masked": (masked(False), DOUBLE, [1.0, 2.0, 3.0]),
    "labelled": (Labelled(a=1.0, b=2.0), DOUBLE, [1.0, 2.0]),
}


@pytest.mark.parametrize(("values", "kind", "found"), CONVERTED.values(), ids=CONVERTED)
def test_containers_that_convert(values, kind, found):
    output = convert(values, kind)
    assert output == found
    assert [type(item) for item in output] == [type(item) for item in found]


REFUSED = {
    "a number": (5, INT, "Invalid sequence of objects"),
    "a dict": ({1: 2}, INT, "Invalid sequence of objects"),
    "a set": ({1, 2}, INT, "Invalid sequence of objects"),
    "unsized": (Unsized(), INT, "Invalid sequence of objects"),
    "no dimensions": (np.array(3.0), DOUBLE, "Invalid sequence of objects"),
    "two dimensions": (np.eye(2), DOUBLE, "an array of 2 dimensions"),
    "one column": (np.ones((3, 1)), DOUBLE, "an array of 2 dimensions"),
    "complex": (np.array([1j]), DOUBLE, "complex"),
    "masked": (masked([0, 1, 0]), DOUBLE, "Masked elements"),
    "all masked": (masked(True), DOUBLE, "Masked elements"),
    "float for integer": ([1.0], INT, "Integer expected, found 1.0"),
    "floats for integers": (np.array([1.0]), INT, "Integer expected"),
    "floats for 64 bits": (np.array([1.0]), INT64, "Integer expected"),
    "uint8 for integers": (np.array([1], np.uint8), INT, "Integer expected"),
    "too large": ([2**31], INT, "2147483648 is beyond the range of 32 bits"),
    "too large array": (np.array([2**31]), INT, "2147483648 is beyond the range of 32 bits"),
    "too large index": ([2**40], COLUMN, "beyond the range of 32 bits"),
    "beyond 64 bits": ([2**63], INT64, "beyond the range of 64 bits"),
    "beyond 8 bits": ([128], INT8, "beyond the range of 8 bits"),
    "a number for a character": ([5], CHARACTER, "Character expected, found 5"),
    "two characters": (["LG"], CHARACTER, "Character expected, found 'LG'"),
    "text for a number": (["1,5"], DOUBLE, "Number expected, found '1,5'"),
    "beyond floats": ([10**400], DOUBLE, "An element is an int beyond the range of floats"),
    "no character": ([""], CHARACTER, "Character expected, found ''"),
    "wide character": (["\u0142"], CHARACTER, "ASCII character expected"),
    "wide text": ("L\u0142", CHARACTER, "ASCII character expected"),
    "bytes for characters": (b"LE", CHARACTER, "Character expected"),
    "a number for a string": (["a", 5], STRING, "String expected, found 5"),
    "no ASCII": (["a", "\xe9"], STRING, "name '\xe9' .must be ASCII"),
    "cut by a NUL": (["a\0b"], STRING, "name 'a.x00b' .must not hold a NUL"),
    "an array that says it is longer": (np.ones(2).view(Longer), DOUBLE, "expected 3, found 2", 3),
    "no cut": ([5], CUT, "quilex.poolcut object expected"),
    "no object": ([object()], OBJECT, "quilex.qlxobject object expected"),
    "no array kind": ([1], SET, "kind 2"),
    "unknown kind": ([1], 11, "kind 11"),
}


@pytest.mark.parametrize("case", REFUSED)
def test_containers_that_are_refused(case):
    values, kind, message, *expected = REFUSED[case]
    with pytest.raises(RuntimeError, match=message):
        convert(values, kind, None, *expected)


def test_errors_of_elements_pass_through():
    class Failing:
        def __float__(self):
            raise ZeroDivisionError

    with pytest.raises(ZeroDivisionError):
        convert([1.0, Failing()], DOUBLE)
    with pytest.raises(TypeError):
        convert([None], DOUBLE)

    class Interrupted:
        def __len__(self):
            raise KeyboardInterrupt

        __getitem__ = __len__

    for operation in (lambda: convert(Interrupted(), DOUBLE), lambda: quilexlib.Sum(Interrupted())):
        with pytest.raises(KeyboardInterrupt):
            operation()


def test_none_is_no_array():
    assert convert(None, DOUBLE, expected=3) == []


def test_lengths_are_tied():
    assert convert([1, 2], INT, expected=2) == [1, 2]
    for values in ([1, 2, 3, 4], np.arange(4), "abcd"):
        kind = CHARACTER if isinstance(values, str) else INT
        with pytest.raises(
            RuntimeError, match="Mismatched lengths in arguments: expected 3, found 4"
        ):
            convert(values, kind, expected=3)


@pytest.mark.parametrize("length", [0, 1, 255, 256, 257, 300, 512, 513, 5000])
def test_iterators_of_any_length(length):
    assert convert(iter(range(length)), INT) == list(range(length))
    # The length of an iterator is reported, not compared.
    assert len(convert((float(i) for i in range(length)), DOUBLE, expected=3)) == length
    assert convert((str(i) for i in range(length)), STRING) == [str(i) for i in range(length)]


def test_a_failing_iterator_keeps_its_error():
    def numbers():
        yield from range(300)
        raise KeyError("end")

    with pytest.raises(KeyError):
        convert(numbers(), INT)


def test_a_list_that_shrinks_while_it_is_read():
    class Shrinking:
        def __float__(self):
            values.clear()
            gc.collect()
            return 1.0

    values = [Shrinking() for _ in range(10)]
    with pytest.raises(RuntimeError, match="Invalid sequence of objects"):
        convert(values, DOUBLE)


@pytest.mark.parametrize("old", [[], ["x"], ["x"] * 3, ["x"] * 7])
def test_lists_are_filled_in_place(old):
    output = list(old)
    same = output
    assert convert([1.0, 2.0, 3.0], DOUBLE, output=output) is same
    assert same == [1.0, 2.0, 3.0]


def test_outputs_other_than_lists():
    quilexlib._convert(None, [1], INT, -1, None, -1)  # not wanted
    with pytest.raises(RuntimeError, match="Argument of type List required"):
        convert([1], INT, output=(1, 2))


@pytest.mark.parametrize("kind", [INT, STRING])
def test_an_allocation_that_fails(kind):
    """Every failure ends the conversion, and what it had made is freed (see the live counts)."""
    values = [str(i) for i in range(600)] if kind == STRING else list(range(600))
    before = quilexlib._live_counts()["block"]
    for container in (list, iter):
        for allocations in range(400):
            try:
                convert(container(values), kind, allocations=allocations)
                break
            except MemoryError:
                assert quilexlib._live_counts()["block"] == before


def test_references_are_balanced():
    numbers = [float(i) for i in range(10)]
    before = sys.getrefcount(numbers[3])
    for _ in range(100):
        convert(numbers, DOUBLE)
        convert(iter(numbers), DOUBLE)
        with pytest.raises(TypeError):
            convert([*numbers, None], DOUBLE)
    after = sys.getrefcount(numbers[3])
    assert after == before
