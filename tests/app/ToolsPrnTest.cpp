// PRN files: the choice through the open panel and the send in 4096-byte
// blocks, once per choice, with the progress bar moving as blocks go out.
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>

#include "ToolsController.h"
#include "ToolsTestFixture.h"
#include "ui_MainWindow.h"

namespace {

using namespace std::chrono_literals;

// Raw data that no framing could mistake for a command (it never begins with ESC).
std::string PrnBytes(size_t size) {
  std::string bytes(size, '\0');
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>('!' + (i * 7) % 90);
  return bytes;
}

class ToolsPrnTest : public ToolsTestFixture {
 protected:
  void Choose(const std::string& path) {
    prompter_.paths = {path};
    app_->ui().PRNSelectBtn->click();
  }
};

TEST_F(ToolsPrnTest, ChoosingShowsThePathAndEnablesSend) {
  Start();
  const std::string path = MakeFile("card.prn", PrnBytes(10));
  Choose(path);
  ASSERT_EQ(prompter_.openPanels.size(), 1u);
  EXPECT_EQ(prompter_.openPanels[0].types, (std::vector<std::string>{"prn", "PRN"}));
  EXPECT_EQ(app_->ui().lePRNFilePath->text().toStdString(), path);
  EXPECT_EQ(app_->PrnFileName, path);
  EXPECT_TRUE(app_->ui().prnSendBtn->isEnabled());
  EXPECT_TRUE(Waited(RecordingWaits::Entry::kEventLoop, 1s));
}

TEST_F(ToolsPrnTest, CancelledChoiceChangesNothing) {
  Start();
  Choose("");
  EXPECT_TRUE(app_->ui().lePRNFilePath->text().isEmpty());
  EXPECT_FALSE(app_->ui().prnSendBtn->isEnabled());
  EXPECT_TRUE(waits_.entries.empty());
}

TEST_F(ToolsPrnTest, FileOf8192BytesGoesOutAsTwoBlocksOnce) {
  Start();
  const std::string bytes = PrnBytes(8192);
  Choose(MakeFile("job.prn", bytes));

  QProgressBar* bar = app_->ui().SendProgress;
  std::vector<int> barValues;
  bool barShown = true;
  wire_->onWrite = [&](const std::string&) {
    barValues.push_back(bar->value());
    barShown = barShown && !bar->isHidden();
  };
  EXPECT_TRUE(bar->isHidden());
  app_->ui().prnSendBtn->click();

  ASSERT_EQ(wire_->writes.size(), 2u);
  EXPECT_EQ(wire_->writes[0], bytes.substr(0, 4096));
  EXPECT_EQ(wire_->writes[1], bytes.substr(4096));
  EXPECT_FALSE(app_->ui().prnSendBtn->isEnabled());
  EXPECT_TRUE(barShown);
  EXPECT_EQ(barValues, (std::vector<int>{0, 500}));  // per mille of the file sent before each block
  EXPECT_TRUE(bar->isHidden());

  // The second press finds the button disabled: nothing more goes out.
  app_->ui().prnSendBtn->click();
  EXPECT_EQ(wire_->writes.size(), 2u);

  // The printer received the file unchanged.
  EXPECT_TRUE(WaitUntil([&] {
    for (const auto& capture : server_->Engine().CapturedData())
      if (capture == bytes) return true;
    return false;
  })) << "the emulator did not capture the PRN file";
}

TEST_F(ToolsPrnTest, EmptyFileWritesNothing) {
  Start();
  Choose(MakeFile("empty.prn", ""));
  app_->ui().prnSendBtn->click();
  EXPECT_TRUE(wire_->writes.empty());
  EXPECT_FALSE(app_->ui().prnSendBtn->isEnabled());
  EXPECT_TRUE(app_->ui().SendProgress->isHidden());
}

TEST_F(ToolsPrnTest, FileThatCannotBeOpenedSendsNothingAndDisablesSend) {
  Start();
  Choose(folder_.path().toStdString() + "/gone.prn");
  EXPECT_TRUE(app_->ui().prnSendBtn->isEnabled());
  app_->ui().prnSendBtn->click();
  EXPECT_TRUE(wire_->writes.empty());
  EXPECT_FALSE(app_->ui().prnSendBtn->isEnabled());
  EXPECT_TRUE(prompter_.prompts.empty());
}

TEST_F(ToolsPrnTest, SendWithoutAFileAsksForOne) {
  Start();
  app_->ui().lePRNFilePath->setText("typed by hand");
  app_->Tools().PRNSendBtnClicked();
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(prompter_.prompts[0].header, "Orvex Printer Settings");
  EXPECT_EQ(prompter_.prompts[0].message, "Please choose a prn file to  Print");
  EXPECT_EQ(prompter_.prompts[0].buttons, std::vector<std::string>{"Ok"});
  EXPECT_EQ(prompter_.prompts[0].level, Prompter::Level::kCaution);
  EXPECT_TRUE(app_->ui().lePRNFilePath->text().isEmpty());
  EXPECT_TRUE(wire_->writes.empty());
}

}  // namespace
