"""Terms and expressions: nodes, quotients and powers, one row a rule, and refusals."""

import pytest

import quilexlib


@pytest.mark.parametrize(
    ("source", "expected"),
    [
        # Sums and products: test_property. These are nodes.
        ("(x*y) * z", (3, "z", "x*y")),
        ("(2*z) * (x*y)", (3, "x*y", "2*z")),
        ("(x*y) * (z*w)", (3, "z*w", "x*y")),
        # quotients
        ("(3*x) / 2", "1.5*x"),
        ("(3*x) / (2*x)", 1.5),
        ("x / (2*x)", 0.5),
        ("(2*x) / x", 2.0),
        ("(2*x) / y", (4, "2*x", "y")),
        ("x / (2*y)", (4, "x", "2*y")),
        ("(3*(x*y)) / 2", "1.5*x*y"),
        ("(6*x*y) / (2*x)", "3*y"),
        ("(x*y) / x", "y"),
        ("(x*y) / y", "x"),
        ("(x*x) / x", "x"),
        ("(x*y) / z", (4, "x*y", "z")),
        ("(x*y) / (2*z)", (4, "x*y", "2*z")),
        ("(6*x) / (2*x*y)", (4, 3.0, "y")),
        ("y / (2*x*y)", (4, 0.5, "x")),
        ("z / (x*y)", (4, "z", "x*y")),
        ("(x*y) / (x*y)", 1.0),
        ("(3*x*y) / (2*(y*z))", (4, "1.5*x", "z")),
        ("(x*y) / (z*x)", (4, "y", "z")),
        ("(x*x) / (x*y)", (4, "x", "y")),
        ("(x*y) / (y*y)", (4, "x", "y")),
        ("(x*y) / (z*w)", (4, "x*y", "z*w")),
        # powers
        ("(2*x) ** 0", 1.0),
        ("(2*x) ** 1", "2*x"),
        ("(2*x) ** 2", "4*x**2"),
        ("(x*y) ** 0", 1.0),
        ("(x*y) ** 1", "x*y"),
        ("1 ** (x*y)", 1.0),
        ("(x + y) ** 2", (0.0, {"x*x": 1.0, "x*y": 2.0, "y*y": 1.0})),
        ("(x + y) ** 1", (0.0, {"x": 1.0, "y": 1.0})),
        ("(x + y) ** 0", 1.0),
        ("(x + y) / 4", (0.0, {"x": 0.25, "y": 0.25})),
    ],
)
def test_rules(names, structure, source, expected):
    assert structure(eval(source, {}, names)) == expected


@pytest.mark.parametrize(
    ("code", "sources"),
    [
        (4, ["3 / (2*x)", "0 / (2*x)", "3 / (x*y)"]),
        (5, ["(2*x) ** 3", "(x*y) ** 2", "2 ** (2*x)", "1 ** (2*x)", "2 ** (x*y)"]),
        (5, ["x ** (2*y)", "(2*x) ** y", "(x*y) ** (z*w)"]),
        (17, ["abs(2*x)", "abs(x*y)"]),
        # of expressions: the degree, or a quadratic part that exists, though without a product
        (
            3,
            [
                "(x*y + 1) * x",
                "(x*y + 1) * (x + 1)",
                "(x*y + 1) * (x*y + 1)",
                "(x + 1) * (x*y)",
                "(2*x) * (x*y + 1)",
                "(x*y + x) ** 2",
                "(x * (0*(x + y) + 3)) * x",
            ],
        ),
        (5, ["(x + y) ** 3", "(x + y) ** x", "2 ** (x + y)"]),
        (4, ["(x + y) / x", "3 / (x + y)", "(x + y) / (2*x)"]),
        (17, ["abs(x + y)"]),
        (0, ["(x + y) + abs(x)"]),
    ],
)
def test_nodes(names, code, sources):
    for source in sources:
        node = eval(source, {}, names)
        assert (type(node).__name__, quilexlib._parts(node)[0]) == ("nonlinear", code), source


@pytest.mark.parametrize(
    ("source", "message"),
    [
        ("(2*x) / 0", "Division by zero"),
        ("(x*y) / 0", "Division by zero of a bilinear term"),
        ("(3*x) / (0*(x*y))", "Division by zero of a linear term"),
        ("x / (0*(x*y))", "Division by zero of a variable"),
        ("(2*x) + 'a'", "Invalid object in operation"),
        ("(x*y) - None", "Invalid object in operation"),
        ("(2*x).__itruediv__(0)", "Division by zero"),
        ("(x*y).__itruediv__(0)", "Division by zero"),
        ("(2*x) * (y + 1)", "Error amending expression"),
        ("(y + 1) * (2*x)", "Error amending expression"),
        ("(2*x) * (y + z)", "Cannot amend quadratic expression"),
        ("(x + y) / 0", "Division by zero"),
        ("(x + y).__itruediv__(0)", "Division by zero"),
        ("(x + y) + 'a'", "Invalid object in operation"),
        ("(x + y).__iadd__([])", "Invalid object in operation"),
        ("type(2*x)()", None),
        ("type(x*y)()", None),
    ],
)
def test_refusals(names, source, message):
    with pytest.raises(RuntimeError if message else TypeError) as raised:
        eval(source, {}, names)
    assert message is None or str(raised.value) == message


@pytest.mark.parametrize("source", ["2*x", "x*y"])
def test_in_place_returns_the_term_for_neutral_operands(names, source):
    term = eval(source, {}, names)
    same = term
    same += 0
    same -= 0.0
    same *= 1
    same /= 1.0
    same **= True
    assert same is term
    before = str(term)
    same += names["z"]
    same *= 5
    assert str(term) == before
    term **= 0
    assert term == 1.0


def test_terms_are_unhashable(names):
    for term in (2 * names["x"], names["x"] * names["y"], names["x"] + 1):
        with pytest.raises(TypeError, match="unhashable"):
            hash(term)
