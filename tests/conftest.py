"""What holds for the whole suite: it ends with no object of ours alive.

Debug builds count live modelling objects, blocks of memory and handles of the engine. The test that
looks at the counts runs last; other tests must not make modelling objects while they are collected.
"""

import gc
import pathlib
import signal

import pytest

import quilexlib

COUNTS_AT_START = quilexlib._live_counts()
LAST = pathlib.Path(__file__).parent / "test_live_counts.py"


def pytest_collection_modifyitems(items):
    for item in items:
        if item.path.name.startswith("test_numpy"):
            item.add_marker(pytest.mark.numpy_versions)
    items.sort(key=lambda item: item.path == LAST)


@pytest.fixture
def p():
    """A silent problem."""
    problem = quilexlib.problem("test")
    problem.controls.outputlog = 0
    return problem


@pytest.fixture
def left_alive(request):
    """Counts that have grown since the session began, by name; skips where nothing is counted."""
    if not COUNTS_AT_START:
        pytest.skip("only debug builds count live objects")
    if request.session.testsfailed:
        pytest.skip("the tracebacks of failed tests keep objects alive")
    gc.collect()
    now = quilexlib._live_counts()
    return {
        name: now[name] - COUNTS_AT_START.get(name, 0)
        for name in now
        if now[name] != COUNTS_AT_START.get(name, 0)
    }


@pytest.fixture
def interruptible():
    """SIGINT raises KeyboardInterrupt, also in a run in the background, where it is ignored."""
    old = signal.signal(signal.SIGINT, signal.default_int_handler)
    yield
    signal.signal(signal.SIGINT, old)
