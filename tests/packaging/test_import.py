"""The package gives everything of the extension under one name."""

import quilex
import quilexlib


def test_package_gives_all_public_names_of_the_extension():
    public = {name for name in vars(quilexlib) if not name.startswith("_")}
    assert public <= set(quilex.__all__)
    assert all(getattr(quilex, name) is getattr(quilexlib, name) for name in public)
