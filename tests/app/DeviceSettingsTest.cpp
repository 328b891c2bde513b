// The device-settings tab: offsets read at start-up, the confirmation, the
// 50-byte set commands on the wire, and the feeder list with its Apply rules.
#include <QLineEdit>
#include <QPushButton>

#include "DeviceSettings.h"
#include "DeviceSettingsController.h"
#include "ToolsTestFixture.h"
#include "ui_MainWindow.h"

namespace {

const std::string kReplyRequest("\x1b" "E 2\r");

// A set command as the printer receives it: the text, then zeros up to 50 bytes.
std::string SetCommand(const std::string& text) {
  std::string command = "\x1b" + text + "\r";
  command.resize(50, '\0');
  return command;
}

class DeviceSettingsTest : public ToolsTestFixture {
 protected:
  std::vector<std::string> Fields() {
    Ui::MainWindow& ui = app_->ui();
    return {ui.leFrontX->text().toStdString(), ui.leFrontY->text().toStdString(), ui.leBackX->text().toStdString(),
            ui.leBackY->text().toStdString()};
  }
  void Type(const std::vector<std::string>& values) {
    Ui::MainWindow& ui = app_->ui();
    QLineEdit* fields[] = {ui.leFrontX, ui.leFrontY, ui.leBackX, ui.leBackY};
    for (size_t i = 0; i < 4; ++i) fields[i]->setText(QString::fromStdString(values[i]));
  }
  std::array<int, 4> PrinterOffsets() {
    PrinterProfile state = server_->Engine().State();
    return {state.offsetFrontX, state.offsetFrontY, state.offsetBackX, state.offsetBackY};
  }
};

TEST_F(DeviceSettingsTest, StartUpReadsTheFourOffsets) {
  Start("VKTS32", "VKTS32.ppd",
        "offset_front_x = 5\noffset_front_y = -3\noffset_back_x = 12\nreply +OYB = \\x20 7\\r");
  EXPECT_EQ(Fields(), (std::vector<std::string>{"5", "-3", "12", "7"}));
  EXPECT_EQ(app_->pOffset, (std::array<int, 4>{5, -3, 12, 7}));

  app_->DeviceSettings().GetOffsetFromPrinter();
  EXPECT_EQ(wire_->writes, (std::vector<std::string>{"\x1b+O\r", kReplyRequest, "\x1b+OY\r", kReplyRequest,
                                                     "\x1b+OB\r", kReplyRequest, "\x1b+OYB\r", kReplyRequest}));
}

TEST_F(DeviceSettingsTest, ReplyTextBecomesTheNumberAlone) {
  EXPECT_EQ(DeviceSettings::OffsetTextFromReply(std::string(" 1 2\r")), "12");
  EXPECT_EQ(DeviceSettings::OffsetTextFromReply(std::string("-4\r")), "-4");
  EXPECT_EQ(DeviceSettings::OffsetTextFromReply(std::nullopt), "");
}

TEST_F(DeviceSettingsTest, SetOffsetAsksThenSendsFiftyByteCommands) {
  Start();
  Type({"7", "-8", "9", "31"});
  app_->ui().SetoffsetBtn->click();

  ASSERT_EQ(prompter_.prompts.size(), 1u);
  const Prompter::Prompt& question = prompter_.prompts[0];
  EXPECT_EQ(question.header, "Orvex Printer Settings");
  EXPECT_EQ(question.message, "You are about to change the printer offset.Do you want to continue?");
  EXPECT_EQ(question.buttons, (std::vector<std::string>{"Yes", "No"}));
  EXPECT_EQ(question.level, Prompter::Level::kCaution);

  EXPECT_EQ(wire_->writes, (std::vector<std::string>{SetCommand("+O 7"), kReplyRequest, SetCommand("+OY -8"),
                                                     kReplyRequest, SetCommand("+OB 9"), kReplyRequest,
                                                     SetCommand("+OYB 31"), kReplyRequest}));
  EXPECT_EQ(PrinterOffsets(), (std::array<int, 4>{7, -8, 9, 31}));
  // Sending does not change what was read from the printer.
  EXPECT_EQ(app_->pOffset, (std::array<int, 4>{0, 0, 0, 0}));
}

TEST_F(DeviceSettingsTest, AnsweringNoSendsNothingAndKeepsTheEdits) {
  Start();
  Type({"1", "2", "3", "4"});
  prompter_.answers = {1};
  app_->ui().SetoffsetBtn->click();
  EXPECT_TRUE(wire_->writes.empty());
  EXPECT_EQ(Fields(), (std::vector<std::string>{"1", "2", "3", "4"}));
  EXPECT_EQ(PrinterOffsets(), (std::array<int, 4>{0, 0, 0, 0}));
}

TEST_F(DeviceSettingsTest, SetOffsetToPrinterKeepsTheSentValues) {
  Start();
  Type({"11", "12", "13", "14"});
  app_->DeviceSettings().SetOffsetToPrinter();
  EXPECT_EQ(wire_->writes.size(), 8u);
  EXPECT_EQ(app_->pOffset, (std::array<int, 4>{11, 12, 13, 14}));

  wire_->Clear();
  prompter_.answers = {1};
  Type({"21", "22", "23", "24"});
  app_->DeviceSettings().SetOffsetToPrinter();
  EXPECT_TRUE(wire_->writes.empty());
  EXPECT_EQ(app_->pOffset, (std::array<int, 4>{11, 12, 13, 14}));
}

TEST_F(DeviceSettingsTest, SendOffsetToPrinterSendsWithoutAsking) {
  Start();
  Type({"3", "", "x", "-1"});  // what is not a number goes out as 0
  app_->DeviceSettings().SendOffsetToPrinter();
  EXPECT_TRUE(prompter_.prompts.empty());
  EXPECT_EQ(wire_->writes, (std::vector<std::string>{SetCommand("+O 3"), kReplyRequest, SetCommand("+OY 0"),
                                                     kReplyRequest, SetCommand("+OB 0"), kReplyRequest,
                                                     SetCommand("+OYB -1"), kReplyRequest}));
}

TEST_F(DeviceSettingsTest, FeederApplyIsEnabledOnlyWhenTheChoiceDiffersFromThePrinter) {
  Start("VKTS32", "VKTS32.ppd", "feeder_mode = 1");
  VktComboBox* feeder = app_->ui().FeederOption;
  QPushButton* apply = app_->ui().PrinterFeedOptionApplyBtn;
  EXPECT_EQ(feeder->IndexOfSelectedItem(), 1);
  EXPECT_FALSE(apply->isEnabled());

  feeder->SelectItemAtIndex(2);
  EXPECT_TRUE(apply->isEnabled());
  feeder->SelectItemAtIndex(1);
  EXPECT_FALSE(apply->isEnabled());

  feeder->SelectItemAtIndex(2);
  wire_->Clear();
  apply->click();
  ASSERT_FALSE(wire_->writes.empty());
  EXPECT_EQ(wire_->writes.front(), "\x1b" "ATM 2\r");
  EXPECT_EQ(server_->Engine().State().feederMode, 2);
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(prompter_.prompts[0].header, "Orvex Printer Settings");
  EXPECT_EQ(prompter_.prompts[0].message, "\nApplying printer settings pease wait....");
  EXPECT_EQ(prompter_.prompts[0].timeoutSeconds, 3);
  EXPECT_FALSE(apply->isEnabled());

  // The printer's mode is now 2: choosing it again leaves Apply off, the old one turns it on.
  feeder->SelectItemAtIndex(2);
  EXPECT_FALSE(apply->isEnabled());
  feeder->SelectItemAtIndex(0);
  EXPECT_TRUE(apply->isEnabled());
}

}  // namespace
