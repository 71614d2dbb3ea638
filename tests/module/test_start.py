"""Start-up, release and the switching of the library."""

import subprocess
import sys
import textwrap

import pytest

import quilex
import quilexlib

# What tells whether the library is on: only then does it create problems.
LIBRARY = """
    import ctypes
    def library_is_on():
        library, problem = ctypes.CDLL("libqlx.so.33.01"), ctypes.c_void_p()
        created = library.QLXcreateprob(ctypes.byref(problem)) == 0
        library.QLXdestroyprob(problem)
        return created
"""


def run(program, *flags):
    """The program's output, from an interpreter of its own that must end well and in silence."""
    command = [sys.executable, *flags, "-c", textwrap.dedent(program)]
    result = subprocess.run(command, capture_output=True, text=True, timeout=60)
    assert (result.returncode, result.stderr) == (0, "")
    return result.stdout


@pytest.mark.numpy_versions
def test_import_leaves_the_library_off():
    program = (
        LIBRARY
        + """
    import quilexlib
    print(library_is_on(), len(quilexlib.controls.__dict__) > 10, library_is_on())
    quilexlib.getversion()
    print(library_is_on())
    quilexlib.free()
    print(library_is_on())
    quilexlib.problem()
    print(library_is_on())
    """
    )
    assert run(program, "-W", "error").split() == [
        "False",
        "True",
        "False",
        "True",
        "False",
        "True",
    ]


def test_init_and_free():
    quilex.init()
    quilex.init()
    assert quilex.free() is None
    quilex.free()
    quilex.getversion()


def test_free_of_a_library_that_is_off_is_refused_by_the_library():
    program = """
    import quilexlib
    try:
        quilexlib.free()
    except RuntimeError as error:
        print(error)
    print(quilexlib.getversion())
    """
    refusal, version = run(program).splitlines()
    assert refusal
    assert version == "33.01.00"


FAMILIES = {
    "continuous binary integer semicontinuous semiinteger partiallyinteger": range(6),
    "minimize maximize": (1, -1),
    "leq geq eq range": (1, 2, 3, 4),
    "infinity": (1e20,),
    "solinfo_absprimalinfeas solinfo_relprimalinfeas solinfo_absdualinfeas "
    "solinfo_reldualinfeas solinfo_maxmipfractional": range(5),
    "basis_nonbasic_lower basis_basic basis_nonbasic_upper basis_superbasic": range(4),
    "lp_unstarted lp_optimal lp_infeas lp_cutoff lp_unfinished lp_unbounded lp_cutoff_in_dual "
    "lp_unsolved lp_nonconvex": range(9),
    "mip_not_loaded mip_lp_not_optimal mip_lp_optimal mip_no_sol_found mip_solution mip_infeas "
    "mip_optimal mip_unbounded": range(8),
    "nlp_unstarted nlp_solution nlp_locally_optimal nlp_globally_optimal nlp_locally_infeasible "
    "nlp_infeasible nlp_unbounded nlp_unfinished": (0, 1, 1, 2, 3, 4, 5, 6),
    "stop_timelimit stop_ctrlc stop_nodelimit stop_iterlimit stop_mipgap stop_sollimit": range(
        1, 7
    ),
    "stop_user stop_cutoff stop_numerics": (9, 10, 11),
    "type_notdefined type_int type_int64 type_double type_string": range(5),
    "colinfo_value colinfo_rdj colinfo_deltaindex colinfo_delta colinfo_deltadj "
    "colinfo_updaterow colinfo_sb colinfo_sbdual": range(1, 9),
    "rowinfo_slack rowinfo_dual rowinfo_numpenaltyerrors rowinfo_maxpenaltyerror "
    "rowinfo_totalpenaltyerror rowinfo_currentpenaltyerror rowinfo_currentpenaltyfactor "
    "rowinfo_penaltycolumnplus rowinfo_penaltycolumnplusvalue rowinfo_penaltycolumnplusdj "
    "rowinfo_penaltycolumnminus rowinfo_penaltycolumnminusvalue "
    "rowinfo_penaltycolumnminusdj": range(1, 14),
    "msset_initialvalues msset_initialfiltered msset_solvers msset_slp_basic msset_slp_extended "
    "msset_knitro_basic msset_knitro_extended": (0, 6, 1, 2, 3, 4, 5),
}


