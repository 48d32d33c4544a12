#include "hierarchy/state_edit.h"

namespace heron {

StateEdit::StateEdit(CaptureTable& table) : table_(py::Ref<CaptureTable>::of(table)) { table_->take_in(); }

StateEdit::StateEdit(CaptureTable& table, AnchorState state) : table_(py::Ref<CaptureTable>::of(table)) {
  replace(std::move(state));
}

void StateEdit::replace(AnchorState state) {
  table_->content_ = std::move(state);
  let_go();
}

void StateEdit::begin_search(const LayerPlan& scopes) {
  if (!scopes.scopes.empty()) let_go();
}

void StateEdit::end_search(const LayerSearch& search) {
  if (!search.applied()) return;
  let_go();
  table_->store_hash();
}

void StateEdit::commit() { table_->publish(); }

void StateEdit::let_go() { table_->opened_ = table_->shown_ = py::Object(); }

}  // namespace heron
