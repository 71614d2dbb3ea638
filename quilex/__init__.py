"""Optimisation models stated with ordinary Python operators, and their solution.

Everything public of the extension module ``quilexlib`` is available under this name: variables,
constraints, problems, functions, controls and constants.
"""

import quilexlib as _quilexlib

__version__ = "0.1.0"

_public = [name for name in vars(_quilexlib) if not name.startswith("_")]
globals().update((name, getattr(_quilexlib, name)) for name in _public)
__all__ = ["__version__", *_public]
