"""Module-wide message handlers, called from any thread."""

import ctypes
import threading
import weakref

import pytest

import quilex


@pytest.fixture(autouse=True)
def no_handlers_left():
    yield
    quilex.removecbmsghandler(None, None)


@pytest.fixture
def library():
    """The library's own functions, for messages from threads that Python does not know."""
    quilex.getversion()
    handle = ctypes.PyDLL("libqlx.so.33.01")
    problem = ctypes.c_void_p()
    assert handle.QLXcreateprob(ctypes.byref(problem)) == 0
    assert handle.QLXsetintcontrol(problem, 8009, 2) == 0  # threads
    yield handle, problem
    assert handle.QLXdestroyprob(problem) == 0


def dump(library):
    handle, problem = library
    assert handle.QLXdumpcontrols(problem) == 0


def dump_on_foreign_thread(library):
    """Sends messages on a thread that the system started, not Python."""
    handle, problem = library
    system = ctypes.CDLL(None)
    thread = ctypes.c_ulong()
    start = ctypes.cast(handle.QLXdumpcontrols, ctypes.c_void_p)
    assert system.pthread_create(ctypes.byref(thread), None, start, problem) == 0
    assert system.pthread_join(thread, None) == 0


def test_the_first_call_announces_the_registration():
    calls = []
    data = object()
    quilex.addcbmsghandler(lambda *arguments: calls.append(arguments), data, 0)
    ((sender, given, thread, text, kind, number),) = calls
    assert type(sender).__name__ == "qlxobject"
    assert type(thread).__name__ == "generic"
    assert given is data
    assert text is None
    assert kind < 0
    assert type(number) is int


@pytest.mark.parametrize("way", [dump, dump_on_foreign_thread])
def test_messages_reach_handlers_by_priority(library, way):
    calls = []
    threads = set()

    def handler(sender, data, thread, text, kind, number):
        calls.append((data, text, kind))
        threads.add(threading.get_ident())

    for data, priority in (("low", -5), ("high", 5), ("middle", 0)):
        quilex.addcbmsghandler(msghandler=handler, data=data, priority=priority)
    calls.clear()
    threads.clear()
    way(library)
    assert [data for data, _, _ in calls[:3]] == ["high", "middle", "low"]
    assert all(kind in (1, 3, 4) and "threads" in text for _, text, kind in calls[:3])
    assert (threading.get_ident() in threads) == (way is dump)


@pytest.mark.parametrize("way", [dump, dump_on_foreign_thread])
def test_a_failing_handler_is_heard_once(library, way):
    calls = []

    def handler(sender, data, thread, text, kind, number):
        calls.append(text)
        if kind > 0:
            raise ZeroDivisionError("in the handler")

    quilex.addcbmsghandler(handler, 1, 0)
    quilex.addcbmsghandler(handler, 2, 0)
    calls.clear()
    if way is dump:
        # The exception waits on this thread, for whoever looks next.
        with pytest.raises(ZeroDivisionError, match="in the handler"):
            way(library)
    else:
        way(library)
        way(library)  # not heard: the failure has not been told yet
        with pytest.raises(ZeroDivisionError, match="in the handler"):
            quilex.getversion()
    assert len(calls) == 1
    assert quilex.getversion()


def test_a_failure_is_heard_by_its_own_problem_alone(library):
    """On one of the library's threads the exception waits for the problem that sent the message."""
    failing, other = quilex.problem(), quilex.problem()
    failing.addVariable(quilex.var())
    senders = []

    def handler(sender, data, thread, text, kind, number):
        senders.append(sender)
        if kind > 0 and "threads" in text:
            raise ZeroDivisionError("in the handler")

    quilex.addcbmsghandler(handler, None, 0)
    failing.solve()
    pointer = ctypes.c_void_p.from_address(id(senders[-1]) + object.__basicsize__)
    failing.setControl("threads", 2)
    dump_on_foreign_thread((library[0], pointer))
    assert quilex.getversion()
    other.addVariable(quilex.var())
    other.solve()
    with pytest.raises(ZeroDivisionError, match="in the handler"):
        failing.solve()  # whatever its status
    failing.solve()
    dump_on_foreign_thread((library[0], pointer))
    del failing  # what nobody can be told goes with the problem
    assert quilex.getversion()


def test_a_handler_that_fails_at_once():
    def handler(*arguments):
        raise LookupError

    with pytest.raises(LookupError):
        quilex.addcbmsghandler(handler, None, 0)
    quilex.removecbmsghandler(handler, None)


def test_removal():
    def f(*arguments):
        calls.append(("f", arguments[1]))

    def g(*arguments):
        calls.append(("g", arguments[1]))

    calls = []
    cases = [
        # (callable, data) to remove, and what is left
        ((f, "a"), [(f, "b"), (g, "a"), (g, None)]),
        ((f, None), [(g, "a"), (g, None)]),
        ((None, "a"), [(f, "b"), (g, None)]),
        ((None, None), []),
    ]
    for (handler, data), left in cases:
        for registration in ((f, "a"), (f, "b"), (g, "a"), (g, None)):
            quilex.addcbmsghandler(*registration, 0)
        quilex.removecbmsghandler(handler, data)
        for registered in left:
            quilex.removecbmsghandler(*registered)
        quilex.removecbmsghandler(None, None)


def test_removal_of_what_is_not_there():
    def f(*arguments):
        pass

    quilex.removecbmsghandler(None, None)
    quilex.removecbmsghandler(None, "data")
    with pytest.raises(RuntimeError, match="Cannot remove callback from an empty set"):
        quilex.removecbmsghandler(f, None)
    quilex.addcbmsghandler(f, "data", 0)
    for handler, data in ((print, None), (f, "other"), (None, "other")):
        with pytest.raises(RuntimeError, match="Callback not found"):
            quilex.removecbmsghandler(handler, data)
    quilex.removecbmsghandler(f, "data")
    with pytest.raises(RuntimeError, match="Cannot remove callback from an empty set"):
        quilex.removecbmsghandler(f, "data")


def test_removed_handlers_are_released(library):
    class Handler:
        def __call__(self, *arguments):
            pass

    handler = Handler()
    gone = weakref.ref(handler)
    quilex.addcbmsghandler(handler, None, 0)
    quilex.removecbmsghandler(handler, None)
    del handler
    assert gone() is None
    dump(library)


def test_a_handler_may_remove_itself(library):
    calls = []

    def handler(sender, data, thread, text, kind, number):
        calls.append(kind)
        if kind > 0:
            quilex.removecbmsghandler(handler, None)

    quilex.addcbmsghandler(handler, None, 0)
    quilex.addcbmsghandler(handler, 1, 1)
    dump(library)
    dump(library)
    assert sum(kind > 0 for kind in calls) <= 2


def test_wrong_arguments():
    add, remove = quilex.addcbmsghandler, quilex.removecbmsghandler
    for arguments in ((), (print,), (print, None), (print, None, 1.5), (print, None, 2**40)):
        with pytest.raises(RuntimeError, match="Must provide correct list of three arguments"):
            add(*arguments)
    for arguments in ((), (print,), (print, None, 1)):
        with pytest.raises(RuntimeError, match="Must provide correct list of two arguments"):
            remove(*arguments)


def test_handlers_hear_messages_of_python_threads(library):
    calls = []
    quilex.addcbmsghandler(lambda *arguments: calls.append(threading.get_ident()), None, 0)
    calls.clear()
    worker = threading.Thread(target=dump, args=(library,))
    worker.start()
    worker.join()
    assert calls
    assert threading.get_ident() not in calls
