// The message boxes behind the Prompter
// show the exact texts and buttons; the model is decided from the firmware
// text by its length and the letters at fixed positions.

#include <QAbstractButton>
#include <QMessageBox>
#include <QTimer>

#include "AppTestSupport.h"
#include "PrinterModelRules.h"
#include "QtPrompter.h"

namespace {

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
    // The user answers after a moment: a question without a timeout waits for it.
    QTimer::singleShot(200, [&seen, &c] {
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
      // 20 characters: the names decide, position 5 the smart card, 6 the encoder (the window's
      // start-up meets "VKT11 VKT31", "VKT31-M", "VKT32-M" and the 21 characters of "VKTS3-AM").
      {"VKT32EM V1.02.03.016", 0, "Orvex VKT Series 32|0|two|yes|Contact Station"},
      {"VKT32AM V1.02.03.016", 0, "Orvex VKT Series 32|0|two|yes|PS/SC Contact encoder + Contactless Mifare"},
      {"VKT32-E V1.02.03.016", 0, "Orvex VKT Series 32|0|two|no|No"},
      // 19 and 21 characters: positions 7 and 6; the names do not matter and the type stays.
      {"VKTS3CEM V1.02.0345", 0, "Orvex VKT Series 3|0|two|yes|Contact Station"},
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
