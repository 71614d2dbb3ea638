"""The copied solver libraries: they keep to themselves, and HiPO runs from them."""

import pathlib
import re
import subprocess
import sys

import pytest

import quilexlib

LIBRARIES = pathlib.Path(quilexlib.__file__).parent / "quilex" / "lib"

# Minimise x^2 + y^2 - x over x + y >= 1 in [0, 10]^2: -1/8 at (3/4, 1/4).
SOLVE_A_QP = """
import ctypes, sys
highs = ctypes.CDLL(sys.argv[1])
doubles = lambda *v: (ctypes.c_double * len(v))(*v)
ints = lambda *v: (ctypes.c_int * len(v))(*v)
highs.Highs_create.restype = ctypes.c_void_p
highs.Highs_getObjectiveValue.restype = ctypes.c_double
problem = ctypes.c_void_p(highs.Highs_create())
highs.Highs_passModel(
    problem, 2, 1, 2, 2, 1, 1, 1, ctypes.c_double(0), doubles(-1, 0), doubles(0, 0),
    doubles(10, 10), doubles(1), doubles(1e30), ints(0, 1, 2), ints(0, 0), doubles(1, 1),
    ints(0, 1, 2), ints(0, 1), doubles(2, 2), None)
highs.Highs_setStringOptionValue(problem, b"solver", b"hipo")
highs.Highs_run(problem)
print("objective", highs.Highs_getObjectiveValue(problem))
highs.Highs_destroy(problem)
"""


def elf_names(library, tag):
    """Entries of a library's dynamic section, for example its NEEDED ones."""
    output = subprocess.run(["readelf", "-d", library], capture_output=True, text=True, check=True)
    return re.findall(rf"\({tag}\).*\[(.*)\]", output.stdout)


def test_hipo_finds_its_companion():
    output = subprocess.run(
        [sys.executable, "-c", SOLVE_A_QP, str(LIBRARIES / "libqlx_highs.so")],
        capture_output=True,
        text=True,
        check=True,
    ).stdout
    assert "Running HiPO" in output
    assert float(output.split("objective")[-1]) == pytest.approx(-0.125, abs=1e-7)


def test_no_library_can_be_taken_for_one_of_another_package():
    for library in LIBRARIES.glob("*.so*"):
        runtime = library.name.startswith(("libgfortran-", "libquadmath-"))
        assert elf_names(library, "SONAME") == [library.name] or library.is_symlink()
        if not runtime:
            assert library.name.startswith("libqlx")
            assert elf_names(library, "RPATH") in (["$ORIGIN"], [])
