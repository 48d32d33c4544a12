"""A validation as JSON, for other programs. `docs/reports.md` tells what each member means."""

from __future__ import annotations

import json
from typing import Any

from ..outcome import STATUSES, CheckOutcome, Validation, Verdict

# Raised when a member changes its meaning or leaves; new members may come at any time.
VERSION = 1


def render(validation: Validation) -> str:
    """The whole report; ASCII, so that any name comes through any pipe."""
    return json.dumps(document(validation), indent=2) + "\n"


def document(validation: Validation) -> dict[str, Any]:
    """The report as plain lists, maps, texts and numbers."""
    found, left = validation.found(), validation.left()
    return {
        "version": VERSION,
        "scene": validation.scene,
        "project": validation.project,
        "started": validation.started,
        "seconds": validation.seconds,
        "status": validation.status,
        "fixing": validation.fixing,
        "saved": validation.saved,
        "found": {status: found[status] for status in STATUSES},
        "fixed": validation.fixed(),
        "left": {status: left[status] for status in STATUSES},
        "objects": [
            {
                "path": one.path,
                "name": one.name,
                "rule": one.rule,
                "status": one.status,
                "checks": [_check(check) for check in one.checks],
            }
            for one in validation.objects
        ],
        "refused": [{"path": path, "reason": reason} for path, reason in validation.refused],
        "warnings": validation.warnings,
    }


def _check(check: CheckOutcome) -> dict[str, Any]:
    return {
        "id": check.id,
        "name": check.name,
        "category": check.category,
        "found": _verdict(check.found),
        "fixable": check.fixable,
        "fixed": check.fixed,
        "left": _verdict(check.now),
        "seconds": check.seconds,
    }


def _verdict(verdict: Verdict) -> dict[str, str]:
    return {"status": verdict.status, "message": verdict.message}
