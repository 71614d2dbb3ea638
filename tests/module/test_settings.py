"""Module functions that read or change library-wide settings."""

import pytest

import quilex


@pytest.fixture(autouse=True)
def settings_restored():
    yield
    quilex.setcheckedmode(True)
    quilex.setdefaults()


def test_version_and_banner():
    assert quilex.getversion() == "33.01.00"
    assert quilex.getbanner() == quilex.getbanner(1, two=3) != ""


@pytest.mark.parametrize(
    ("mode", "checked"), [(True, True), (False, False), (1, False), ("yes", False), (None, False)]
)
def test_only_true_itself_switches_checks_on(mode, checked):
    for before in (True, False):
        quilex.setcheckedmode(before)
        quilex.setcheckedmode(checked_mode=mode)
        assert quilex.getcheckedmode() is checked


def test_last_error_has_code_and_text():
    code, text = quilex.getlasterror()
    assert (type(code), type(text)) == (int, str)


def test_default_controls():
    library, library_threads = quilex.controls.timelimit, quilex.controls.threads
    quilex.controls.timelimit = 7.0
    quilex.controls.threads = 2
    assert quilex.problem().controls.timelimit == 7.0
    quilex.setdefaultcontrol("timelimit")
    assert quilex.controls.timelimit == library
    p = quilex.problem()
    assert (p.controls.timelimit, p.controls.threads) == (library, 2)
    for name in ("timelimit", "nosuchname", 3):
        with pytest.raises(KeyError):
            quilex.setdefaultcontrol(ipar=name)
    quilex.setdefaults()
    quilex.setdefaults()
    assert quilex.problem().controls.threads == library_threads != 2
    with pytest.raises(KeyError):
        quilex.setdefaultcontrol("threads")


def test_wrong_arguments():
    for call in (
        quilex.setcheckedmode,
        quilex.setdefaultcontrol,
        lambda: quilex.getversion(1),
        lambda: quilex.setdefaults(1),
    ):
        with pytest.raises(TypeError):
            call()
