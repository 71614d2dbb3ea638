"""The problem as a Python object: creation, subclasses, garbage collection, release."""

import copy
import gc
import pickle
import subprocess
import sys
import weakref

import pytest

import quilex


@pytest.mark.parametrize(
    "arguments, name", [((), "noname"), (("a b",), "a b"), ((None,), "noname")]
)
def test_name(arguments, name):
    assert quilex.problem(*arguments).name() == name


def test_repr_says_what_is_in_it(p, xs):
    p.addConstraint(xs[0] + xs[1] <= 3)
    assert repr(p) == "<quilex.problem with 6 variables, 1 constraints, 0 sets>"
    with pytest.raises(AttributeError):
        p.controls = None


def test_a_subclass_that_forgets_to_create_is_refused():
    class Forgetful(quilex.problem):
        def __init__(self):
            pass

    problem = Forgetful()
    assert "not created" in repr(problem)
    for call in (problem.solve, problem.name, problem.getSolution, problem.getVariable):
        with pytest.raises(RuntimeError, match="has not been created"):
            call()
    with pytest.raises(RuntimeError, match="already been created"):
        quilex.problem().__init__()


def test_a_subclass_keeps_its_own_attributes_and_frees_cycles():
    class Mine(quilex.problem):
        def __init__(self, extra):
            super().__init__("mine")
            self.extra = extra

    class Variable(quilex.var):
        pass

    problem = Mine([])
    problem.extra.append(problem)
    v = Variable()
    v.owner = problem
    problem.addVariable(v)
    problem.addConstraint(v <= 3)
    gone = weakref.ref(problem)
    del problem, v
    gc.collect()
    assert gone() is None


@pytest.mark.parametrize("action", [pickle.dumps, copy.copy, copy.deepcopy])
def test_pickling_is_refused(p, action):
    with pytest.raises(TypeError, match="cannot be pickled"):
        action(p)


# The handler, and by it the problem, are held until the interpreter's end, when the library is off.
OUTLIVED = """
import quilex
p = quilex.problem()
x = quilex.var(ub=1)
p.addVariable(x)
row = x <= 1
p.addConstraint(row)
def handler(*_):
    p.getAttrib("rows")
quilex.addcbmsghandler(handler, None, 0)
p.solve()
"""


def test_a_problem_that_outlives_the_library_ends_quietly():
    result = subprocess.run([sys.executable, "-c", OUTLIVED], capture_output=True, text=True)
    assert (result.returncode, result.stderr) == (0, "")
