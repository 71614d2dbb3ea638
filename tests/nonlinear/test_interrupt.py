"""Ctrl-C inside the local solvers."""

import os
import signal
import statistics
import threading
import time

import pytest

import quilex


def chained_rosenbrock(count, method):
    problem = quilex.problem()
    x = [quilex.var(lb=-5, ub=5) for _ in range(count)]
    problem.addVariable(x)
    problem.setObjective(quilex.Sum(100 * (b - a**2) ** 2 + (1 - a) ** 2 for a, b in zip(x, x[1:])))
    problem.setControl("nlpsolver", method)
    problem.setControl("timelimit", 60.0)
    return problem, x


@pytest.mark.parametrize("method", [1, 2], ids=["slp", "interior"])
def test_ctrl_c_is_quick_and_keeps_the_point(interruptible, method):
    problem, x = chained_rosenbrock(4000, method)
    delays = []
    for _ in range(3):
        sent = []

        def send(sent=sent):
            sent.append(time.monotonic())
            os.kill(os.getpid(), signal.SIGINT)

        timer = threading.Timer(0.4, send)
        timer.start()
        try:
            with pytest.raises(KeyboardInterrupt):
                problem.solve()
            delays.append(time.monotonic() - sent[0])
        finally:
            timer.cancel()
        assert problem.getProbStatusString() == "nlp_unfinished"
        assert problem.attributes.stopstatus == quilex.stop_ctrlc
        assert all(-5 <= value <= 5 for value in problem.getSolution(x))
    assert statistics.median(delays) < 1.0  # 0.2 s, and room for slow machines
