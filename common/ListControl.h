// Widget-free controls that a model owns and a window binds to its widgets:
// a list (items, at most one selected, handlers for selection changes), a
// toggle (a check box's state) and a button's enabled state.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

// A list as the tool's pop-up lists behave: it may hold items with nothing
// selected; adding and removing items never selects or notifies; every
// selection, the program's or the user's, notifies the handlers in the order
// they were registered, even when it selects the item already selected.
class ListControl {
 public:
  using Handler = std::function<void()>;

  void RemoveAllItems();
  void AddItem(const std::string& text);
  void AddItems(const std::vector<std::string>& texts);
  // Selects the item at `index` (-1, or a position the list does not hold,
  // selects nothing) and notifies the handlers.
  void SelectItemAtIndex(int index);

  int IndexOfSelectedItem() const { return selected_; }
  // The selected item's text; nullopt when nothing is selected.
  std::optional<std::string> ObjectValueOfSelectedItem() const;
  int NumberOfItems() const { return static_cast<int>(items_.size()); }
  std::string ItemAt(int index) const;
  const std::vector<std::string>& Items() const { return items_; }

  bool IsEnabled() const { return enabled_; }
  void SetEnabled(bool enabled);

  // A rule of the model: runs after every selection.
  void OnSelectionChange(Handler handler) { handlers_.push_back(std::move(handler)); }
  // A view of the list (a widget): runs after every change of items,
  // selection or enabled state, before the selection handlers.
  void Observe(Handler view) { views_.push_back(std::move(view)); }

 private:
  void Changed();

  std::vector<std::string> items_;
  int selected_ = -1;
  bool enabled_ = true;
  std::vector<Handler> handlers_;
  std::vector<Handler> views_;
};

// A check box's state, or (checked unused) a button's enabled state.
class ToggleControl {
 public:
  explicit ToggleControl(bool enabled = true, bool checked = false) : enabled_(enabled), checked_(checked) {}

  bool IsChecked() const { return checked_; }
  void SetChecked(bool checked);
  bool IsEnabled() const { return enabled_; }
  void SetEnabled(bool enabled);
  // A view of the toggle: runs after every change.
  void Observe(std::function<void()> view) { views_.push_back(std::move(view)); }

 private:
  void Changed();

  bool enabled_;
  bool checked_;
  std::vector<std::function<void()>> views_;
};

// A text field: its text and whether it is usable.
class TextControl {
 public:
  const std::string& Text() const { return text_; }
  void SetText(const std::string& text);
  bool IsEnabled() const { return enabled_; }
  void SetEnabled(bool enabled);
  // A view of the field: runs after every change.
  void Observe(std::function<void()> view) { views_.push_back(std::move(view)); }

 private:
  void Changed();

  std::string text_;
  bool enabled_ = true;
  std::vector<std::function<void()>> views_;
};
