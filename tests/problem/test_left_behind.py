"""Solves that neither an interrupt nor a time limit can end: their callers leave them behind.

The presolve of this model runs for a minute without asking anything.
"""

import subprocess
import sys
import textwrap
import time

import pytest

PROGRAM = """
    import os, random, signal, sys, threading, time
    import quilex

    random.seed(1)
    problem = quilex.problem()
    problem.controls.outputlog = 0
    count = 290_000
    x = [quilex.var(vartype=quilex.binary) for _ in range(count)]
    problem.addVariable(x)
    for _ in range(60_000):
        some = random.sample(range(count), 20)
        problem.addConstraint(
            quilex.Sum(random.randint(1, 60) * x[j] for j in some) <= random.randint(50, 99))
    profit = quilex.Sum((j % 100 + 1) * v for j, v in enumerate(x))
    problem.setObjective(profit, sense=quilex.maximize)

    seconds = 2.0
    if sys.argv[1] == "ctrl-c":
        signal.signal(signal.SIGINT, signal.default_int_handler)
        threading.Timer(seconds, os.kill, (os.getpid(), signal.SIGINT)).start()
    else:
        problem.controls.timelimit = seconds
    start = time.monotonic()
    stopped = "returned"
    try:
        problem.solve()
    except KeyboardInterrupt:
        stopped = "raised"
    print(stopped, time.monotonic() - start)

    # The same problem, now almost without a choice: all columns but the last are 0.
    problem.controls.timelimit = 60.0
    problem.chgbounds(x[:-1], ["U"] * (count - 1), [0.0] * (count - 1))
    problem.solve()
    print(problem.getProbStatusString(), problem.getObjVal())
    pid = os.fork()
    if pid == 0:
        problem.solve()
        os._exit(0 if problem.getObjVal() == 100 else 1)
    print("child", os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]))
    print("end", time.time())
"""


@pytest.mark.slow
@pytest.mark.parametrize(("way", "how"), [("ctrl-c", "raised"), ("timelimit", "returned")])
def test_the_caller_is_free_within_a_second(way, how):
    done = subprocess.run(
        [sys.executable, "-c", textwrap.dedent(PROGRAM), way],
        capture_output=True,
        text=True,
        timeout=300,
    )
    ended = time.time()
    assert done.returncode == 0, done.stderr
    stopped, again, child, end = (line.split() for line in done.stdout.splitlines())
    assert stopped[0] == how
    assert float(stopped[1]) < 3.0, "the time between the model's hand-over and the end included"
    assert again == ["mip_optimal", "100.0"]
    assert child == ["child", "0"]
    assert ended - float(end[1]) < 1.5
