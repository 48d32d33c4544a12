#include "projects/rule_tree.h"

#include <algorithm>
#include <optional>
#include <unordered_set>

#include "foundation/logger.h"
#include "runtime/interrupts.h"
#include "settings/document_values.h"

namespace heron {
namespace {

const py::Name kStamp("stamp"), kChildren("children"), kJoin("join"), kReplace("replace");

using Items = std::vector<py::Object>;

/// Walks a tree depth first, in order. It may be deeper than the program's stack, so the walk has its own.
///
/// `enter(item)` gives what stands below an item, or nothing to pass the item over; `leave(item)` follows when all
/// of that is done. RecursionError for an item that stands below itself.
template <class Enter, class Leave>
void walk(const Items& top, Enter enter, Leave leave) {
  struct Level {
    py::Object item;  // none for the top
    Items below;
    std::size_t next = 0;
  };
  std::vector<Level> levels{{py::Object(), top}};
  std::unordered_set<PyObject*> entered;
  py::Interrupts interrupts;
  while (true) {
    interrupts.step();
    Level& level = levels.back();
    if (level.next < level.below.size()) {
      const py::Object item = level.below[level.next++];
      if (entered.contains(item.get())) py::raise(PyExc_RecursionError, "a node of the rule tree is below itself");
      if (std::optional<Items> below = enter(item)) {
        entered.insert(item.get());
        levels.push_back({item, std::move(*below)});
      }
    } else {
      const py::Object item = std::move(level.item);
      levels.pop_back();
      if (levels.empty()) return;
      entered.erase(item.get());
      leave(item);
    }
  }
}

}  // namespace

void RuleBranch::append(const py::Ref<RuleBranch>& node) const {
  if (!children.find(node)) children.append(node);
}

void RuleBranch::remove(const py::Object& node) const {
  if (const auto at = children.find(node)) children.remove_at(*at);
}

void RuleBranch::clear() const {
  const auto enter = [](const py::Object& branch) { return py::Ref<RuleBranch>(branch)->children.items(); };
  const auto leave = [](const py::Object& branch) { py::Ref<RuleBranch>(branch)->children.clear(); };
  walk({py::object_of(*this)}, enter, leave);
}

// Not a walk: a derived class may have a text form of its own, and what is indented so deep is of no use.
py::Object RuleBranch::text() const {
  const py::Depth depth(" while a rule tree is written as text");
  py::List texts;
  for (const py::Object& node : children.items()) texts.append(node.string());
  return py::text("\n").call(kJoin, texts);
}

py::Ref<RuleNode> RuleBranch::create_node(const py::Ref<ProjectRule>& rule) {
  return py::made<RuleNode>(rule, py::Object::none());
}

void RuleNode::init(const py::Ref<ProjectRule>& placed, const py::Object& below) {
  const bool given = PyList_Check(below.get()) && below.truth();
  children = given ? py::List(below) : py::List();
  rule = placed;
}

const ProjectRule& RuleNode::placed_rule() const {
  if (!rule) py::raise(PyExc_AttributeError, "a node of the rule tree has no rule");
  return *rule;
}

py::Object RuleNode::text() const {
  py::Object name = placed_rule().name();
  if (children.empty()) return name;
  const py::Object break_and_indent = py::text("\n  ");
  const py::Object below = RuleBranch::text().call(kReplace, py::text("\n"), break_and_indent);
  return break_and_indent.call(kJoin, py::tuple({name, below}));
}

bool RuleRoot::is_root(const py::Object& rule) const {
  return std::ranges::any_of(children.items(),
                             [&](const py::Object& node) { return py::Ref<RuleNode>(node)->rule.is(rule); });
}

py::List RuleRoot::data() const {
  std::vector<py::List> levels(1);
  const auto enter = [&](const py::Object& object) {
    const py::Ref<RuleNode> node(object);
    const py::List below;
    py::Dict entry;
    entry.set(kStamp, node->placed_rule().stamp());
    entry.set(kChildren, below);
    levels.back().append(entry);
    levels.push_back(below);
    return node->children.items();
  };
  walk(children.items(), enter, [&](const py::Object&) { levels.pop_back(); });
  return levels.front();
}

void RuleRoot::load(const py::Object& data, const py::Ref<RuleList>& rules) {
  struct Level {
    py::Ref<ProjectRule> rule;  // of the node that the level stands under; none for the root
    py::List nodes;
  };
  children = py::List();
  std::vector<Level> levels{{{}, children}};
  const py::Dict known = rules->by_stamp();
  const auto enter = [&](const py::Object& entry) -> std::optional<Items> {
    const py::Object stamp = py::get(entry, kStamp);
    const py::Object rule = stamp.is_text() ? known.find(stamp).value_or(py::Object()) : rules->get(stamp);
    if (rule.is_none()) {
      logger::warning(py::text("Incompatible Hierarchy Settings"));
      document::note(py::text("pattern"));
      return std::nullopt;
    }
    levels.push_back({py::Ref<ProjectRule>(rule), py::List()});
    return py::collect(py::get(entry, kChildren, py::List()));
  };
  const auto leave = [&](const py::Object&) {
    const Level done = std::move(levels.back());
    levels.pop_back();
    levels.back().nodes.append(py::made<RuleNode>(done.rule, done.nodes));
  };
  walk(py::collect(data), enter, leave);
}

void expose_rule_tree(const py::Scope& rule) {
  const py::Scope tree = py::make_namespace(rule, "Tree", "Which rule may stand under which.");

  py::Class<RuleBranch>(tree, "_Node", "What may have nodes below it. The text form is an outline of them.")
      .copies()
      .init<&RuleBranch::init>({})
      .operation<&RuleBranch::append>("append", {"node"}, "Adds a node at the end, unless this very node is there.")
      .operation<&RuleBranch::remove>("remove", {"node"}, "Removes this very node if it is there.")
      .operation<&RuleBranch::clear>(
          "clear",
          "Dismantles everything below, the deepest first. The lists stay, and are empty.\n\n"
          "RecursionError for a node below itself.")
      .static_operation<&RuleBranch::create_node>("create_node", {"rule"}, "A new `Node` of a rule, with none below.")
      .field<&RuleBranch::children>("children",
                                    "list[_Project.Settings.Rule.Tree.Node]: The list of the nodes below, in order.")
      .text<&RuleBranch::text>()
      .done();

  py::Class<RuleNode, RuleBranch>(tree, "Node",
                                  "A place of a rule in the tree. A list of nodes is taken as `children` if it is not "
                                  "empty. The text form is the rule's name, and below it, indented, the outline.")
      .copies()
      .init<&RuleNode::init>({"rule", {"children", nullptr}})
      .field<&RuleNode::rule>("rule", "_Project.Settings.Rule: The rule that stands here.")
      .text<&RuleNode::text>()
      .done();

  py::Class<RuleRoot, RuleBranch>(tree, "Root", "The top of a rule tree, which stands for no rule.")
      .copies()
      .operation<&RuleRoot::is_empty>("is_empty", "Whether there is no node.")
      .operation<&RuleRoot::is_root>("is_root", {"rule"}, "Whether this very rule stands directly below the root.")
      .accessor<&RuleRoot::data>(
          "data",
          "list[dict[str, Any]]: The JSON form, a new list of nodes: \"stamp\" of the rule, and \"children\".\n\n"
          "RecursionError for a node below itself.")
      .operation<&RuleRoot::load>("load", {"data", "rules"},
                                  "Builds the tree from its JSON form; `children` is a new list.\n\n"
                                  "A node whose stamp names none of `rules` is left out with all that is below it, and "
                                  "a warning is logged. AttributeError for a node that is no mapping.")
      .done();
}

}  // namespace heron
