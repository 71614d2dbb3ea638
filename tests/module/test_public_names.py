"""The stubs and the generated pages say what the module has."""

import ast
import pathlib

import quilex

ROOT = pathlib.Path(__file__).resolve().parents[2]
STUB = ast.parse((ROOT / "quilex" / "__init__.pyi").read_text())


def stated_names(body):
    names = set()
    for statement in body:
        if isinstance(statement, (ast.FunctionDef, ast.ClassDef)):
            names.add(statement.name)
        elif isinstance(statement, ast.AnnAssign):
            names.add(statement.target.id)
    return names


def test_stubs_name_everything_public():
    public = {name for name in quilex.__all__ if name != "__version__"}
    stated = {name for name in stated_names(STUB.body) if not name.startswith("_")}
    assert public - stated == set()
    assert stated - public == set()


def test_stubs_name_the_members_of_every_type():
    for statement in STUB.body:
        kind = getattr(quilex, getattr(statement, "name", ""), None)
        if not isinstance(statement, ast.ClassDef) or not isinstance(kind, type):
            continue
        members = {name for name in vars(kind) if not name.startswith("_")}
        stated = {name for name in stated_names(statement.body) if not name.startswith("_")}
        assert (kind.__name__, members - stated) == (kind.__name__, set())
        assert (kind.__name__, stated - members) == (kind.__name__, set())


def test_every_function_and_method_has_a_docstring():
    for owner in (quilex, quilex.problem, quilex.var, quilex.constraint, quilex.sos):
        for name in dir(owner):
            if not name.startswith("_") and callable(getattr(owner, name)):
                assert getattr(owner, name).__doc__, f"{owner.__name__}.{name}"
