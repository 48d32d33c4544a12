#include "hierarchy/sorter.h"

#include <algorithm>

#include "hierarchy/pattern.h"
#include "matching/anchor_text.h"
#include "runtime/identity_set.h"

namespace heron {
namespace {

/// One scope of a layer while the layer is sorted.
class Unit {
 public:
  void init(const py::Object& index_) { index = index_; }

  void add_definition(const py::Object& text) const { definition.append(text); }
  void add_usage(const py::Object& text) const { usage.append(text); }
  bool has_definition() const { return !definition.empty(); }
  bool has_usage() const { return !usage.empty(); }

  py::Object index = py::to_python(0);
  py::List definition, usage;

  template <class V>
  void members(V& visit) {
    visit(index);
    visit(definition);
    visit(usage);
  }
};

/// The scopes of a layer in some order.
class Order {
 public:
  void append(const py::Object& unit) const { array.append(unit); }
  void insert(Py_ssize_t index, const py::Object& unit) const { array.insert(index, unit); }
  void reverse() const { py::checked(PyList_Reverse(array.get())); }
  py::Object iterate() const { return py::iterator(array.items()); }

  py::List array;

  template <class V>
  void members(V& visit) {
    visit(array);
  }
};

const Unit& unit_of(const py::Object& object) { return *py::Ref<Unit>(object); }

/// The number of units at the start of the order before the first one that `stops`.
template <class P>
Py_ssize_t count_until(const Order& order, P&& stops) {
  const std::vector<py::Object> units = order.array.items();
  const auto end =
      std::find_if(units.begin(), units.end(), [&](const py::Object& unit) { return stops(unit_of(unit)); });
  return end - units.begin();
}

bool has_dependency(const py::Object& definition, const py::Object& usage) {
  const std::vector<py::Object> rules = py::collect(definition);
  for (const py::Object& key : py::collect(usage)) {
    for (const py::Object& rule : rules) {
      if (py::holds(rule, key)) return true;
    }
  }
  return false;
}

py::Ref<Order> create_order(const py::List& pattern) {
  auto order = py::Ref<Order>::make();
  for (Py_ssize_t index = 0; index < pattern.size(); ++index) {
    auto unit = py::Ref<Unit>::make();
    unit->index = py::to_python(index);
    order->append(unit);
    const py::Utf8 regex(rule_of(pattern.at(index)).attr(fields::kRegex));
    for (const std::string_view anchor : anchor_text::find_all(regex)) {
      const std::string_view inner = anchor.substr(1, anchor.size() - 2);
      const py::Object text = py::text(inner);
      anchor_text::has_definition(inner) ? unit->add_definition(text) : unit->add_usage(text);
    }
  }
  return order;
}

/// Where a unit stands in the order that is built back to front.
Py_ssize_t place_of(const Unit& unit, const Order& order) {
  if (unit.has_definition()) {
    Py_ssize_t index = count_until(order, [](const Unit& other) { return other.has_definition(); });
    // Every unit that depends on this one counts, wherever it stands: sibling orders that users see follow from it.
    for (const py::Object& other : order.array.items()) {
      if (has_dependency(unit.definition, unit_of(other).usage)) ++index;
    }
    return index;
  }
  if (!unit.has_usage()) return 0;
  return count_until(order, [](const Unit& other) { return other.has_definition() || other.has_usage(); });
}

py::Ref<Order> change_order(const py::Ref<Order>& order) {
  auto right_order = py::Ref<Order>::make();
  for (const py::Object& unit : order->array.items()) {
    right_order->insert(place_of(unit_of(unit), *right_order), unit);
  }
  right_order->reverse();
  return right_order;
}

void shuffle_scopes(const py::List& pattern, const py::Ref<Order>& order) {
  const py::List clone = pattern.copy();
  Py_ssize_t position = 0;
  for (const py::Object& unit : order->array.items()) {
    const py::Object scope = clone.item(unit_of(unit).index);
    pattern.set_item(py::to_python(position++), scope);
  }
}

void sort_scopes(const py::List& pattern) { shuffle_scopes(pattern, change_order(create_order(pattern))); }

void sort_all(const py::List& pattern, py::IdentitySet& sorted) {
  if (sorted.contains(pattern)) return;
  const py::Depth depth(" while a pattern is sorted");
  sort_scopes(pattern);
  for (const py::Object& scope : pattern.items()) sort_all(py::List(scope.attr(fields::kChildren)), sorted);
  sorted.add(pattern);
}

}  // namespace

void sorter::sort(const py::List& pattern) {
  py::IdentitySet sorted;
  sort_all(pattern, sorted);
}

void expose_sorter(const py::Scope& pattern) {
  const py::Scope scope = py::make_namespace(
      pattern, "_Sorter",
      "A sort algorithm for hierarchy pattern items for more effective search.\n\n"
      "Scopes that define an anchor come before those that use it; those without anchors come last.");

  const py::Scope order =
      py::Class<Order>(scope, "Order", "The scopes of a layer, as units, in some order.")
          .copies()
          .operation<&Order::append>("append", {"unit"}, "Appends a unit.")
          .operation<&Order::insert>("insert", {"index", "unit"}, "Inserts a unit as a list does.")
          .operation<&Order::reverse>("reverse", "Reverses the order.")
          .iterate<&Order::iterate>()
          .field<&Order::array>("array", "list[_Hierarchy.Pattern._Sorter.Order.Unit]: The units in order.")
          .done();

  py::Class<Unit>(order, "Unit", "One scope of a layer: its position before sorting, and the anchors of its rule.")
      .copies()
      .init<&Unit::init>({"index"})
      .operation<&Unit::add_definition>("add_definition", {"text"}, "Adds the inner text of a definition.")
      .operation<&Unit::add_usage>("add_usage", {"text"}, "Adds the inner text of a usage.")
      .field<&Unit::index>("index", "SupportsIndex: Position in the layer before sorting.")
      .field<&Unit::definition>("definition", "list[str]: Inner texts of the definitions.")
      .field<&Unit::usage>("usage", "list[str]: Inner texts of the usages.")
      .done();

  py::function<&sorter::sort>(scope, "sort", {"pattern"}, "Sorts a list of scopes in place, and all layers below it.");
  py::function<&sort_scopes>(scope, "sort_scopes", {"pattern"}, "Sorts one layer in place.");
  py::function<&create_order>(scope, "create_order", {"pattern"}, "The units of a layer in the layer's order.");
  py::function<&change_order>(scope, "change_order", {"order"}, "A new order in which the search can succeed.");
  py::function<&has_dependency>(scope, "has_dependency", {"definition", "usage"},
                                "Whether one of the usages stands as a part in one of the definitions.");
  py::function<&shuffle_scopes>(scope, "shuffle_scopes", {"pattern", "order"}, "Puts a layer in this order, in place.");
}

}  // namespace heron
