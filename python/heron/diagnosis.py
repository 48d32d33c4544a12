"""Telling why an object is not the root of a hierarchy of the project."""

from __future__ import annotations

import re
from types import SimpleNamespace

import core

_COPIED = ("stamp", "name", "icon", "color", "regex", "types")


class Diagnosis:
    """Finds the first place where a hierarchy departs from the pattern.

    It walks like the matcher, layer by layer, and stops at the first layer that does not fit.
    There it asks the search once more, with every rule made optional, so that the answer shows
    what each rule could take, and what is left over.
    """

    def __init__(self, hierarchy: core._Hierarchy):
        """Takes a matcher whose snapshot still shows the scene that was scanned."""
        self._hierarchy = hierarchy
        self._search = hierarchy.search

    def explain(self, path: str) -> str:
        """One sentence on what does not fit in the hierarchy that begins at `path`."""
        top = self._hierarchy.pattern.get()
        self._hierarchy.find_anchors()
        try:
            if not self._fits_top(path, top):
                rules = ", ".join(f'"{scope.rule.name}"' for scope in top)
                return f"fits none of the top rules: {rules}"
            return self._first_fault([path], top, "") or "fits, but not beside its neighbours"
        except (re.error, ValueError) as error:
            return f"a rule has a faulty expression: {error}"

    def _fits_top(self, path: str, top: list[core._Hierarchy.Pattern.Scope]) -> bool:
        state = self._search.logic.state.clone()
        fits = not self._search.layer([path], _optional(top, childless=False)).is_empty()
        self._search.logic.state.apply(state)
        return fits

    def _first_fault(
        self, paths: list[str], scopes: list[core._Hierarchy.Pattern.Scope], owner: str
    ) -> str | None:
        result = self._search.layer(paths, scopes)
        if result.is_empty():
            if self._hierarchy._is_optional(scopes):
                return None
            return self._layer_fault(paths, scopes, owner)
        for response in result:
            location, below = response.location, response.scope.children
            if location.children or below:
                fault = self._first_fault(location.children, below, location.path)
                if fault:
                    return fault
        return None

    def _layer_fault(self, paths: list[str], scopes: list[core._Hierarchy.Pattern.Scope], owner: str) -> str:
        taken: dict[str, int] = {}
        left_over = dict.fromkeys(paths, "no rule takes {}")
        for response in self._search.layer(paths, _optional(scopes), exact=False):
            stamp = response.scope.rule.stamp
            taken[stamp] = taken.get(stamp, 0) + 1
            left_over.pop(response.location.path, None)
        leaves = _optional([scope for scope in scopes if not scope.children], childless=False)
        for response in self._search.layer(list(left_over), leaves, exact=False):
            if response.location.children:
                left_over[response.location.path] = "{} must have nothing below it"
        faults = [_shortage(scope.rule, taken.get(scope.rule.stamp, 0)) for scope in scopes]
        faults += [fault.format(f'"{_short_name(path)}"') for path, fault in left_over.items()]
        where = f"below {owner}: " if owner else ""
        return where + "; ".join(filter(None, faults))


_short_name = core.Scene.Operator.name_from_path


def _optional(
    scopes: list[core._Hierarchy.Pattern.Scope], childless: bool = True
) -> list[core._Hierarchy.Pattern.Scope]:
    """The same scopes with a minimum of 0; with `childless` false, leaves take objects with children too."""
    pattern = core._Hierarchy.Pattern
    result = []
    for scope in scopes:
        config = SimpleNamespace(**{name: getattr(scope.rule, name) for name in _COPIED})
        config.range = core._Project.Settings.Rule.Range(0, scope.rule.range.maximum)
        children = scope.children if childless else scope.children or scopes
        result.append(pattern.Scope(pattern.Rule(config, None), children))
    return result


def _shortage(rule: core._Hierarchy.Pattern.Rule, count: int) -> str | None:
    minimum = rule.range.minimum
    if count >= minimum:
        return None
    if minimum == 1:
        return f'"{rule.name}" is missing'
    needed = minimum if minimum == rule.range.maximum else f"at least {minimum}"
    return f'only {count} fit "{rule.name}", which needs {needed}'
