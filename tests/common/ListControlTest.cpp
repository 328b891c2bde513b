// The widget-free list the models own: the behaviour the window relies on
// (no selection until one is made; adding and removing never selects or
// notifies; every selection notifies the rules in the order they were
// registered, then the views stay in line).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ListControl.h"

namespace {

TEST(ListControl, SelectionsNotifyInRegistrationOrderAndEditsNever) {
  ListControl list;
  std::vector<std::string> calls;
  int viewUpdates = 0;
  list.Observe([&] { ++viewUpdates; });
  list.OnSelectionChange([&] { calls.push_back("first:" + list.ObjectValueOfSelectedItem().value_or("-")); });
  list.OnSelectionChange([&] { calls.push_back("second"); });

  list.AddItems({"None", "Front", "Back"});
  EXPECT_EQ(list.IndexOfSelectedItem(), -1);
  EXPECT_EQ(list.ObjectValueOfSelectedItem(), std::nullopt);
  EXPECT_TRUE(calls.empty());

  const struct {
    int select;
    int selected;
    std::vector<std::string> calls;
  } cases[] = {{1, 1, {"first:Front", "second"}},
               {1, 1, {"first:Front", "second"}},  // the item already selected notifies again
               {3, -1, {"first:-", "second"}},     // a position the list does not hold selects nothing
               {-1, -1, {"first:-", "second"}}};
  for (const auto& c : cases) {
    calls.clear();
    list.SelectItemAtIndex(c.select);
    EXPECT_EQ(list.IndexOfSelectedItem(), c.selected) << c.select;
    EXPECT_EQ(calls, c.calls) << c.select;
  }

  list.SelectItemAtIndex(2);
  calls.clear();
  list.RemoveAllItems();
  EXPECT_EQ(list.NumberOfItems(), 0);
  EXPECT_EQ(list.IndexOfSelectedItem(), -1);
  EXPECT_TRUE(calls.empty());
  EXPECT_EQ(list.ItemAt(0), "");
  // Every change reached the view: 1 add, 5 selections, 1 removal.
  EXPECT_EQ(viewUpdates, 7);
}

}  // namespace
