// The list wrapper and the coercivity pair behave like the system's lists
// and radio matrix, not like Qt's defaults.
#include <gtest/gtest.h>

#include <QRadioButton>
#include <QSignalSpy>

#include "AppTestSupport.h"
#include "RadioPair.h"
#include "VktComboBox.h"

namespace {

class VktComboBoxTest : public ::testing::Test {
 protected:
  void SetUp() override {
    app_test::EnsureApplication();
    owned_ = std::make_unique<VktComboBox>();
    QObject::connect(owned_.get(), &VktComboBox::SelectionDidChange, [this](int index) { seen_.push_back(index); });
  }
  std::unique_ptr<VktComboBox> owned_;
  VktComboBox& list() { return *owned_; }
  std::vector<int> seen_;
};

TEST_F(VktComboBoxTest, AddingToAnEmptyListSelectsNothingAndNotifiesNobody) {
  list().AddItems({"Card feeder", "Single feeder slot", "Auto feed"});
  list().AddItem("Front K");
  EXPECT_EQ(list().NumberOfItems(), 4);
  EXPECT_EQ(list().IndexOfSelectedItem(), -1);
  EXPECT_TRUE(list().ObjectValueOfSelectedItem().isNull());
  EXPECT_TRUE(seen_.empty());
}

TEST_F(VktComboBoxTest, RemovingAllItemsClearsTheSelectionSilently) {
  list().AddItems({"None", "Front"});
  list().SelectItemAtIndex(1);
  seen_.clear();
  list().RemoveAllItems();
  EXPECT_EQ(list().NumberOfItems(), 0);
  EXPECT_EQ(list().IndexOfSelectedItem(), -1);
  EXPECT_TRUE(seen_.empty());
}

TEST_F(VktComboBoxTest, AddingKeepsAnExistingSelectionWithoutNotifying) {
  list().AddItems({"None", "Front"});
  list().SelectItemAtIndex(1);
  seen_.clear();
  list().AddItems({"Back", "Both"});
  EXPECT_EQ(list().IndexOfSelectedItem(), 1);
  EXPECT_EQ(list().ObjectValueOfSelectedItem(), "Front");
  EXPECT_TRUE(seen_.empty());
}

TEST_F(VktComboBoxTest, EveryProgramSelectionNotifiesEvenTheSameIndex) {
  list().AddItems({"No", "Yes"});
  list().SelectItemAtIndex(1);
  list().SelectItemAtIndex(1);
  list().SelectItemAtIndex(0);
  list().SelectItemAtIndex(7);  // out of range: nothing selected
  EXPECT_EQ(seen_, (std::vector<int>{1, 1, 0, -1}));
  EXPECT_EQ(list().IndexOfSelectedItem(), -1);
}

TEST_F(VktComboBoxTest, AUserChoiceNotifiesLikeAProgramSelection) {
  list().AddItems({"Diffusion", "Halftone"});
  list().setCurrentIndex(1);  // what the pop-up does when the user picks an item
  EXPECT_EQ(seen_, (std::vector<int>{1}));
}

TEST(RadioPairTest, BothButtonsCanBeOffAndAClickLeavesExactlyTheClickedOneOn) {
  app_test::EnsureApplication();
  QRadioButton high("High Coercivity"), low("Low Coercivity");
  RadioPair pair(&high, &low);
  pair.SetStates(false, false);
  EXPECT_FALSE(high.isChecked());
  EXPECT_FALSE(low.isChecked());

  low.click();
  EXPECT_FALSE(high.isChecked());
  EXPECT_TRUE(low.isChecked());
  low.click();  // clicking the chosen one again keeps it chosen
  EXPECT_TRUE(low.isChecked());
  high.click();
  EXPECT_TRUE(high.isChecked());
  EXPECT_FALSE(low.isChecked());

  pair.SetStates(false, true);
  pair.SelectFirst();
  EXPECT_TRUE(pair.FirstOn());
  EXPECT_FALSE(pair.SecondOn());
}

}  // namespace
