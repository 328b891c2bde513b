// Firmware download: the header markers and checksum text, the rejection, the
// download stream with its block boundaries, the waits, the notice and the
// reconnection after the printer's reset; a picture of the tab mid-download.
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QPixmap>
#include <QProgressBar>
#include <QPushButton>

#include "ToolsController.h"
#include "ToolsTestFixture.h"
#include "ui_MainWindow.h"

namespace {

using Kind = RecordingWaits::Entry::Kind;
using namespace std::chrono_literals;

// A firmware image of our own: `size` bytes of a pattern, the markers at 14
// and 15 and the model tag at 277 (when the file is long enough).
std::string FirmwareBytes(size_t size, unsigned char marker1, unsigned char marker2, const std::string& tag = "K100") {
  std::string bytes(size, '\0');
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 31 + 7) & 0xFF);
  if (size > 15) {
    bytes[14] = static_cast<char>(marker1);
    bytes[15] = static_cast<char>(marker2);
  }
  if (size >= 281) bytes.replace(277, 4, tag);
  return bytes;
}

class ToolsFirmwareTest : public ToolsTestFixture {
 protected:
  void Choose(const std::string& path) {
    prompter_.paths = {path};
    app_->ui().SelectFileBtn->click();
  }
  std::string Type() { return app_->ui().lblFirmwareType->text().toStdString(); }
  std::string Checksum() { return app_->ui().lblCheckSum->text().toStdString(); }
};

TEST_F(ToolsFirmwareTest, PrinterFirmwareShowsItsChecksumFromTheFirstMarker) {
  Start();
  const std::string path = MakeFile("printer.bin", FirmwareBytes(600, 0x12, 0xFF));
  Choose(path);
  ASSERT_EQ(prompter_.openPanels.size(), 1u);
  EXPECT_EQ(prompter_.openPanels[0].types, (std::vector<std::string>{"bin", "BIN"}));
  EXPECT_EQ(app_->ui().FrmwareFileLoc->text().toStdString(), path);
  EXPECT_EQ(app_->FirmwareFile, path);
  EXPECT_EQ(Type(), "Printer F/W");
  EXPECT_EQ(Checksum(), "0x12FF");
  EXPECT_TRUE(app_->ui().FWDownloadBtn->isEnabled());
  EXPECT_TRUE(prompter_.prompts.empty());
  EXPECT_TRUE(wire_->writes.empty());
}

TEST_F(ToolsFirmwareTest, ChecksumTextsOfEachKind) {
  Start();
  struct Case {
    unsigned char m1, m2;
    std::string tag, type, checksum;
  };
  const std::vector<Case> cases = {
      {0x3A, 0xFF, "K100", "Printer F/W", "0x3AFF"},
      {0x00, 0xFF, "K100", "Printer F/W", "0x0FF"},
      {0xFF, 0x05, "K100", "Laminator F/W", "0x5FF"},
      {0xFF, 0xFF, "L720", "Laminator F/W", "0xFFFF"},
      {0x01, 0x3A, "L720", "Laminator F/W", "0x3AFF"},  // neither marker is 0xFF: the tag decides
  };
  for (const Case& c : cases) {
    Choose(MakeFile("fw.bin", FirmwareBytes(400, c.m1, c.m2, c.tag)));
    EXPECT_EQ(Type(), c.type) << c.checksum;
    EXPECT_EQ(Checksum(), c.checksum);
  }
  EXPECT_TRUE(prompter_.prompts.empty());
}

TEST_F(ToolsFirmwareTest, FileOfNeitherKindIsRejectedAndForgotten) {
  Start();
  Choose(MakeFile("good.bin", FirmwareBytes(400, 0x12, 0xFF)));
  ASSERT_EQ(Type(), "Printer F/W");
  for (const std::string& bytes : {FirmwareBytes(400, 0xFF, 0xFF), FirmwareBytes(400, 0x12, 0x34),
                                   FirmwareBytes(100, 0x12, 0x34, "")}) {
    prompter_.prompts.clear();
    Choose(MakeFile("bad.bin", bytes));
    ASSERT_EQ(prompter_.prompts.size(), 1u);
    const Prompter::Prompt& alert = prompter_.prompts[0];
    EXPECT_EQ(alert.header, "Orvex Printer Settings");
    EXPECT_EQ(alert.message, "Incorrect firmware file.\nPlease select the correct firmware file.");
    EXPECT_EQ(alert.buttons, std::vector<std::string>{"Ok"});
    EXPECT_EQ(alert.level, Prompter::Level::kCaution);
    EXPECT_TRUE(app_->FirmwareFile.empty());
    EXPECT_EQ(Type(), "");
    // Left enabled, as the product does: the download then finds no file.
    EXPECT_TRUE(app_->ui().FWDownloadBtn->isEnabled());
  }
  app_->ui().FWDownloadBtn->click();
  EXPECT_TRUE(wire_->writes.empty());
  EXPECT_EQ(app_->ui().PrintStatus->text(), "");
}

