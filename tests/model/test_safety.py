"""Modelling objects in cycles, in hostile containers and iterators, subclassed and pickled."""

import copy
import gc
import operator
import os
import pickle
import resource
import sys
import tracemalloc
import weakref

import pytest

import quilexlib
from quilexlib import Prod, Sum


class Named(quilexlib.var):
    """A variable with attributes of its own."""


class Slotted(quilexlib.var):
    __slots__ = ("extra",)


def terms_of(v):
    x = quilexlib.var()
    many = [quilexlib.var() for _ in range(20)]
    growing = Sum(many)
    growing += v
    return {
        "self": v,
        "linterm": 2 * v,
        "quadterm": x * v,
        "square": v * v,
        "expression": x + v,
        "quadratic expression": x * v + x,
        "copy": (x + v) * 3.0,
        "chain": Sum(many) + v + x,
        "grown in place": growing,
        "nonlinear": abs(v),
        "constraint": v <= 1,
        "constraint over an expression": growing + x <= 1,
        "constraint over a node": quilexlib.sin(v) <= 1,
        "constraint with nodes on both sides": v * v * v <= v,
        "container": [v, {"v": v}],
    }


def test_cycles_are_collected():
    for kind in terms_of(quilexlib.var()):
        v = Named()
        died = weakref.ref(v)
        v.term = terms_of(v)[kind]
        del v
        gc.collect()
        assert died() is None, kind


def test_cycles_through_what_grows_later_are_collected():
    x, y = quilexlib.var(), quilexlib.var()

    def denominator(v):
        q = x / (x * y * quilexlib.sin(x))
        q /= v
        return q

    def grown_behind(hold, make):
        def build(v):
            inner = make()
            holder = hold(inner)
            inner += v
            return holder

        return build

    expression, nonlinear = lambda: x + y, lambda: quilexlib.sin(x) + y
    for build in (
        denominator,
        grown_behind(lambda e: quilexlib.constraint(body=e, lb=1), expression),
        grown_behind(quilexlib.sin, expression),
        grown_behind(lambda e: x / e, expression),
        grown_behind(lambda s: s <= 0, nonlinear),
        grown_behind(quilexlib.exp, nonlinear),
    ):
        v = Named()
        died = weakref.ref(v)
        v.holder = build(v)
        del v
        gc.collect()
        assert died() is None


def test_a_name_may_close_a_cycle():
    class Mark:
        pass

    for make in (lambda v: v, lambda v: 2 * v, lambda v: v + quilexlib.var()):
        v = quilexlib.var()
        mark = Mark()
        v.name = [mark]
        v.name.append(make(v))
        died = weakref.ref(mark)
        del v, mark
        gc.collect()
        assert died() is None


def test_ordinary_models_cost_the_collector_nothing():
    x, y = quilexlib.var(), quilexlib.var()
    nonlinear = quilexlib.sin(x) * y + quilexlib.exp(x)
    for obj in (x, 2 * x, x * y, x + y, x * y + x, Sum([x, y, x] * 20), nonlinear):
        assert not gc.is_tracked(obj)
    assert gc.is_tracked(Named() + 1)


def test_subclasses_behave_like_variables():
    for cls in (Named, Slotted):
        v = cls(name="v", ub=3)
        v.extra = "kept"
        assert (v.name, v.ub, v.extra) == ("v", 3.0, "kept")
        assert v * 1 is v and str(2 * v + 1) == "1 +2 v" and type(v * v).__name__ == "quadterm"
        assert Sum([v, v, v]) is not v and str(Sum([v, v, v])) == "3*v"
        assert quilexlib._parts(v + 1)[1][0][0] is v
        assert (v <= 1).ub == 1.0

    class Silent(quilexlib.var):
        def __init__(self):
            """Set nothing."""

    v = Silent()
    assert (v.lb, v.ub, v.name) == (0.0, quilexlib.infinity, f"C{hash(v)}")

    class Overriding(quilexlib.var):
        def __add__(self, other):
            return "mine"

    assert Overriding() + 1 == "mine"


@pytest.mark.parametrize(
    "kind", ["self", "linterm", "quadterm", "expression", "nonlinear", "constraint"]
)
def test_pickling_is_refused(kind):
    obj = terms_of(quilexlib.var())[kind]
    for attempt in (pickle.dumps, copy.copy, copy.deepcopy):
        with pytest.raises(
            TypeError,
            match=f"cannot pickle '{type(obj).__module__}.{type(obj).__name__}' object: modelling",
        ):
            attempt(obj)


def test_a_generator_may_change_the_expression_that_it_feeds():
    x, y = quilexlib.var(name="x"), quilexlib.var(name="y")
    e = x + y

    def growing():
        nonlocal e
        for _ in range(50):
            yield e
            e += y
            yield x

    assert str(Sum(growing())) == " 100 x +1275 y"
    assert str(e) == "  x +51 y"
    e += e
    e -= e + e
    assert str(e) == " -2 x -102 y"


def test_collections_that_change_while_they_are_read():
    x = quilexlib.var(name="x")
    items = []

    class Shrinking(list):
        pass

    class Clearing(quilexlib.var):
        def __radd__(self, other):
            items.clear()
            return other

        def __rmul__(self, other):
            items.clear()
            return other

    items.extend([x, Clearing(), x, x])
    Sum(items)
    items.extend([x, Clearing(), x, x])
    Prod(items)

    class ByIndex:
        def __init__(self):
            self.values = [x] * 10

        def __len__(self):
            return len(self.values)

        def __getitem__(self, index):
            self.values = self.values[:-1]
            return self.values[index]

    with pytest.raises(IndexError):
        Sum(ByIndex())


