"""Who may include whom, in the extension: read off the sources."""

import pathlib
import re

import pytest

ROOT = pathlib.Path(__file__).parents[2]
INCLUDE = re.compile(r'^#include "([a-z]+)/', re.MULTILINE)

# folder: the others that its files may include
ALLOWED = {
    "module": set(),
    "model": {"module", "nonlinear"},
    "nonlinear": {"module", "model"},
    "problem": {"module", "model", "nonlinear", "bridge", "callbacks"},
    "bridge": {"module", "model", "problem", "callbacks"},
    "callbacks": {"module", "model", "problem", "bridge"},
}
# Joins the types of all folders.
EXCEPTIONS = {"module/module.cpp"}


def sources(folder):
    return list((ROOT / folder).rglob("*.[ch]pp"))


@pytest.mark.parametrize("folder", ALLOWED)
def test_folders_include_only_what_they_may_know(folder):
    assert sources(folder)
    wrong = []
    for path in sources(folder):
        name = str(path.relative_to(ROOT))
        others = set(INCLUDE.findall(path.read_text())) - {folder} - ALLOWED[folder]
        if others and name not in EXCEPTIONS:
            wrong.append((name, sorted(others)))
    assert wrong == []


def test_the_model_knows_the_declarations_of_nodes_alone():
    wrong = [
        str(path.relative_to(ROOT))
        for path in sources("model")
        for header in re.findall(r'#include "(nonlinear/[^"]+)"', path.read_text())
        if header != "nonlinear/node.hpp"
    ]
    assert wrong == []
