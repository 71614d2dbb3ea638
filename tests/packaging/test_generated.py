"""The pages and stubs that are written from tables are up to date."""

import pathlib
import subprocess
import sys

import pytest

import quilexlib

ROOT = pathlib.Path(__file__).resolve().parents[2]


def test_pages_and_stub_are_up_to_date():
    if not hasattr(quilexlib, "_library_methods"):
        pytest.skip("only debug builds list the library's methods")
    result = subprocess.run(
        [sys.executable, ROOT / "script" / "generate.py", "--check"],
        capture_output=True,
        text=True,
    )
    assert result.returncode == 0, result.stdout + result.stderr
