"""Ctrl-C during a solve."""

import os
import signal
import threading
import time

import pytest
from hard_models import is_feasible, market_split

import quilex


@pytest.fixture
def send_interrupt(interruptible):
    """Sends this process SIGINT after some seconds, unless the test is over by then."""
    timers = []

    def send(seconds, number=signal.SIGINT):
        timers.append(threading.Timer(seconds, os.kill, (os.getpid(), number)))
        timers[-1].start()

    yield send
    for timer in timers:
        timer.cancel()


@pytest.mark.parametrize("seconds", [0.05, 1.0])
def test_ctrl_c_stops_a_solve(send_interrupt, seconds):
    problem, x, slacks = market_split()
    send_interrupt(seconds)
    started = time.monotonic()
    with pytest.raises(KeyboardInterrupt):
        problem.solve()
    assert time.monotonic() - started < seconds + 5
    assert problem.attributes.stopstatus == quilex.stop_ctrlc
    if problem.getProbStatusString() == "mip_solution":
        assert is_feasible(problem, x, slacks)
    else:
        assert seconds < 1, "a second is enough for a first solution"
    # The problem is as usable as before.
    problem.controls.timelimit = 0.5
    problem.solve()
    assert problem.attributes.stopstatus == quilex.stop_timelimit
    assert is_feasible(problem, x, slacks)
    problem.addConstraint(v <= 0 for v in x)
    problem.controls.timelimit = 60.0
    problem.solve()
    assert problem.getProbStatusString() == "mip_optimal"


def test_a_failing_message_handler_stops_a_solve():
    problem, *_ = market_split()
    problem.controls.timelimit = 60.0

    def handler(sender, data, thread, text, kind, number):
        if kind > 0:
            raise ZeroDivisionError("in the handler")

    quilex.addcbmsghandler(handler, None, 0)
    started = time.monotonic()
    try:
        with pytest.raises(ZeroDivisionError, match="in the handler"):
            problem.solve()
    finally:
        quilex.removecbmsghandler(handler, None)
    assert time.monotonic() - started < 30
    assert problem.attributes.stopstatus == quilex.stop_user


def test_ctrl_c_stops_the_nodes_of_another_search(send_interrupt):
    problem, x, slacks = market_split()
    either = quilex.var(vartype=quilex.semicontinuous, ub=quilex.infinity, threshold=2)
    problem.addVariable(either)
    problem.addConstraint(either + x[0] >= 1)
    send_interrupt(1.0)
    with pytest.raises(KeyboardInterrupt):
        problem.solve()
    assert problem.attributes.stopstatus == quilex.stop_ctrlc
    assert problem.getProbStatusString() == "mip_solution"
    assert is_feasible(problem, x, slacks)
    value = problem.getSolution(either)
    assert value >= 2 - 1e-6 or abs(value) <= 1e-6


def test_handlers_that_do_not_raise_let_the_solve_go_on(send_interrupt):
    seen = []
    old = signal.signal(signal.SIGUSR1, lambda *arguments: seen.append(arguments))
    try:
        problem, _, _ = market_split()
        problem.controls.timelimit = 1.0
        send_interrupt(0.2, signal.SIGUSR1)
        problem.solve()
        assert len(seen) == 1
        assert problem.attributes.stopstatus == quilex.stop_timelimit
    finally:
        signal.signal(signal.SIGUSR1, old)


def test_an_interrupt_of_the_main_thread_leaves_other_threads_solving(send_interrupt):
    problem, _, _ = market_split()
    problem.controls.timelimit = 1.5
    solver = threading.Thread(target=problem.solve)
    solver.start()
    send_interrupt(0.3)
    with pytest.raises(KeyboardInterrupt):
        while solver.is_alive():
            time.sleep(0.01)
    solver.join()
    assert problem.attributes.stopstatus == quilex.stop_timelimit