TEST_F(ToolsFirmwareTest, FileThatCannotBeOpenedLeavesTheLabels) {
  Start();
  Choose(MakeFile("good.bin", FirmwareBytes(400, 0x12, 0xFF)));
  Choose(folder_.path().toStdString() + "/missing.bin");
  EXPECT_EQ(Type(), "Printer F/W");
  EXPECT_EQ(Checksum(), "0x12FF");
  EXPECT_TRUE(prompter_.prompts.empty());
  app_->Tools().DownloadFwBtnClicked();
  EXPECT_TRUE(wire_->writes.empty());
}

TEST_F(ToolsFirmwareTest, DownloadStreamsTheFileInBlocksAndReconnectsAfterTheReset) {
  Start("VKTS32", "VKTS32.ppd", "feeder_mode = 1");
  const std::string body = FirmwareBytes(10000, 0x12, 0xFF);
  Choose(MakeFile("firmware.bin", body));
  waits_.entries.clear();

  QProgressBar* bar = app_->ui().SendProgress;
  std::vector<int> barValues;
  std::vector<bool> barShown;
  std::string statusWhileSending;
  wire_->onWrite = [&](const std::string&) {
    barValues.push_back(bar->value());
    barShown.push_back(!bar->isHidden());
    statusWhileSending = app_->ui().PrintStatus->text().toStdString();
    if (wire_->writes.size() == 2) {
      // The second body block is about to go out: a picture of the tab mid-download.
      QDir().mkpath(VKT_SCREENSHOT_DIR);
      EXPECT_TRUE(app_->window()->grab().save(VKT_SCREENSHOT_DIR "/tools-firmware-download.png"));
    }
  };
  std::vector<RecordingWaits::Entry> waitsBeforeNotice;
  int handlesDuringNotice = -1;
  prompter_.onPrompt = [&](const Prompter::Prompt&) {
    waitsBeforeNotice = waits_.entries;
    handlesDuringNotice = wire_->handlesOpened;
    WaitForEmulatorReset();  // twenty seconds of notice in the product
  };
  const int connectionsBefore = server_->ConnectionCount();
  app_->ui().FWDownloadBtn->click();

  ASSERT_EQ(wire_->writes.size(), 5u);
  EXPECT_EQ(wire_->writes[0], std::string("\x1b" "DC \x00\x00\x27\x10", 8));
  EXPECT_EQ(wire_->writes[1], body.substr(0, 4096));
  EXPECT_EQ(wire_->writes[2], body.substr(4096, 4096));
  EXPECT_EQ(wire_->writes[3], body.substr(8192));
  EXPECT_EQ(wire_->writes[3].size(), 1808u);
  EXPECT_EQ(wire_->writes[4], std::string("\xff\x0d", 2));

  EXPECT_EQ(statusWhileSending, "Firmware downloading please wait...");
  EXPECT_EQ(barShown, (std::vector<bool>{false, true, true, true, true}));
  EXPECT_EQ(barValues[1], 0);
  EXPECT_EQ(barValues[2], 409);  // 4096 of 10000 bytes, per mille
  EXPECT_EQ(barValues[3], 819);
  EXPECT_EQ(barValues[4], 1000);
  EXPECT_TRUE(bar->isHidden());

  // One second for the status line to be drawn, seven for the printer to take the image, then the notice.
  ASSERT_EQ(waitsBeforeNotice.size(), 2u);
  EXPECT_EQ(waitsBeforeNotice[0], (RecordingWaits::Entry{Kind::kEventLoop, 1s}));
  EXPECT_EQ(waitsBeforeNotice[1], (RecordingWaits::Entry{Kind::kSleep, 7s}));
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  const Prompter::Prompt& notice = prompter_.prompts[0];
  EXPECT_EQ(notice.header, "Orvex Printer Settings");
  EXPECT_EQ(notice.message, "\nPlease wait until printer resets and initializes.");
  EXPECT_TRUE(notice.buttons.empty());
  EXPECT_EQ(notice.timeoutSeconds, 20);

  EXPECT_EQ(app_->ui().PrintStatus->text(), "Firmware downloaded successfully...");
  EXPECT_TRUE(app_->ui().FrmwareFileLoc->text().isEmpty());
  EXPECT_TRUE(app_->ui().lblCheckSum->text().isEmpty());
  EXPECT_TRUE(app_->ui().lblFirmwareType->text().isEmpty());

  // The printer took the body unchanged, and the tool talks to it again.
  bool captured = false;
  for (const auto& capture : server_->Engine().CapturedData()) captured = captured || capture == body;
  EXPECT_TRUE(captured);
  EXPECT_EQ(handlesDuringNotice, 0);
  EXPECT_EQ(wire_->handlesOpened, 1);  // one new connection, after the notice
  EXPECT_EQ(app_->objDev()->GetFeederStatus(), 1);
  EXPECT_GT(server_->ConnectionCount(), connectionsBefore);
}

TEST_F(ToolsFirmwareTest, EmptyFileSendsHeaderWithLengthZeroAndTrailer) {
  Start();
  prompter_.onPrompt = [&](const Prompter::Prompt&) { WaitForEmulatorReset(); };
  app_->FirmwareFile = MakeFile("empty.bin", "");
  app_->Tools().DownloadFwBtnClicked();
  EXPECT_EQ(wire_->writes, (std::vector<std::string>{std::string("\x1b" "DC \0\0\0\0", 8), std::string("\xff\x0d", 2)}));
}

}  // namespace
