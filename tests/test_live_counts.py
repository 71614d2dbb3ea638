"""The last test of a session: nothing that the others made is still there."""


def test_nothing_is_left_alive(left_alive):
    assert left_alive == {}
