"""numpy scalars and arrays on either side of every operator, under numpy 1 and 2 alike.

The kinds that count as constants give what the plain number gives; every other kind raises. Never a
bool, never a zero-dimensional array, never a lost constraint.
"""

import operator

import numpy
import pytest

import quilexlib

CONSTANTS = {
    numpy.float64: 3.5,
    numpy.float32: 3.5,
    numpy.int64: 3,
    numpy.int32: 3,
    numpy.intc: 3,
    numpy.int_: 3,
}
OTHERS = [
    *(numpy.dtype(c).type(3) for c in "bBhHIQefdgFDG?" if c not in "d"),
    numpy.str_("3"),
    numpy.bytes_(b"3"),
    numpy.datetime64("2026-01-01"),
    numpy.timedelta64(3, "s"),
    numpy.zeros(1, dtype=[("a", "f8")])[0],
    numpy.void(b"abc"),
]
OTHERS = [scalar for scalar in OTHERS if type(scalar) not in CONSTANTS]

ARITHMETIC = [operator.add, operator.sub, operator.mul, operator.truediv, operator.pow]
IN_PLACE = [operator.iadd, operator.isub, operator.imul, operator.itruediv, operator.ipow]
COMPARISONS = [operator.le, operator.ge, operator.eq]
WITHOUT_MEANING = [operator.floordiv, operator.mod, divmod]
STRICT = [operator.lt, operator.gt, operator.ne]


def operands():
    x, y = quilexlib.var(name="x"), quilexlib.var(name="y")
    return {
        "var": x,
        "linterm": 2 * x,
        "quadterm": x * y,
        "expression": x + y + 1,
        "nonlinear": abs(x),
    }


KINDS = list(operands())


def text(obj):
    if type(obj) is float:
        return obj
    if type(obj).__name__ == "constraint":
        return obj.lb, obj.ub, text(obj.body)
    assert type(obj).__module__ == "quilex", type(obj)
    return type(obj).__name__, str(obj)


def outcome(operation, a, b):
    try:
        return text(operation(a, b))
    except RuntimeError as error:
        return str(error)


@pytest.mark.parametrize("kind", KINDS)
@pytest.mark.parametrize(
    "scalar", [t(v) for t, v in CONSTANTS.items()], ids=lambda s: type(s).__name__
)
def test_constants_count_as_plain_numbers(kind, scalar):
    plain = scalar.item()
    for operation in (*ARITHMETIC, *COMPARISONS, *IN_PLACE):
        for left in (False, True):
            if left and operation in IN_PLACE:
                continue
            found, expected = operands()[kind], operands()[kind]
            pairs = (
                [(scalar, found), (plain, expected)]
                if left
                else [(found, scalar), (expected, plain)]
            )
            results = [outcome(operation, *pair) for pair in pairs]
            assert results[0] == results[1], (operation, left)
    obj = operands()[kind]
    array = numpy.array([obj])
    for operation in COMPARISONS:
        assert text(operation(array, scalar)[0]) == text(operation(obj, plain))
        assert type(operation(scalar, array)[0]) is quilexlib.constraint


@pytest.mark.parametrize("kind", KINDS)
@pytest.mark.parametrize("scalar", OTHERS, ids=lambda s: type(s).__name__)
def test_all_other_scalars_are_refused(kind, scalar):
    obj = operands()[kind]
    for operation in (*ARITHMETIC, *COMPARISONS, *WITHOUT_MEANING, *STRICT):
        for a, b in ((obj, scalar), (scalar, obj)):
            if operation is operator.mod and a is scalar and isinstance(a, str | bytes):
                continue  # text formatting
            assert outcome(operation, a, b) == "Invalid object in operation", (operation, a, b)
    for operation in IN_PLACE:
        assert outcome(operation, obj, scalar) == "Invalid object in operation", operation


@pytest.mark.parametrize("kind", [k for k in KINDS if k != "nonlinear"])
def test_arrays_apply_operators_to_every_element(kind):
    obj = operands()[kind]
    for array in (numpy.array([1.0, 2.0]), numpy.array([[1, 4]]), numpy.array([1, 2]).view(Sub)):
        for operation in ARITHMETIC[:4] + IN_PLACE[:4]:
            name = operation.__name__
            obj = operands()[kind]
            result = operation(obj, array)
            assert isinstance(result, numpy.ndarray) and result.dtype == object
            assert result.shape == array.shape and type(result) is type(array)
            expected = [element_result(name, operands()[kind], v) for v in array.flat]
            assert [text(e) for e in result.flat] == [text(e) for e in expected], name
        for operation in ARITHMETIC[:4]:
            result = operation(array, obj)
            assert [text(e) for e in result.flat] == [
                text(operation(v.item(), obj)) for v in array.flat
            ]
        for operation in (operator.pow, operator.ipow):
            with pytest.raises(
                RuntimeError, match=r"^Cannot obtain a power with a vector as an exponent$"
            ):
                operation(obj, array)


class Sub(numpy.ndarray):
    pass


def element_result(name, obj, value):
    """What numpy makes of one element when the operation is handed to it."""
    value = float(value)
    return {
        "add": lambda: value + obj,
        "sub": lambda: -value + obj,
        "mul": lambda: value * obj,
        "truediv": lambda: (1.0 / value) * obj,
    }[name.removeprefix("i")]()


@pytest.mark.parametrize("dtype", ["u1", "u4", "u8", "i1", "i8", "?", "f2", "f4"])
def test_arrays_of_any_number_type_neither_wrap_nor_round(dtype):
    x = quilexlib.var(name="x")
    info = numpy.iinfo(dtype) if dtype[0] in "ui" else None
    array = numpy.array([1, info.min if info else 3], dtype)
    for result, value in zip(x - array, array.tolist()):
        assert quilexlib._parts(1 * result)[0] == -value
    e = x + 1
    e -= array
    assert [quilexlib._parts(item)[0] for item in e] == [1.0 - v for v in array.tolist()]
    third = x / numpy.array([3], dtype)
    assert quilexlib._parts(third[0])[1][0][1] == 1 / float(numpy.array([3], dtype)[0])


def test_zero_dimensional_arrays():
    x = quilexlib.var(name="x")
    for array in (numpy.array(3.0), numpy.array(3)):
        assert text(x * array) == text(array * x) == ("linterm", "3*x")


class Frame:
    """A foreign array type: operators with modelling objects are its own business."""

    __array_priority__ = 1000

    def answer(self, other):
        return "mine"

    __radd__ = __rsub__ = __rmul__ = __rtruediv__ = __rpow__ = answer
    __rfloordiv__ = __rmod__ = __le__ = __ge__ = __eq__ = answer


class UfuncFrame(Frame):
    __array_priority__ = None
    __array_ufunc__ = None


class SilentFrame:
    __array_priority__ = 1000


class ShruggingFrame(SilentFrame):
    def __eq__(self, other):
        return NotImplemented


@pytest.mark.parametrize("frame", [SilentFrame(), ShruggingFrame()])
def test_a_constraint_is_not_lost_to_a_foreign_array_without_an_answer(frame):
    for obj in operands().values():
        for operation in (operator.eq, operator.ne):
            with pytest.raises(RuntimeError, match=r"^Invalid object in operation$"):
                operation(obj, frame)


@pytest.mark.parametrize("frame", [Frame(), UfuncFrame()])
def test_foreign_arrays_answer_for_themselves(frame):
    for obj in operands().values():
        for operation in (*ARITHMETIC, operator.floordiv, operator.mod, *COMPARISONS):
            assert operation(obj, frame) == "mine", (type(obj), operation)