def test_constants():
    expected = {
        name: value
        for names, values in FAMILIES.items()
        for name, value in zip(names.split(), values, strict=True)
    }
    found = {name: value for name, value in vars(quilexlib).items() if type(value) in (int, float)}
    assert list(found.items()) == list(expected.items())
    assert [name for name, value in found.items() if type(value) is float] == ["infinity"]
    assert len(found) == 89


def test_published_types():
    assert {
        name: value.__name__ for name, value in vars(quilexlib).items() if isinstance(value, type)
    } == {
        "var": "var",
        "sos": "SOS",
        "constraint": "constraint",
        "problem": "problem",
        "branchobj": "branchobj",
        "poolcut": "poolcut",
    }
    with pytest.raises(RuntimeError, match="not available yet"):
        quilex.branchobj(quilex.problem())


def test_numpy_is_required():
    program = """
    import sys
    sys.modules["numpy"] = None
    import quilexlib
    """
    command = [sys.executable, "-c", textwrap.dedent(program)]
    result = subprocess.run(command, capture_output=True, text=True, timeout=60)
    assert result.returncode == 1
    assert result.stderr.splitlines()[-1] == ("ImportError: numpy.core.multiarray failed to import")


ENDINGS = {
    "objects in module globals": """
        import quilexlib, numpy
        x = quilexlib.var(); p = quilexlib.problem(); p.addVariable(x)
        a = numpy.array([x, x]) <= 3
    """,
    "a cycle through a subclass": """
        import quilexlib
        class Problem(quilexlib.problem): pass
        p = Problem(); p.itself = p; p.settings = p.controls
    """,
    "a message handler": """
        import quilexlib
        quilexlib.addcbmsghandler(lambda *a: None, object(), 0)
        p = quilexlib.problem()
    """,
    "use after the last module": """
        import quilexlib
        class Late:
            def __init__(self): self.problem = quilexlib.problem(); self.lib = quilexlib
            def __del__(self):
                try:
                    self.lib.setdefaults(); self.problem.getControl(); self.lib.getversion()
                except RuntimeError: pass
        import sys; sys.late = Late()
    """,
    "the library freed under a problem": """
        import quilexlib
        p = quilexlib.problem(); quilexlib.free()
    """,
    "no module any more": """
        import sys, quilexlib
        x = quilexlib.var(); y = x + 1
        del sys.modules["quilexlib"], quilexlib
    """,
}


@pytest.mark.parametrize("program", ENDINGS.values(), ids=ENDINGS)
def test_the_interpreter_ends_in_silence(program):
    run(program)


@pytest.mark.numpy_versions
def test_numpy_has_its_own_comparisons_back_at_exit():
    program = """
    import atexit, numpy
    @atexit.register  # called after what is registered later
    def check():
        try:
            numpy.array([x, x]) <= 3
        except RuntimeError as error:
            print(error)
        print((numpy.arange(3) <= 1).tolist())
    import quilexlib
    x = quilexlib.var()
    print(type((numpy.array([x, x]) <= 3)[0]).__name__)
    """
    before, after, plain = run(program).splitlines()
    assert before == "constraint"
    assert "no truth value" in after
    assert plain == "[True, True, False]"


@pytest.mark.slow
def test_import_is_quick():
    program = """
    import time, numpy
    start = time.perf_counter()
    import quilexlib
    print(time.perf_counter() - start)
    """
    assert min(float(run(program)) for _ in range(5)) <= 0.060
