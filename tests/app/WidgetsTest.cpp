// The list widget and the coercivity pair behave like the tool's lists and
// radio pair, not like Qt's defaults; the message boxes behind the Prompter
// show the exact texts and buttons; the model is decided from the firmware
// text by its length and the letters at fixed positions.

#include <QAbstractButton>
#include <QMessageBox>
#include <QTimer>

#include "AppTestSupport.h"
#include "PrinterModelRules.h"
#include "QtPrompter.h"
#include "RadioPair.h"

namespace {

TEST(WidgetsTest, ProgramAndUserSelectionsNotifyAddingAndRemovingNever) {
  app_test::EnsureApplication();
  VktComboBox list;
  std::vector<int> seen;
  QObject::connect(&list, &VktComboBox::SelectionDidChange, [&seen](int index) { seen.push_back(index); });
  list.AddItems({"None", "Front"});
  EXPECT_EQ(list.IndexOfSelectedItem(), -1);
  EXPECT_TRUE(list.ObjectValueOfSelectedItem().isNull());
  list.SelectItemAtIndex(1);
  list.AddItems({"Back"});
  list.AddItem("Both");
  EXPECT_EQ(list.ObjectValueOfSelectedItem(), "Front");  // adding keeps the selection
  list.SelectItemAtIndex(1);                             // the same index notifies again
  list.setCurrentIndex(3);                               // what the pop-up does when the user picks an item
  list.SelectItemAtIndex(7);                             // out of range: nothing selected
  EXPECT_EQ(list.IndexOfSelectedItem(), -1);
  list.SelectItemAtIndex(0);
  list.RemoveAllItems();
  EXPECT_EQ(list.NumberOfItems(), 0);
  EXPECT_EQ(list.IndexOfSelectedItem(), -1);
  EXPECT_EQ(seen, (std::vector<int>{1, 1, 3, -1, 0}));

  QRadioButton high("High Coercivity"), low("Low Coercivity");
  RadioPair pair(&high, &low);
  pair.SetStates(false, false);
  EXPECT_FALSE(high.isChecked() || low.isChecked());
  low.click();
  low.click();  // clicking the chosen one again keeps it chosen
  EXPECT_TRUE(!high.isChecked() && low.isChecked());
  pair.SetStates(false, true);
  pair.SelectFirst();
  EXPECT_TRUE(pair.FirstOn() && !pair.SecondOn());
}

TEST(WidgetsTest, MessageBoxesShowTheTextsAndReportTheButtonPressed) {
  app_test::EnsureApplication();
  const struct {
    std::string header, message;
    std::vector<std::string> buttons;
    int timeout;
    const char* press;  // null: nobody answers
    int answer;
    QString seen;  // title | text | informative | visible buttons | default
  } cases[] = {
      // clang-format off
      {"Orvex Printer Settings", "Go on?", {"Yes", "No"}, 0, "No", 1,
       "Orvex Printer Settings|<b>Orvex Printer Settings</b>|Go on?|Yes,No|Yes"},
      // Without a header the message is the text under the tool's title; an empty alternate is no button.
      {"", "Not able to launch printer properties.", {"OK", ""}, 0, "OK", 0,
       "Orvex Printer Settings|Not able to launch printer properties.||OK|OK"},
      // A timed notice without buttons closes by itself.
      {"Orvex Printer Settings", "\nApplying", {}, 1, nullptr, Prompter::kNoButton,
       "Orvex Printer Settings|<b>Orvex Printer Settings</b>|\nApplying||"},
      // clang-format on
  };
  for (const auto& c : cases) {
    QString seen;
    QTimer::singleShot(0, [&seen, &c] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      ASSERT_NE(box, nullptr);
      QStringList visible;
      QAbstractButton* press = nullptr;
      for (QAbstractButton* button : box->buttons()) {
        if (button->isVisibleTo(box)) visible << button->text();
        if (c.press && button->text() == c.press) press = button;
      }
      seen = box->windowTitle() + "|" + box->text() + "|" + box->informativeText() + "|" + visible.join(",") + "|" +
             (box->defaultButton() ? box->defaultButton()->text() : "");
      if (press) press->click();
    });
    QtPrompter prompter;
    EXPECT_EQ(prompter.Show(c.header, c.message, c.buttons, Prompter::Level::kNote, {}, c.timeout), c.answer);
    EXPECT_EQ(seen.toStdString(), c.seen.toStdString());
  }
}

TEST(WidgetsTest, FirmwareTextsDecideModelSidesEncoderAndSmartCard) {
  const struct {
    const char* firmware;
    long currentType;
    const char* decided;  // name, type, sides, encoder, smart card
  } cases[] = {
      // 20 characters: the names decide, position 5 the smart card, 6 the encoder.
      {"VKT11 VKT31 V1.00.01", 0, "Orvex VKT Series 1|2|one|no|No"},
      {"VKT31-M V1.02.03.016", 0, "Orvex VKT Series 31|1|one|yes|No"},
      {"VKT32-M V1.02.03.016", 1, "Orvex VKT Series 32|0|two|yes|No"},
      {"VKT32EM V1.02.03.016", 0, "Orvex VKT Series 32|0|two|yes|Contact Station"},
      {"VKT32AM V1.02.03.016", 0, "Orvex VKT Series 32|0|two|yes|PS/SC Contact encoder + Contactless Mifare"},
      {"VKT32-E V1.02.03.016", 0, "Orvex VKT Series 32|0|two|no|No"},
      // 19 and 21 characters: positions 7 and 6; the names do not matter and the type stays.
      {"VKTS3CEM V1.02.0345", 0, "Orvex VKT Series 3|0|two|yes|Contact Station"},
      {"VKTS3-AM V1.02.03.045", 0, "Orvex VKT Series 3|0|two|yes|PS/SC Contact encoder + Contactless Mifare"},
      {"VKT11-M V1.01.07.0021", 2, "Orvex VKT Series 3|2|two|no|No"},
      {"", 0, "Orvex VKT Series 3|0|two|no|No"},
      {"NA", 1, "Orvex VKT Series 3|1|two|no|No"},
      {"VKT", 0, "Orvex VKT Series 3|0|two|no|No"},
  };
  for (const auto& c : cases) {
    const PrinterModelRules rules = PrinterModelRules::Decide(c.firmware, c.currentType);
    EXPECT_EQ(rules.PrinterName + "|" + std::to_string(rules.PrinterType) + "|" + (rules.bDualSide ? "two" : "one") +
                  "|" + (rules.magEncoder ? "yes" : "no") + "|" + rules.SmartCard,
              c.decided)
        << c.firmware;
  }
}

}  // namespace
