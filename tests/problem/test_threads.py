"""Problems and threads: one owner at a time, several solves side by side, forks."""

import os
import subprocess
import sys
import threading
import time

import pytest
from hard_models import market_split

import quilex


@pytest.fixture
def solving():
    """A problem that another thread solves for about a second."""
    problem, x, _ = market_split()
    problem.controls.timelimit = 1.0
    thread = threading.Thread(target=problem.solve)
    thread.start()
    while problem_is_free(problem):
        time.sleep(0.001)
    yield problem, x
    thread.join()


def problem_is_free(problem):
    try:
        problem.name()
    except RuntimeError:
        return False
    return True


def test_every_method_of_a_problem_being_solved_is_refused(solving):
    problem, x = solving
    calls = {
        "solve": problem.solve,
        "addVariable": lambda: problem.addVariable(quilex.var()),
        "addConstraint": lambda: problem.addConstraint(x[0] <= 1),
        "addSOS": lambda: problem.addSOS(quilex.sos(x[:2], [1, 2])),
        "addIndicator": lambda: problem.addIndicator(x[0] == 1, x[1] <= 0),
        "delVariable": lambda: problem.delVariable(0),
        "getVariable": problem.getVariable,
        "getIndex": lambda: problem.getIndex(x[0]),
        "setObjective": lambda: problem.setObjective(x[0]),
        "getSolution": lambda: problem.getSolution(x[0]),
        "getSolutionArray": problem.getSolutionArray,
        "getObjVal": problem.getObjVal,
        "getProbStatus": problem.getProbStatus,
    }
    for call in calls.values():
        with pytest.raises(RuntimeError, match="is being solved by another thread"):
            call()
    # Nothing of this has changed the problem.
    assert repr(problem).startswith("<quilex.problem with 50 variables, 5 constraints")


def test_constraints_of_a_problem_being_solved_are_plain_values():
    problem, x, _ = market_split()
    extra = [x[0] + k * x[1] <= k + 5 for k in range(4)]
    named = quilex.constraint(body=x[2] - x[3], ub=3, name="named")
    problem.addConstraint(extra, named)
    held = [*extra, named]
    texts = [str(c.body) for c in (x[0] + k * x[1] <= k + 5 for k in range(4))]
    problem.controls.timelimit = 1.0
    thread = threading.Thread(target=problem.solve)
    thread.start()
    while problem_is_free(problem):
        time.sleep(0.001)
    assert [str(c.body) for c in extra] == [str(c.copy().body) for c in extra] == texts
    assert (named.ub, str(named.body)) == (3, str(x[2] - x[3]))
    other = quilex.problem()
    other.controls.outputlog = 0
    other.addVariable(x)
    other.addConstraint(held)
    other.addConstraint(c.copy() for c in held)
    assert [other.getIndex(c) for c in held] == list(range(len(held)))
    extra[0].body = x[5]
    other.delConstraint(extra[1])
    assert thread.is_alive()
    thread.join()
    assert problem.attributes.rows == 5 + len(held)
    assert problem.getIndex(extra[1]) == 6
    assert str(extra[1].body) == texts[1]


def test_two_threads_solve_two_problems():
    ends = []

    def solve(seed):
        problem, _, _ = market_split(rows=2, columns=14, seed=seed)
        problem.solve()
        ends.append((seed, problem.getProbStatusString(), problem.getObjVal()))

    threads = [threading.Thread(target=solve, args=(seed,)) for seed in (1, 2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    alone = {}
    for seed in (1, 2):
        problem, _, _ = market_split(rows=2, columns=14, seed=seed)
        problem.solve()
        alone[seed] = problem.getObjVal()
    assert {end[1] for end in ends} == {"mip_optimal"}
    assert {seed: value for seed, _, value in ends} == pytest.approx(alone)


def test_python_runs_while_a_problem_is_solved(solving):
    steps = 0
    end = time.monotonic() + 0.3
    while time.monotonic() < end:
        steps += 1
        time.sleep(0.001)
    assert steps > 30


def test_building_from_many_threads_keeps_lists_and_library_together():
    problem = quilex.problem()
    base = quilex.var()
    problem.addVariable(base)

    def build():
        for _ in range(50):
            v = quilex.var()
            problem.addVariable(iter([v]))
            problem.addConstraint(v + base <= k for k in range(5))

    threads = [threading.Thread(target=build) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert (problem.attributes.cols, problem.attributes.rows) == (201, 1000)
    for get in (problem.getVariable, problem.getConstraint):
        assert [problem.getIndex(one) for one in get()] == list(range(len(get())))


def solve_small(problem, x):
    problem.setObjective(quilex.Sum(x), sense=quilex.maximize)
    problem.solve()
    return problem.getObjVal()


def test_solve_then_fork_then_solve_in_the_child():
    problem = quilex.problem()
    problem.controls.outputlog = 0
    x = [quilex.var(ub=3, vartype=quilex.integer) for _ in range(5)]
    problem.addVariable(x)
    problem.addConstraint(quilex.Sum(x) <= 11)
    assert solve_small(problem, x) == pytest.approx(11)
    child = os.fork()
    if child == 0:
        status = 1
        try:
            problem.addConstraint(x[0] + x[1] + x[2] <= 2)
            again = solve_small(problem, x)
            new = quilex.problem()
            new.controls.outputlog = 0
            new.addVariable(x)
            status = 0 if (again, solve_small(new, x)) == pytest.approx((8, 15)) else 2
        finally:
            os._exit(status)
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0
    assert solve_small(problem, x) == pytest.approx(11)


EXIT_WHILE_SOLVING = """
import random, threading, time
import quilex
r = random.Random(3)
p = quilex.problem()
p.controls.outputlog = 0
x = quilex.vararray(60, vartype=quilex.binary)
p.addVariable(x)
p.addConstraint(quilex.Sum(r.randint(1, 99) * v for v in x) <= 1900 for _ in range(25))
p.setObjective(quilex.Sum(r.randint(1, 99) * v for v in x), sense=quilex.maximize)
threading.Thread(target=p.solve, daemon=True).start()
time.sleep(0.3)
"""


def test_the_interpreter_ends_while_a_daemon_thread_solves():
    # What a running thread holds is no leak, and the sanitizer cannot look for any beside one.
    options = os.environ.get("ASAN_OPTIONS", "").replace("detect_leaks=1", "detect_leaks=0")
    for _ in range(3):
        child = subprocess.run(
            [sys.executable, "-c", EXIT_WHILE_SOLVING],
            capture_output=True,
            text=True,
            timeout=60,
            env=os.environ | {"ASAN_OPTIONS": options},
        )
        assert (child.returncode, child.stderr) == (0, "")