def test_containers_in_themselves_end_in_an_error():
    loop = []
    loop.append(loop)
    table = {}
    table["t"] = table
    for container in (loop, table, (loop,)):
        for accumulate in (Sum, Prod):
            with pytest.raises((RuntimeError, RecursionError)):
                accumulate(container)
    x = quilexlib.var()
    x.name = [x]
    with pytest.raises(TypeError):
        str(x)


class Reviving(quilexlib.var):
    """Uses the expression that drops it, at the moment when it is dropped."""

    target = None

    def __del__(self):
        if Reviving.target is not None:
            Reviving.target += quilexlib.var()
            str(Reviving.target)
            Reviving.target -= self


def test_finalizers_that_use_the_expression_that_drops_them():
    for size in (1, 3, 7, 30):
        keep = [quilexlib.var() for _ in range(size)]
        e = Sum(keep) + keep[0]
        e += Reviving()
        Reviving.target = e
        part = quilexlib._parts(e)[1][-1][0]
        e -= part
        del part
        str(e)
        longer = e + Reviving()
        del longer
        e += keep[0]
        e *= 2
        str(e)
        Reviving.target = None
        del e
        gc.collect()


def test_failed_operators_leave_the_operands():
    x, y = quilexlib.var(name="x"), quilexlib.var(name="y")
    e = x + y
    for bad in ("a", [], object(), 10**400):
        for operation in ("__iadd__", "__isub__", "__imul__", "__itruediv__", "__add__"):
            with pytest.raises((RuntimeError, OverflowError)):
                getattr(e, operation)(bad)
    assert str(e) == "  x + y"


def expression_of(variables):
    return Sum(variables) + variables[0]


@pytest.mark.parametrize(
    ("operation", "make", "text"),
    [
        (operator.add, lambda x: (expression_of(x), expression_of(x)), "Error adding expressions"),
        (operator.mul, lambda x: (x[0], expression_of(x)), "Error multiplying expressions"),
        (operator.sub, lambda x: (x[0] * x[1], x[0]), "sum of quadratic term and variable"),
        (operator.add, lambda x: (x[0] * x[1], 2 * x[2]), "sum of linear term and quadratic term"),
        (operator.add, lambda x: (x[0] * x[1], x[0] ** 2), "sum of two quadratic terms"),
    ],
)
def test_the_end_of_memory_names_the_operation(operation, make, text):
    hooks = pytest.importorskip("_testcapi")
    x = [quilexlib.var() for _ in range(40)]
    for allocation in range(12):
        operands = make(x)
        hoard = [expression_of(x) for _ in range(300)]  # empties the free lists
        hooks.set_nomemory(allocation, allocation + 1)
        try:
            operation(*operands)
        except RuntimeError as error:
            failure = error
            break
        finally:
            hooks.remove_mem_hooks()
        del hoard
    assert text in str(failure)


def test_references_balance():
    """Every operator returns as many references to its operands as it took."""
    x, y, z = (quilexlib.var() for _ in range(3))

    def work():
        e = x + 2 * y - z
        f = e
        for i in range(40):
            e = e + x
            f += e * 0.5
            f -= z
            if i % 7 == 0:
                f = f * 2.0 - e
        g = (x + y) * (x - z) + x * y
        g -= x * z - g
        str(f), str(g), x / y, (x + 1) ** 2, Prod([x, y]), x <= y
        Sum(v * 2 for v in (x, y, z))

    work()
    gc.collect()
    before = [sys.getrefcount(v) for v in (x, y, z)]
    tracemalloc.start()
    for _ in range(300):  # fills the caches of unused objects
        work()
    gc.collect()
    start = tracemalloc.get_traced_memory()[0]
    for _ in range(300):
        work()
    gc.collect()
    grown = tracemalloc.get_traced_memory()[0] - start
    tracemalloc.stop()
    assert [sys.getrefcount(v) for v in (x, y, z)] == before
    assert grown < 2000


def resident_bytes():
    with open("/proc/self/statm") as pages:
        return int(pages.read().split()[1]) * resource.getpagesize()


@pytest.mark.skipif("ASAN_OPTIONS" in os.environ, reason="the sanitizer keeps freed memory")
def test_memory_of_many_variables_goes_back_and_is_used_again():
    count, block = 300_000, sys.getsizeof(quilexlib.var())
    before = resident_bytes()
    for _ in range(3):
        many = [quilexlib.var() for _ in range(count)]
        assert resident_bytes() - before > count * block // 2
        survivors = many[:: count // 2]
        del many
        # Two survivors keep at most as many slabs of 2 MiB, beside the current one.
        assert resident_bytes() - before < 10 << 20
        again = [quilexlib.var(ub=k) for k in range(count // 10)]
        assert resident_bytes() - before < 14 << 20
        assert [x.ub for x in again] == list(map(float, range(count // 10)))
        assert len({hash(x) for x in (*survivors, *again)}) == len(survivors) + len(again)
        del survivors, again
    assert resident_bytes() - before < 10 << 20


def test_a_variable_is_one_cache_line():
    """The slabs' own idea of the collector's header agrees with the interpreter's."""
    assert sys.getsizeof(quilexlib.var()) == 64
    assert not gc.is_tracked(quilexlib.var()) and gc.is_tracked(Named())
