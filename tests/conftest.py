"""What all tests share."""

import core
from hypothesis import settings

# A machine may be slow; that is no fault of the code.
settings.register_profile("heron", deadline=None)
settings.register_profile("sanitized", parent=settings.get_profile("heron"), max_examples=25)
settings.load_profile("heron")


def pytest_report_header() -> str:
    """Tells which of the builds is tested."""
    return f"core: {core.__file__}"
