#include "hierarchy/anchor.h"

#include <algorithm>

#include "hierarchy/state_edit.h"
#include "matching/anchor_text.h"
#include "matching/closeness.h"
#include "matching/utf8.h"

namespace heron {
namespace {

py::List texts(const std::vector<std::string_view>& pieces) {
  py::List list;
  for (const std::string_view piece : pieces) list.append(py::text(piece));
  return list;
}

py::List find(const std::string& text) { return texts(anchor_text::find_definitions(text)); }

py::List findall(const std::string& text, bool unpacked) {
  std::vector<std::string_view> anchors = anchor_text::find_all(text);
  if (unpacked) {
    for (std::string_view& anchor : anchors) anchor = anchor.substr(1, anchor.size() - 2);
  }
  return texts(anchors);
}

bool has_definition(const std::string& text) { return anchor_text::has_definition(text); }

py::Object unpack_anchor(const std::string& expression) {
  const auto [usage, value] = anchor_text::unpack(expression);
  return py::tuple({py::text(usage), py::text(value)});
}

bool same_scope(const std::string& scope, const std::string& path) { return path_text::same_scope(scope, path); }

std::string merge_begins(const std::string& anchor, const std::string& expr_part, const std::string& expr_source) {
  return anchor_text::trim_end(anchor, expr_part, expr_source);
}

std::string merge_ends(const std::string& anchor, const std::string& expr_part, const std::string& expr_source) {
  return anchor_text::trim_start(anchor, expr_part, expr_source);
}

/// The pairs themselves come back, in their new order.
py::List get_scope_sorted(const std::string& path, const py::Iterable& array) {
  struct Entry {
    py::Object pair;
    Capture capture;
  };
  std::vector<Entry> entries;
  for (const py::Object& pair : py::collect(array)) {
    const std::vector<py::Object> parts = py::collect(pair);
    if (parts.size() != 2)
      py::raise_value("get_scope_sorted() expected pairs of text and path, not of length " +
                      std::to_string(parts.size()));
    entries.push_back({pair, {py::Utf8(parts[0]).str(), py::Utf8(parts[1]).str()}});
  }
  if (PyAnySet_Check(array.get())) {
    closeness::sort_set(entries, path, [](const Entry& entry) -> const Capture& { return entry.capture; });
  } else {
    closeness::sort(entries, path, [](const Entry& entry) -> std::string_view { return entry.capture.scope; });
  }
  py::List sorted;
  for (const Entry& entry : entries) sorted.append(entry.pair);
  return sorted;
}

std::size_t count_shared_symbols(const std::string& source, const std::string& target) {
  const std::size_t shared = path_text::shared_start(source, target);
  return utf8::count_characters(std::string_view(source).substr(0, shared));
}

}  // namespace

/// Runs native work on the state of this anchor, and shows Python the outcome.
template <class F>
auto Anchor::edit(F&& work) {
  const auto self = py::Ref<Anchor>::of(*this);  // the work may run Python code that lets go of the anchor
  StateEdit edit(*state);
  auto result = work(logic_);
  edit.commit();
  return result;
}

std::string Anchor::replace_anchors(const std::string& expression, const std::string& path) {
  return edit([&](AnchorLogic& logic) { return logic.replace_anchors(expression, path); });
}

std::string Anchor::apply_anchors(const std::string& expression) {
  return edit([&](AnchorLogic& logic) { return logic.apply_anchors(expression); });
}

bool Anchor::match(const std::string& expression, const std::string& name, const std::string& path) {
  return edit([&](AnchorLogic& logic) { return logic.match(expression, name, path); });
}

void Anchor::extract_anchors(const std::string& expression, const std::string& name, const std::string& path) {
  edit([&](AnchorLogic& logic) {
    logic.record(logic.captures(expression, name), path);
    return true;
  });
}

bool Anchor::has_anchor(const std::string& expression) {
  return edit([&](AnchorLogic& logic) { return logic.has_anchor(expression); });
}

bool Anchor::has_sub_anchor(const std::string& expression) {
  return edit([&](AnchorLogic& logic) { return logic.has_sub_anchor(expression); });
}

void expose_anchor(const py::Scope& hierarchy) {
  const py::Scope anchor =
      py::Class<Anchor>(
          hierarchy, "Anchor",
          "An extended logic for regular expression.\n\n"
          "An anchor is the shortest run between \"<\" and the next \">\" of a line. A definition `<name:value>` says "
          "by the expression `value` what may stand at its place in an object's name, and what stood there is "
          "captured. A usage `<name>` stands for the closest capture that is visible from the asking object.")
          .no_copies("it belongs to a search")
          .accessor<&Anchor::get_state>("state",
                                        "_Hierarchy.Anchor._State: The `_State` with everything captured so far.")
          .readonly<&Anchor::state>("_state", "_Hierarchy.Anchor._State: The same.")
          .operation<&Anchor::replace_anchors>(
              "replace_anchors", {"expression", "path"},
              "The expression with every usage replaced, as it is, by the closest capture visible from `path`.\n\n"
              "Usages without a visible capture are removed. Definitions stay.")
          .operation<&Anchor::apply_anchors>(
              "apply_anchors", {"expression"},
              "The expression with definitions, and usages that are left, replaced by the definitions' values.\n\n"
              "ValueError if a value with \"^\" or \"$\" at its edge would have to be set in twice.")
          .operation<&Anchor::match>("match", {"expression", "name", "path"},
                                     "Whether the expression matches the start of the name of the object at `path`. If "
                                     "so, captures are recorded.\n\n"
                                     "Raises the error of the regular expressions for an invalid one, ValueError for a "
                                     "definition that stands twice in the expression; nothing is captured then.")
          .operation<&Anchor::extract_anchors>(
              "extract_anchors", {"expression", "name", "path"},
              "Records, for each definition in the expression, what is left of the name once the parts before and "
              "after it are cut away. An empty rest records nothing.")
          .operation<&Anchor::has_anchor>("has_anchor", {"expression"},
                                          "Whether a definition of the table stands in the expression.")
          .operation<&Anchor::has_sub_anchor>("has_sub_anchor", {"expression"},
                                              "Whether a usage of a definition of the table stands in the expression.")
          .done();

  py::function<&find>(anchor, "find", {"text"}, "The definitions in a text, with brackets, in order; repeats stay.");
  py::function<&findall>(anchor, "findall", {"text", {"unpacked", false}},
                         "All anchors of a text in order.\n\n"
                         "Args:\n"
                         "    unpacked: Without their brackets.");
  py::function<&has_definition>(anchor, "has_definition", {"text"},
                                "Whether this anchor, with or without brackets, is a definition: exactly one colon.");
  py::function<&unpack_anchor>(anchor, "unpack_anchor", {"expression"},
                               "A definition as the pair of its usage `<name>` and its value.\n\n"
                               "Brackets inside are dropped. ValueError unless there is exactly one colon.");
  py::function<&same_scope>(anchor, "same_scope", {"scope", "path"},
                            "Whether a capture made at `scope` is visible from `path`: whether the parents of `scope` "
                            "are the first parents of `path`. The separators \"\\\\\", \"|\" and \"/\" are alike.");
  py::function<&merge_begins>(anchor, "merge_begins", {"anchor", "expr_part", "expr_source"},
                              "A value without its final \"$\", if more of `expr_source` follows the anchor.\n\n"
                              "ValueError if there is a \"$\" and the anchor does not stand in `expr_source` once.");
  py::function<&merge_ends>(anchor, "merge_ends", {"anchor", "expr_part", "expr_source"},
                            "A value without its leading \"^\", if something of `expr_source` precedes the anchor.\n\n"
                            "ValueError if there is a \"^\" and the anchor does not stand in `expr_source` once.");
  py::function<&get_scope_sorted>(
      anchor, "get_scope_sorted", {"path", "array"},
      "The (match, scope) pairs as a list, those whose scope shares the longest start with `path` first.\n\n"
      "Among equals the later one of `array` comes first; a set counts as sorted backwards, by scope and match.");
  py::function<&count_shared_symbols>(anchor, "count_shared_symbols", {"source", "target"},
                                      "The number of characters that two texts have in common at their start.");

  expose_capture_table(anchor);
}

}  // namespace heron
