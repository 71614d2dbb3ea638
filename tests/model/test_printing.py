"""The text of variables, terms and expressions."""

import pytest

import quilexlib


@pytest.mark.parametrize(
    ("source", "expected"),
    [
        ("x", "x"),
        ("-x", "-1*x"),
        ("0.5*x", "0.5*x"),
        ("1234567.0*x", "1.23457e+06*x"),
        ("x*y", "x*y"),
        ("y*x", "x*y"),
        ("3*x**2", "3*x**2"),
        ("x - y", "  x - y"),
        ("y - x", "  y - x"),
        ("2 + 3*x", "2 +3 x"),
        ("3*x + y + 1e20", "1e+20 +3 x + y"),
        ("-x - 2.5*y", " - x -2.5 y"),
        ("2*x + y*0.0 + 0*(x + y)", " 2 x"),
        ("x + 2*x*y", "  x +2 x*y"),
        ("x*x + 0*(x + y)", "  x**2"),
        ("5 - x*y + 3*z**2", "5 - x*y +3 z**2"),
        ("(x + y) - (x + y)", "0"),
        ("0*(x + y) - 1e-7", "-1e-07"),
        ("(x*y + x) - (x*y + x)", " 0 x*y"),
        ("(x*y + 1) - (x*y + 2)", "-1 +0 x*y"),
        ("(1e-200*x + y) * 1e-200", " 1e-200 y"),
        ("x + float('inf')*y", "  x +inf y"),
    ],
)
def test_text(names, source, expected):
    obj = eval(source, {"float": float}, names)
    assert str(obj) == repr(obj) == expected


def test_products_print_by_their_outer_variable(names):
    x, y, z, _ = names.values()
    assert str(y * z + x * y + y * y + 1) == "1 + y*z + y**2 + x*y"


def test_names_that_are_no_plain_text():
    raw = quilexlib.var(name=b"raw")
    accented = quilexlib.var(name="é")
    odd = quilexlib.var()
    odd.name = 5
    assert str(raw + 1) == "1 + raw" and str(2 * accented) == "2*é"
    with pytest.raises(TypeError):
        str(2 * raw)
    with pytest.raises(UnicodeEncodeError):
        str(accented + 1)
    with pytest.raises(RuntimeError, match=r"^Could not typeset linear part of expression$"):
        str(odd + 1)
    with pytest.raises(RuntimeError, match=r"^Could not typeset quadratic part of expression$"):
        str(odd * odd + 1)
