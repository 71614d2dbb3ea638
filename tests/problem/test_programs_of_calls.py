"""Random programs of 90 calls from two threads, on two problems that share constraints.

A call succeeds or raises an error of a known kind. Whatever happens, a constraint that a program
holds keeps its body and bounds, at every moment and for every thread, and in the end a problem's
lists agree with its library. The short form runs 10 programs, ``QUILEX_LONG=1`` 300; meant to be
run under the address sanitizer too.
"""

import contextlib
import gc
import os
import random
import re
import sys
import threading

import numpy as np
import pytest

import quilex

PROGRAMS = 300 if os.environ.get("QUILEX_LONG") else 10
CALLS = 90
ALLOWED = (RuntimeError, IndexError, TypeError, ValueError)


class Meddles(int):
    """A number whose conversion runs calls of the program."""

    program = None

    def __float__(self):
        if self.program:
            self.program()
        return 3.0


class Frame:
    """Objects in a frame, whose items go by label."""

    def __init__(self, items):
        self.items = np.array([*items, None], dtype=object)[:-1]

    def __array__(self, dtype=None, copy=None):
        return self.items

    def __len__(self):
        return 1

    def __getitem__(self, label):
        raise KeyError(label)


def text_of(c):
    """The body's text; whole numbers of a formula become floats in a copy."""
    return re.sub(r"(?<![\w.])(\d+)(?![\w.])", r"\1.0", str(c.body))


class Program:
    def __init__(self, seed):
        self.seed = seed
        r = random.Random(seed)
        self.x = [quilex.var(f"x{k}", ub=10, vartype=k % 2) for k in range(12)]
        self.problems = [self.problem(r) for _ in range(2)]
        self.held = []  # (constraint, text of its body, lower bound, upper bound)
        self.faults = []
        for _ in range(8):
            self.hold(self.row(r))

    def problem(self, r):
        p = quilex.problem()
        p.controls.outputlog = 0
        p.controls.timelimit = 1
        p.addVariable(self.x)
        # A few milliseconds of search: weights of a market split.
        for _ in range(2):
            p.addConstraint(quilex.Sum(r.randrange(100) * v for v in self.x[1::2]) == 1200)
        return p

    def row(self, r):
        x, y, z = r.sample(self.x, 3)
        body = r.choice(
            [
                lambda: x + r.randrange(1, 5) * y - z,
                lambda: x - x + y,
                lambda: quilex.Sum(r.randrange(3) * v for v in self.x),
                lambda: 0.1 * x + 0.2 * x + y,
                lambda: x * y + z,
                lambda: quilex.sin(x) * y + z**3 + 1 if r.random() < 0.2 else x + y,
            ]
        )()
        if isinstance(body, int | float):
            body = x + y
        return quilex.constraint(body=body, lb=-100, ub=r.randrange(50, 100))

    def hold(self, c):
        self.held.append((c, text_of(c), c.lb, c.ub))

    def look(self, r):
        """The one thing that is never refused."""
        c, text, lb, ub = r.choice(list(self.held))
        found = r.choice(
            [lambda: c, lambda: c.copy(), lambda: quilex.constraint(c), lambda: c, lambda: c]
        )()
        if (text_of(found), found.lb, found.ub) != (text, lb, ub):
            self.faults.append((self.seed, text, text_of(found), found.lb, found.ub))

    def call(self, r):
        p = r.choice(self.problems)
        c = r.choice(list(self.held))[0]
        x = r.choice(self.x)
        rows = [one[0] for one in r.sample(list(self.held), 3)]
        k = r.randrange(12)
        calls = [
            (14, lambda: self.look(r)),
            (10, p.solve),
            (8, lambda: p.addConstraint(c)),
            (4, lambda: p.addConstraint(rows)),
            (2, lambda: p.addConstraint(Frame(rows))),
            (4, lambda: p.addConstraint(self.row(r), quilex.var() <= 1)),
            (4, lambda: p.addConstraint(self.row(r) for _ in range(5))),
            (3, lambda: p.addConstraint(self.meddling(r) <= 40)),
            (6, lambda: p.delConstraint(c)),
            (2, lambda: p.delConstraint(rows)),
            (2, lambda: p.delConstraint(k)),
            (1, lambda: p.delVariable(x)),
            (2, lambda: p.addVariable(quilex.var() for _ in range(3))),
            (2, lambda: p.addVariable([x])),
            (3, lambda: p.chgrhs([k], [77])),
            (3, lambda: p.chgcoef(c, x, 2.0)),
            (3, lambda: p.chgmcoef([k, 0], [x, x], [1.0, 2.0])),
            (4, lambda: p.setObjective(quilex.Sum(self.x[k:]), sense=quilex.maximize)),
            (1, lambda: p.setObjective(self.meddling(r))),
            (3, lambda: p.getSolution(self.x)),
            (3, lambda: p.getSlack(rows)),
            (4, lambda: [str(one.body) for one in p.getConstraint()]),
            (3, lambda: self.take_over(p, r)),
            (2, lambda: p.getIndex(c)),
            (2, lambda: p.addSOS(quilex.sos(r.sample(self.x, 3), [1, 2, 3]))),
            (1, lambda: p.addIndicator(x == 1, c)),
            (2, lambda: self.hold(self.row(r))),
            (2, lambda: self.held.pop(0) if len(self.held) > 6 else None),
            (2, lambda: repr(p)),
            (1, gc.collect),
            (1, lambda: self.replace(p, r)),
        ]
        r.choices([one for _, one in calls], [weight for weight, _ in calls])[0]()

    def meddling(self, r):
        number = Meddles(3)
        body = quilex.sin(self.x[0]) * self.x[1] * number
        inner = random.Random(r.random())
        number.program = lambda: self.guarded(inner)
        return body

    def take_over(self, p, r):
        """Constraints that slept come back; their bodies may have been changed in the library."""
        found = r.choice(p.getConstraint())
        self.hold(found)

    def replace(self, p, r):
        self.problems[self.problems.index(p)] = self.problem(r)

    def guarded(self, r):
        with contextlib.suppress(ALLOWED):
            self.call(r)

    def run(self):
        start = threading.Barrier(2)

        def work(number):
            r = random.Random(2 * self.seed + number)
            start.wait()
            for _ in range(CALLS // 2):
                try:
                    self.guarded(r)
                    self.look(r)
                except BaseException as error:
                    self.faults.append((self.seed, repr(error)))

        threads = [threading.Thread(target=work, args=(number,)) for number in range(2)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()

    def check(self):
        assert self.faults == []
        for c, text, lb, ub in self.held:
            assert (text_of(c), c.lb, c.ub) == (text, lb, ub)
        for p in self.problems:
            rows, columns = p.getConstraint(), p.getVariable()
            assert (p.attributes.rows, p.attributes.cols) == (len(rows), len(columns))
            assert [p.getIndex(c) for c in rows] == list(range(len(rows)))
            assert [p.getIndex(v) for v in columns] == list(range(len(columns)))
            assert all(c.body is not None for c in rows)


@pytest.fixture
def hasty():
    """Threads change places often."""
    interval = sys.getswitchinterval()
    sys.setswitchinterval(1e-5)
    yield
    sys.setswitchinterval(interval)


@pytest.mark.parametrize("chunk", range(10))
def test_programs_of_calls_from_two_threads(chunk, hasty):
    for k in range(PROGRAMS // 10):
        program = Program(1000 * chunk + k)
        program.run()
        program.check()
