// The widget-free list and toggle.
#include "ListControl.h"

void ListControl::RemoveAllItems() {
  items_.clear();
  selected_ = -1;
  Changed();
}

void ListControl::AddItem(const std::string& text) { AddItems({text}); }

void ListControl::AddItems(const std::vector<std::string>& texts) {
  items_.insert(items_.end(), texts.begin(), texts.end());
  Changed();
}

void ListControl::SelectItemAtIndex(int index) {
  selected_ = index >= 0 && index < NumberOfItems() ? index : -1;
  Changed();
  // A handler may add handlers to this list: walk by position.
  for (size_t i = 0; i < handlers_.size(); ++i) handlers_[i]();
}

std::optional<std::string> ListControl::ObjectValueOfSelectedItem() const {
  if (selected_ < 0) return std::nullopt;
  return items_[static_cast<size_t>(selected_)];
}

std::string ListControl::ItemAt(int index) const {
  return index >= 0 && index < NumberOfItems() ? items_[static_cast<size_t>(index)] : std::string();
}

void ListControl::SetEnabled(bool enabled) {
  enabled_ = enabled;
  Changed();
}

void ListControl::Changed() {
  for (size_t i = 0; i < views_.size(); ++i) views_[i]();
}

void ToggleControl::SetChecked(bool checked) {
  checked_ = checked;
  Changed();
}

void ToggleControl::SetEnabled(bool enabled) {
  enabled_ = enabled;
  Changed();
}

void ToggleControl::Changed() {
  for (size_t i = 0; i < views_.size(); ++i) views_[i]();
}

void TextControl::SetText(const std::string& text) {
  text_ = text;
  Changed();
}

void TextControl::SetEnabled(bool enabled) {
  enabled_ = enabled;
  Changed();
}

void TextControl::Changed() {
  for (size_t i = 0; i < views_.size(); ++i) views_[i]();
}
