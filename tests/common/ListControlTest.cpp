// The widget-free list the models own: the behaviour the window relies on
// (no selection until one is made; adding and removing never selects or
// notifies; every selection notifies the rules in the order they were
// registered, then the views stay in line).
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "ListControl.h"

namespace {

TEST(ListControl, SelectionsNotifyInRegistrationOrderAndEditsNever) {
  ListControl list;
  std::string calls;
  int viewUpdates = 0;
  list.Observe([&] { ++viewUpdates; });
  list.OnSelectionChange([&] { calls += "first:" + list.ObjectValueOfSelectedItem().value_or("-") + " "; });
  list.OnSelectionChange([&] { calls += "second"; });
  // The selected index and the rules called by each step.
  const auto step = [&](const std::function<void()>& action) {
    calls.clear();
    action();
    return std::to_string(list.IndexOfSelectedItem()) + " " + calls;
  };
  EXPECT_EQ(step([&] { list.AddItems({"None", "Front", "Back"}); }), "-1 ");
  // The item already selected notifies again; a position the list does not hold selects nothing.
  const std::pair<int, const char*> cases[] = {
      {1, "1 first:Front second"}, {1, "1 first:Front second"}, {3, "-1 first:- second"}, {-1, "-1 first:- second"}};
  for (const auto& [index, expected] : cases) EXPECT_EQ(step([&] { list.SelectItemAtIndex(index); }), expected);
  list.SelectItemAtIndex(2);
  EXPECT_EQ(step([&] { list.RemoveAllItems(); }), "-1 ");
  EXPECT_EQ(list.NumberOfItems(), 0);
  EXPECT_EQ(list.ItemAt(0), "");
  // Every change reached the view: 1 add, 5 selections, 1 removal.
  EXPECT_EQ(viewUpdates, 7);
}

}  // namespace
