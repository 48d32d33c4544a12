#include "hierarchy/state_edit.h"

namespace heron {

StateEdit::StateEdit(CaptureTable& table) : table_(py::Ref<CaptureTable>::of(table)) { table_->take_in(); }

StateEdit::StateEdit(CaptureTable& table, AnchorState state) : table_(py::Ref<CaptureTable>::of(table)) {
  replace(std::move(state));
}

void StateEdit::replace(AnchorState state) {
  table_->content_ = std::move(state);
  replace();
}

void StateEdit::replace() { table_->opened_ = py::Object(); }

void StateEdit::commit() { table_->publish(); }

void StateEdit::commit_applied() {
  replace();
  table_->store_hash();
}

}  // namespace heron
