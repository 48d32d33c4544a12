"""Heron: validates the structure and the naming of 3D scenes."""

import core

__version__ = ".".join(map(str, core.version))
