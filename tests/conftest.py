"""What all tests share."""

import sys
from pathlib import Path

from hypothesis import HealthCheck, settings

import core

# The plain writing of the matching, which tests compare with.
sys.path.append(str(Path(__file__).parents[1] / "bench"))

# A machine may be slow; that is no fault of the code.
settings.register_profile("heron", deadline=None, suppress_health_check=[HealthCheck.too_slow])
settings.register_profile("sanitized", parent=settings.get_profile("heron"), max_examples=25)
settings.load_profile("heron")


def pytest_report_header() -> str:
    """Tells which of the builds is tested."""
    return f"core: {core.__file__}"
