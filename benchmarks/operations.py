"""Single operations as source text, timed with timeit: names are globals, no call around them."""

import timeit
from dataclasses import dataclass

import numpy as np

REPEATS = 30
SECONDS = 2e-3  # of one repetition: short ones fit between two interruptions on a busy machine
OBJECTS = 1000


@dataclass(frozen=True)
class Operation:
    """One line or loop of source; `over` operations happen in one execution of it."""

    name: str
    text: str
    over: int = 1


def same(name):
    return Operation(name, name)


OPERATIONS = (
    same("2.0*x"),
    same("2*x"),
    same("x+y"),
    same("e+x"),
    same("e+f"),
    same("2.0*e"),
    same("x*y"),
    same("2*x+3*y-z"),
    same("x<=1"),
    same("x+y<=5"),
    same("var()"),
    same("0.3*(x-y)==0.5*(e-2*x+y+z)"),
    Operation("e+=x", "e = builder()\nfor v in xs: e += v", OBJECTS),
    Operation("e+=2.0*x", "e = builder()\nfor v in xs: e += 2.0*v", OBJECTS),
    Operation("Sum(c*x generator)", "Sum(2.0*v for v in xs)", OBJECTS),
    Operation("Sum(list)", "Sum(xs)", OBJECTS),
    Operation("chain of 1000 +", "e = xs[0]\nfor v in xs: e = e + v", OBJECTS),
    Operation("numpy sum", "array.sum()", OBJECTS),
    Operation("sum(list)", "sum(xs)", OBJECTS),
    Operation("float64*x", "float64 * x"),
)


def measure(names, clock):
    """Seconds of every operation under the given names, as marks of the clock.

    names: var makes a variable, Sum adds up a collection, builder makes what `+=` grows in place.
    An operation that a peer does not have is left out.
    """
    var = names["var"]
    names = dict(names)
    names.update(x=var(), y=var(), z=var(), xs=[var() for _ in range(OBJECTS)])
    array = np.empty(OBJECTS, dtype=object)
    array[:] = names["xs"]
    names.update(array=array, float64=np.float64(2.0))
    names.update(e=names["x"] + 2 * names["y"], f=3 * names["z"] + names["y"])
    for operation in OPERATIONS:
        timer = timeit.Timer(operation.text, globals=names)
        try:
            number = max(1, round(SECONDS / (timer.timeit(3) / 3)))
            best = min(timer.repeat(REPEATS, number)) / number
        except Exception:  # a peer may raise anything for what it does not have
            continue
        clock.put(operation.name, best / operation.over)
