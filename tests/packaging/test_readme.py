"""The programs that README.md shows run, each by itself."""

import pathlib
import re
import subprocess
import sys

import pytest

README = pathlib.Path(__file__).resolve().parents[2] / "README.md"
PROGRAMS = re.findall(r"^```python\n(.*?)^```", README.read_text(), re.DOTALL | re.MULTILINE)


@pytest.mark.parametrize("program", PROGRAMS, ids=range(len(PROGRAMS)))
def test_program_runs_by_itself(program):
    result = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True)
    assert result.returncode == 0, result.stderr
    assert result.stdout


def test_there_are_programs():
    assert len(PROGRAMS) >= 2
