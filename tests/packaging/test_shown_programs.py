"""The programs that README.md and the pages of docs/ show, and the examples, run each by itself."""

import pathlib
import re
import subprocess
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGES = [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]
PROGRAMS = [
    pytest.param(program, id=f"{page.stem}-{number}")
    for page in PAGES
    for number, program in enumerate(
        re.findall(r"^```python\n(.*?)^```", page.read_text(), re.DOTALL | re.MULTILINE)
    )
]


def output_of(*arguments):
    result = subprocess.run([sys.executable, *arguments], capture_output=True, text=True)
    assert result.returncode == 0, result.stderr
    return result.stdout


@pytest.mark.parametrize("program", PROGRAMS)
def test_program_runs_by_itself(program):
    output_of("-c", program)


def test_there_are_programs():
    assert len(PROGRAMS) >= 4


def test_the_curve_is_fitted_and_drawn(tmp_path):
    picture = tmp_path / "fit.svg"
    output = output_of(str(ROOT / "examples" / "curve_fit.py"), str(picture))
    assert "agrees to" in output
    assert picture.read_text().startswith("<svg")
