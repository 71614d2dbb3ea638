"""Import: quick, nothing left switched on, and everything of the extension under one name."""

import json
import os
import subprocess
import sys

import pytest

import quilex
import quilexlib


def run(code):
    """Run code in a fresh interpreter; its last line is JSON."""
    output = subprocess.run(
        [sys.executable, "-c", code], capture_output=True, text=True, check=True
    )
    return json.loads(output.stdout.splitlines()[-1])


@pytest.mark.skipif("asan" in os.environ.get("LD_PRELOAD", ""), reason="timing")
def test_import_takes_at_most_60_ms_beyond_numpy():
    code = (
        "import json, numpy, time; start = time.perf_counter(); import quilex;"
        "print(json.dumps(time.perf_counter() - start))"
    )
    assert min(run(code) for _ in range(5)) <= 0.060


def test_import_leaves_the_library_off_and_no_handle_open():
    code = "import json, quilexlib; print(json.dumps(quilexlib._live_counts()))"
    counts = run(code)
    if not counts:
        pytest.skip("only debug builds count")
    # The module's own controls object is the one thing that is alive.
    alive = {name: count for name, count in counts.items() if count and name != "control"}
    assert alive == {}


def test_package_gives_all_public_names_of_the_extension():
    public = {name for name in vars(quilexlib) if not name.startswith("_")}
    assert public <= set(quilex.__all__)
    assert all(getattr(quilex, name) is getattr(quilexlib, name) for name in public)
