"""Which names files may have that one machine makes and others take, as the server of projects does."""

from __future__ import annotations

import re

# A name that means itself on every system: no separators, nothing hidden, no control characters.
_NAME = re.compile(r"""[^\x00-\x1f\x7f<>:"/\\|?*.][^\x00-\x1f\x7f<>:"/\\|?*]*""")
# Windows opens a device instead of a file of such a name, whatever its extension.
_DEVICE = re.compile(r"(con|prn|aux|nul|(com|lpt)[0-9¹²³]|con(in|out)\$) *(\..*)?", re.IGNORECASE)
_LONGEST_NAME = 200


def is_safe_name(name: str) -> bool:
    """Whether a file of this name can stand in the directory it is meant for, and nowhere else."""
    try:
        size = len(name.encode("utf-8"))
    except UnicodeEncodeError:
        return False
    if size > _LONGEST_NAME or name.endswith((" ", ".")):  # Windows drops these at the end
        return False
    return _NAME.fullmatch(name) is not None and _DEVICE.fullmatch(name) is None
