// Card eject and the two cleaning procedures: their questions and exact commands.
#include <QPushButton>

#include "ToolsController.h"
#include "ToolsTestFixture.h"
#include "ui_MainWindow.h"

namespace {

class ToolsMaintenanceTest : public ToolsTestFixture {};

TEST_F(ToolsMaintenanceTest, EjectWritesTheCommandOnlyAndReadsNothing) {
  Start();
  app_->ui().EjectCardBtn->click();
  EXPECT_EQ(wire_->writes, std::vector<std::string>{"\x1bMO\r"});
  EXPECT_TRUE(prompter_.prompts.empty());
}

TEST_F(ToolsMaintenanceTest, PrinterCleaningAsksThenSendsClean) {
  Start();
  app_->ui().cleaningcombobox->SelectItemAtIndex(0);
  app_->ui().cleanBtn->click();
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  const Prompter::Prompt& question = prompter_.prompts[0];
  EXPECT_EQ(question.header, "Orvex Printer Settings");
  EXPECT_EQ(question.message,
            "\nPlease remove the ribbon and cards from the printer.Close the printer cover and lid then click "
            "YES.Follow LCD instructions to continue with the cleaning process.");
  EXPECT_EQ(question.buttons, (std::vector<std::string>{"Yes", "No"}));
  EXPECT_EQ(question.level, Prompter::Level::kCaution);
  EXPECT_EQ(question.timeoutSeconds, 0);
  EXPECT_EQ(wire_->writes, std::vector<std::string>{std::string("\x1b" "CLEAN\r")});
}

TEST_F(ToolsMaintenanceTest, HeadCleaningAsksThenSendsMclean) {
  Start();
  app_->ui().cleaningcombobox->SelectItemAtIndex(1);
  app_->ui().cleanBtn->click();
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(prompter_.prompts[0].message,
            "\nPlease remove the ribbon from the printer.Close the head of the printer.Press Clear button on the "
            "printer.Then press YES");
  ASSERT_EQ(wire_->writes.size(), 1u);
  EXPECT_EQ(wire_->writes[0], "\x1bMCLEAN\r");
  EXPECT_EQ(wire_->writes[0].size(), 8u);
}

TEST_F(ToolsMaintenanceTest, CleaningAnsweredNoSendsNothing) {
  Start();
  for (int kind : {0, 1}) {
    app_->ui().cleaningcombobox->SelectItemAtIndex(kind);
    prompter_.answers = {1};
    app_->ui().cleanBtn->click();
  }
  EXPECT_EQ(prompter_.prompts.size(), 2u);
  EXPECT_TRUE(wire_->writes.empty());
}

TEST_F(ToolsMaintenanceTest, NoCleaningChosenAsksNothing) {
  Start();
  app_->ui().cleaningcombobox->SelectItemAtIndex(-1);
  app_->ui().cleanBtn->click();
  EXPECT_TRUE(prompter_.prompts.empty());
  EXPECT_TRUE(wire_->writes.empty());
}

}  // namespace
