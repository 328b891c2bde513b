// The command console: the test-card shortcuts, the reply display rules, the
// reset command with its notice and reconnection, and over-long lines.
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "Maintenance.h"
#include "ToolsController.h"
#include "ToolsTestFixture.h"
#include "ui_MainWindow.h"

namespace {

using Kind = RecordingWaits::Entry::Kind;
using namespace std::chrono_literals;

const std::string kReplyRequest("\x1b" "E 2\r");

class ToolsConsoleTest : public ToolsTestFixture {
 protected:
  // Types `line` into the console and presses Execute.
  void Execute(const std::string& line) {
    app_->ui().cmdTextField->setText(QString::fromStdString(line));
    app_->ui().ExecuteBtn->click();
  }
  std::string Status() { return app_->ui().PrintStatus->text().toStdString(); }

  // Test cards asked for, instead of printing them through CUPS.
  void RecordTestCards() {
    app_->Tools().SetTestCardPrint([this](int kind, int ribbonIndex, bool dualSide) {
      cards_.push_back({kind, ribbonIndex, dualSide});
      return TestCardPrinter::Result::kPrinted;
    });
  }

  struct Card {
    int kind;
    int ribbonIndex;
    bool dualSide;
  };
  std::vector<Card> cards_;
};

TEST_F(ToolsConsoleTest, TestCardShortcutsPrintTheCardAndShowAckWithoutSendingTheLine) {
  Start();
  RecordTestCards();
  Execute("A 1");
  ASSERT_EQ(cards_.size(), 1u);
  EXPECT_EQ(cards_[0].kind, 1);
  EXPECT_TRUE(cards_[0].dualSide);  // a Series 32 prints both sides
  EXPECT_EQ(Status(), "<ACK>");
  EXPECT_TRUE(wire_->writes.empty());

  Execute("A 0");
  Execute("A 2");
  ASSERT_EQ(cards_.size(), 3u);
  EXPECT_EQ(cards_[1].kind, 0);
  EXPECT_EQ(cards_[2].kind, 2);
  EXPECT_TRUE(wire_->writes.empty());
}

TEST_F(ToolsConsoleTest, SingleSidedPrinterPrintsTheFrontOnly) {
  Start("VKTS31", "VKTS31.ppd");
  RecordTestCards();
  Execute("A 2");
  ASSERT_EQ(cards_.size(), 1u);
  EXPECT_EQ(cards_[0].kind, 2);
  EXPECT_FALSE(cards_[0].dualSide);
}

TEST_F(ToolsConsoleTest, PrintTestCardButtonPrintsTheChosenCard) {
  Start();
  RecordTestCards();
  app_->ui().PrintTestCardcombo->SelectItemAtIndex(2);
  app_->ui().PrintTestCardBtn->click();
  ASSERT_EQ(cards_.size(), 1u);
  EXPECT_EQ(cards_[0].kind, 2);
}

TEST_F(ToolsConsoleTest, QueueUnknownToCupsIsToldToTheUser) {
  Start();
  app_->Tools().SetTestCardPrint([](int, int, bool) { return TestCardPrinter::Result::kUnknownQueue; });
  Execute("A 0");
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(prompter_.prompts[0].message, "The printer Card is not known to the print system.");
  EXPECT_EQ(prompter_.prompts[0].buttons, std::vector<std::string>{"OK"});
  EXPECT_EQ(Status(), "<ACK>");
}

TEST_F(ToolsConsoleTest, LowerCaseShortcutIsSentAndItsNakShowsNack) {
  Start();
  Execute("a 1");
  EXPECT_EQ(wire_->writes, (std::vector<std::string>{"\x1b" "a 1\r", kReplyRequest}));
  // The printer does not know "a 1": NAK 0 1 EOT, which the session hands over as the empty text.
  EXPECT_EQ(Status(), "<NACK>");
}

TEST_F(ToolsConsoleTest, ReplyDisplayRules) {
  Start("VKTS32", "VKTS32.ppd", "offset_front_x = 12\nreply +EC = \\x06OK\\r");
  Execute("MO");
  EXPECT_EQ(wire_->writes, (std::vector<std::string>{"\x1bMO\r", kReplyRequest}));
  EXPECT_EQ(Status(), "<ACK>");

  Execute("+O");
  EXPECT_EQ(Status(), "12\r");  // shown as received, terminator and all

  Execute("+EC");
  EXPECT_EQ(Status(), "\x06OK\r");  // a longer reply that begins with ACK is not an ACK
}

TEST_F(ToolsConsoleTest, NoReplyLeavesTheResultLineAlone) {
  readWait_ = 300ms;  // the silent read below ends at this bound
  Start("VKTS32", "VKTS32.ppd", "silent +EC");
  app_->ui().PrintStatus->setText("earlier");
  Execute("+EC");
  EXPECT_EQ(wire_->writes, (std::vector<std::string>{"\x1b+EC\r", kReplyRequest}));
  EXPECT_EQ(Status(), "earlier");
}

TEST_F(ToolsConsoleTest, EmptyLineDoesNothing) {
  Start();
  app_->ui().PrintStatus->setText("earlier");
  Execute("");
  EXPECT_TRUE(wire_->writes.empty());
  EXPECT_EQ(Status(), "earlier");
}

TEST_F(ToolsConsoleTest, ResetSendsNoReplyRequestAndReconnectsAfterTheWaits) {
  Start("VKTS32", "VKTS32.ppd", "feeder_mode = 2\nreset_refuse_ms = 300");
  app_->ui().PrintStatus->setText("earlier");
  const int connectionsBefore = server_->ConnectionCount();
  std::string statusDuringNotice;
  int handlesDuringNotice = -1;
  bool sleptBeforeNotice = true;
  prompter_.onPrompt = [&](const Prompter::Prompt&) {
    statusDuringNotice = Status();
    handlesDuringNotice = wire_->handlesOpened;
    sleptBeforeNotice = Waited(Kind::kSleep, 8s);
    // Twenty seconds of notice in the product: time enough for the printer to come back.
    WaitForEmulatorReset();
  };
  Execute("R");

  EXPECT_EQ(wire_->writes, std::vector<std::string>{"\x1bR\r"});
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  const Prompter::Prompt& notice = prompter_.prompts[0];
  EXPECT_EQ(notice.header, "Orvex Printer Settings");
  EXPECT_EQ(notice.message, "\nPlease wait while printer is resetting.");
  EXPECT_TRUE(notice.buttons.empty());
  EXPECT_EQ(notice.timeoutSeconds, 20);
  EXPECT_EQ(statusDuringNotice, "");
  EXPECT_FALSE(sleptBeforeNotice);
  EXPECT_TRUE(Waited(Kind::kSleep, 8s));  // after the notice, before the new connection
  EXPECT_EQ(handlesDuringNotice, 0);
  EXPECT_EQ(wire_->handlesOpened, 1);  // one new connection, after the notice

  // The session works again on a new connection.
  EXPECT_EQ(app_->objDev()->GetFeederStatus(), 2);
  EXPECT_GT(server_->ConnectionCount(), connectionsBefore);
}

TEST_F(ToolsConsoleTest, LineTooLongForTheCommandBufferIsRefused) {
  Start();
  const std::string longest(45, 'X');
  Execute(longest + "Y");
  EXPECT_TRUE(wire_->writes.empty());
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(prompter_.prompts[0].message, Maintenance::kConsoleLineTooLong);
  EXPECT_EQ(prompter_.prompts[0].buttons, std::vector<std::string>{"Ok"});

  // 45 characters fit: ESC, the line and CR are sent whole.
  Execute(longest);
  ASSERT_EQ(wire_->writes.size(), 2u);
  EXPECT_EQ(wire_->writes[0], "\x1b" + longest + "\r");
  EXPECT_EQ(prompter_.prompts.size(), 1u);
}

}  // namespace
