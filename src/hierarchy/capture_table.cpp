#include "hierarchy/capture_table.h"

#include <algorithm>

#include "hierarchy/state_edit.h"

namespace heron {
namespace {

const py::Name kItems("items");

py::Object as_tuple(const Capture& capture) { return py::tuple({py::text(capture.text), py::text(capture.scope)}); }

Capture as_capture(const py::Object& pair) {
  const std::vector<py::Object> parts = py::collect(pair);
  if (parts.size() != 2)
    py::raise_value("a capture must be a pair of text and path, not of length " + std::to_string(parts.size()));
  return {py::Utf8(parts[0]).str(), py::Utf8(parts[1]).str()};
}

/// Adds captures of one definition that the state does not hold; sorted, so that the result is the same on every run.
void add_captures(AnchorState& state, std::size_t key, std::vector<Capture> captures,
                  const std::vector<Capture>& known = {}) {
  std::sort(captures.begin(), captures.end());
  captures.erase(std::unique(captures.begin(), captures.end()), captures.end());
  for (Capture& capture : captures) {
    if (!std::binary_search(known.begin(), known.end(), capture)) state.add(key, std::move(capture));
  }
}

Py_hash_t hash_of(const AnchorState& state) {
  const std::vector<std::vector<Capture>> tables = state.tables();
  std::vector<py::Object> entries;
  for (std::size_t key = 0; key < tables.size(); ++key) {
    std::vector<py::Object> pairs;
    for (const Capture& capture : tables[key]) pairs.push_back(as_tuple(capture));
    entries.push_back(py::tuple({py::text((*state.definitions)[key].text()), py::tuple(pairs)}));
  }
  return py::tuple(entries).hash();
}

}  // namespace

Py_hash_t CaptureTable::get_hash() {
  if (!hash_) hash_ = hashed_ ? hash_of(*hashed_) : 0;
  return *hash_;
}

bool CaptureTable::equals(const py::Object& other) {
  return py::is_instance<CaptureTable>(other.get()) && get_hash() == py::value_of<CaptureTable>(other.get()).get_hash();
}

py::Object CaptureTable::add(const py::Object& other) {
  if (!py::is_instance<CaptureTable>(other.get())) return py::Object::borrow(Py_NotImplemented);
  AnchorState sum = StateEdit(*this).state();
  const AnchorState right = StateEdit(py::value_of<CaptureTable>(other.get())).state();
  const std::vector<std::vector<Capture>> tables = right.tables(), known = sum.tables();
  auto definitions = std::make_shared<Definitions>(*sum.definitions);
  for (const Definition& definition : *right.definitions) definitions->add(definition.text());
  sum.definitions = definitions;
  for (std::size_t i = 0; i < tables.size(); ++i) {
    const std::size_t key = definitions->add((*right.definitions)[i].text());
    add_captures(sum, key, tables[i], key < known.size() ? known[key] : std::vector<Capture>());
  }
  return of(std::move(sum));
}

void CaptureTable::apply(const py::Ref<CaptureTable>& clone) {
  const StateEdit edit(*this, StateEdit(*clone).state());
  store_hash();
}

py::Ref<CaptureTable> CaptureTable::clone() { return of(StateEdit(*this).state()); }

void CaptureTable::set(const py::Object& expressions) {
  set_expressions(expressions);
  make_hash();
}

void CaptureTable::set_expressions(const py::Object& structure) { const StateEdit edit(*this, read(structure)); }

void CaptureTable::make_hash() {
  take_in();
  store_hash();
}

void CaptureTable::store_hash() {
  hashed_ = content_;
  hash_.reset();
}

py::Dict CaptureTable::expressions() {
  if (!opened_) {
    opened_ = table(content_);
    remember();
  }
  return py::Dict(opened_);
}

void CaptureTable::assign_expressions(const py::Object& structure) {
  const py::Dict map(structure);
  content_ = read(map);
  opened_ = map;
  remember();
}

// Whoever matches many names while he holds the map has added nothing to it in between: to compare it is much less
// than to read it, and the captures that are new are few.

void CaptureTable::take_in() {
  if (!opened_) return;
  if (is_as_shown()) {
    content_ = shown_content_;
  } else {
    content_ = read(opened_);
    remember();
  }
}

void CaptureTable::remember() {
  shown_ = table(content_);
  shown_content_ = content_;
}

bool CaptureTable::is_as_shown() const {
  const py::Dict held(opened_), shown(shown_);
  return held.keys().equals(shown.keys()) && held.equals(shown);
}

bool CaptureTable::publish_new() {
  const CaptureLink* const known = shown_content_.last.get();
  std::vector<const CaptureLink*> links;
  const CaptureLink* link = content_.last.get();
  for (; link != nullptr && link != known; link = link->before.get()) links.push_back(link);
  if (link != known || content_.definitions != shown_content_.definitions) return false;
  const AnchorState content = content_;  // keeps the links
  const py::Dict held(opened_), shown(shown_);
  for (const CaptureLink* added : links) {
    const py::Object key = py::text((*content.definitions)[added->key].text()), capture = as_tuple(added->capture);
    for (const py::Dict& map : {held, shown}) {
      const std::optional<py::Object> set = map.find(key);
      if (!set || !PySet_Check(set->get())) return false;
      py::checked(PySet_Add(set->get(), capture.get()));
    }
  }
  shown_content_ = content;
  return true;
}

void CaptureTable::publish() {
  if (!opened_ || publish_new()) return;
  const py::Dict held(opened_);
  for (const auto& [key, captures] : table(content_).items()) {
    const std::optional<py::Object> known = held.find(key);
    if (!known || !PySet_Check(known->get())) {
      held.set(key, captures);
      continue;
    }
    py::checked(PySet_Clear(known->get()));  // in place: somebody may hold the set itself
    for (const py::Object& capture : py::collect(captures)) {
      py::checked(PySet_Add(known->get(), capture.get()));
    }
  }
  remember();
}

py::Ref<CaptureTable> CaptureTable::of(AnchorState content) {
  auto state = py::Ref<CaptureTable>::make();
  state->content_ = std::move(content);
  state->make_hash();
  return state;
}

AnchorState CaptureTable::read(const py::Object& structure) {
  auto definitions = std::make_shared<Definitions>();
  AnchorState state;
  for (const py::Object& item : py::collect(structure.call(kItems))) {
    const std::vector<py::Object> entry = py::collect(item);
    if (entry.size() != 2)
      py::raise_value("a table must have pairs of a definition and its captures, not of length " +
                      std::to_string(entry.size()));
    const std::size_t key = definitions->add(py::Utf8(entry[0]));
    std::vector<Capture> captures;
    for (const py::Object& pair : py::collect(entry[1])) captures.push_back(as_capture(pair));
    add_captures(state, key, std::move(captures));
  }
  state.definitions = std::move(definitions);
  return state;
}

py::Dict CaptureTable::table(const AnchorState& state) {
  const py::Dict table;
  const std::vector<std::vector<Capture>> captures = state.tables();
  for (std::size_t key = 0; key < captures.size(); ++key) {
    const py::Object set = py::Object::steal(PySet_New(nullptr));
    for (const Capture& capture : captures[key]) py::checked(PySet_Add(set.get(), as_tuple(capture).get()));
    table.set(py::text((*state.definitions)[key].text()), set);
  }
  return table;
}

void expose_capture_table(const py::Scope& anchor) {
  py::Class<CaptureTable>(
      anchor, "_State",
      "The memory of a match: the table of definition anchors with everything captured for them.\n\n"
      "The hash stands for the content as it was at the last `set`, `make_hash`, `apply`, `clone` or addition; it is 0 "
      "for a new state. Equality compares hashes.")
      .no_copies("it belongs to a search; clone() makes another")
      .equals<&CaptureTable::equals>()
      .hash<&CaptureTable::get_hash>()
      .add<&CaptureTable::add>()
      .operation<&CaptureTable::get_hash>("get_hash", "The stored hash.")
      .operation<&CaptureTable::apply>("apply", {"clone"}, "Makes the content equal to that of another state.")
      .operation<&CaptureTable::clone>("clone", "A new state with the same content; neither changes the other.")
      .operation<&CaptureTable::set>("set", {"expressions"}, "`set_expressions`, then `make_hash`.")
      .operation<&CaptureTable::set_expressions>(
          "set_expressions", {"structure"},
          "Replaces the table; the hash stays as it was.\n\n"
          "Args:\n"
          "    structure: A map from a definition's text to an iterable of (match, scope) pairs, all of them text.")
      .operation<&CaptureTable::make_hash>("make_hash", "Brings the hash up to date.")
      .accessor<&CaptureTable::expressions, &CaptureTable::assign_expressions>(
          "expressions",
          "dict[str, set[tuple[str, str]]]: A map from each definition's text, in order, to its set of (match, scope) "
          "pairs.")
      .accessor<&CaptureTable::get_hash>("_hash", "int: The stored hash.")
      .done();
}

}  // namespace heron
