// What the tools and device-settings tabs do with the tools models: fields,
// labels, buttons, the progress bar and the result line, against an
// in-process emulator. What the models send is tested in tests/tools.
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <fstream>
#include <functional>
#include <thread>

#include "AppTestSupport.h"
#include "ToolsController.h"

namespace {

class ToolsTab : public app_test::WindowTest {
 protected:
  // The window against an emulator with `profileLines`.
  void Begin(const std::string& profileLines) {
    ASSERT_EQ(Start("VKTS32", "VKTS32.ppd", profileLines), AppDelegate::StartupResult::kReady);
    Forget();
    // The progress bar's values as a file goes out (negative: hidden).
    QObject::connect(ui().SendProgress, &QProgressBar::valueChanged, ui().SendProgress,
                     [this](int value) { progress_.push_back(ui().SendProgress->isHidden() ? -value : value); });
  }
  std::string Status() { return ui().PrintStatus->text().toStdString(); }
  // Chooses a file of `bytes` (or none) through `button`'s open panel.
  void Choose(QPushButton* button, const std::string& name, const std::string& bytes = {}) {
    if (!bytes.empty()) std::ofstream(Root() + "/" + name, std::ios::binary) << bytes;
    prompter_.paths = {name.empty() ? "" : Root() + "/" + name};
    button->click();
  }
  std::vector<int> progress_;
};

TEST_F(ToolsTab, OffsetsFeederConsoleAndMaintenance) {
  Begin("offset_front_x = 5\noffset_front_y = -3\noffset_back_x = 12\noffset_back_y = 7\nfeeder_mode = 1");
  QLineEdit* const fields[] = {ui().leFrontX, ui().leFrontY, ui().leBackX, ui().leBackY};
  const char* typed[] = {"7", "x", "", "-1"};  // what is no number goes out as 0
  std::string read;
  for (int i = 0; i < 4; ++i) read += fields[i]->text().toStdString() + " ", fields[i]->setText(typed[i]);
  EXPECT_EQ(read, "5 -3 12 7 ");
  prompter_.answers = {1};
  ui().SetoffsetBtn->click();  // answered No
  EXPECT_EQ(server_->Engine().State().offsetFrontX, 5);
  ui().SetoffsetBtn->click();
  const PrinterProfile state = server_->Engine().State();
  EXPECT_EQ((std::array<int, 4>{state.offsetFrontX, state.offsetFrontY, state.offsetBackX, state.offsetBackY}),
            (std::array<int, 4>{7, 0, 0, -1}));
  EXPECT_EQ(app_->pOffset, (std::array<int, 4>{5, -3, 12, 7}));  // still what was read

  // Apply is on only while the list differs from the printer's mode (1, then 2 once applied).
  std::string applyOn;
  for (int index : {1, 2, 1, 2, -1, 2, 0}) {  // -1: press Apply
    index < 0 ? ui().PrinterFeedOptionApplyBtn->click() : ui().FeederOption->SelectItemAtIndex(index);
    applyOn += ui().PrinterFeedOptionApplyBtn->isEnabled() ? '+' : '-';
  }
  EXPECT_EQ(applyOn, "-+-+--+");

  std::vector<std::array<int, 3>> cards;  // kind, ribbon index, both sides
  auto result = TestCardPrinter::Result::kPrinted;
  app_->Tools().SetTestCardPrint([&](int kind, int ribbon, bool dual) {
    return cards.push_back({kind, ribbon, dual}), result;
  });
  auto execute = [this](const char* line) {
    return ui().cmdTextField->setText(line), ui().ExecuteBtn->click(), Status();
  };
  EXPECT_EQ(execute("+O"), "7\r");
  EXPECT_EQ(execute(""), "7\r");  // nothing sent: the line keeps what it showed
  EXPECT_EQ(execute("A 1"), "<ACK>");
  ui().PrintTestCardcombo->SelectItemAtIndex(2);
  ui().PrintTestCardBtn->click();
  EXPECT_EQ(cards, (std::vector<std::array<int, 3>>{{1, 0, 1}, {2, 0, 1}}));
  result = TestCardPrinter::Result::kUnknownQueue;
  execute("A 0");
  EXPECT_EQ(prompter_.prompts.at(3).message, "The printer Card is not known to the print system.");

  ui().EjectCardBtn->click();
  ui().cleaningcombobox->SelectItemAtIndex(1);
  ui().cleanBtn->click();
  const std::vector<std::string> commands = server_->Engine().Commands();
  EXPECT_EQ(std::vector<std::string>(commands.end() - 2, commands.end()), (std::vector<std::string>{"MO", "MCLEAN"}));
  // The reset empties the result line before its notice.
  prompter_.onPrompt = [this](const Prompter::Prompt&) { EXPECT_EQ(Status(), ""); };
  execute("R");
  EXPECT_EQ(prompter_.prompts.size(), 6u);
}

TEST_F(ToolsTab, FilesAreChosenAndSentWithTheProgressBar) {
  Begin("");
  ui().lePRNFilePath->setText("typed by hand");
  app_->Tools().PRNSendBtnClicked();
  EXPECT_EQ(prompter_.prompts.at(0).message, "Please choose a prn file to  Print");
  EXPECT_EQ(ui().lePRNFilePath->text(), "");
  Choose(ui().PRNSelectBtn, "card.prn", std::string(8192, 'p'));
  Choose(ui().PRNSelectBtn, "");  // cancelled: nothing changes
  EXPECT_EQ(prompter_.openPanels.at(0).types, (std::vector<std::string>{"prn", "PRN"}));
  EXPECT_EQ(ui().lePRNFilePath->text().toStdString(), Root() + "/card.prn");
  ui().prnSendBtn->click();
  EXPECT_EQ(progress_, (std::vector<int>{500, 1000}));  // per mille of the file
  EXPECT_EQ(ui().SendProgress->format(), "8192 of 8192 bytes");
  EXPECT_TRUE(ui().SendProgress->isHidden());
  EXPECT_FALSE(ui().prnSendBtn->isEnabled());  // each file goes once

  const std::string firmware = std::string(14, '\x01') + "\x12\xff" + std::string(9984, '\x01');  // printer F/W, 0x12
  auto labels = [this] { return (ui().lblFirmwareType->text() + " " + ui().lblCheckSum->text()).toStdString(); };
  Choose(ui().SelectFileBtn, "fw.bin", firmware);
  EXPECT_EQ(labels(), "Printer F/W 0x12FF");
  EXPECT_EQ(prompter_.openPanels.at(2).types, (std::vector<std::string>{"bin", "BIN"}));
  EXPECT_EQ(ui().FrmwareFileLoc->text().toStdString(), Root() + "/fw.bin");
  Choose(ui().SelectFileBtn, "gone.bin");
  EXPECT_EQ(labels(), "Printer F/W 0x12FF");  // cannot be opened: left as they were
  Choose(ui().SelectFileBtn, "bad.bin", std::string(400, 'x'));
  EXPECT_EQ(labels() + app_->FirmwareFile, " ");
  EXPECT_TRUE(ui().FWDownloadBtn->isEnabled());  // the download then finds no file
  Choose(ui().SelectFileBtn, "fw.bin", firmware);
  progress_.clear();
  ui().FWDownloadBtn->click();
  EXPECT_EQ(progress_, (std::vector<int>{0, 409, 819, 1000}));
  EXPECT_EQ(Status(), "Firmware downloaded successfully...");
  EXPECT_TRUE(ui().SendProgress->isHidden());
  EXPECT_EQ(labels() + ui().FrmwareFileLoc->text().toStdString(), " ");
}

// Waits that also act during the next second of drawing: what a user can do
// while the window is still drawn but busy.
class ActingWaits : public RecordingWaits {
 public:
  void RunEventLoop(std::chrono::milliseconds duration) override {
    RecordingWaits::RunEventLoop(duration);
    if (auto act = std::exchange(onLoop, {})) act();
  }
  std::function<void()> onLoop;
};

TEST_F(ToolsTab, ADownloadTakesNoSecondClickAndClosingWaitsForItsEnd) {
  Begin("");
  ActingWaits waits;
  const std::string older = std::string(14, '\x01') + "\x12\xff" + std::string(84, '\x01');
  const std::string newer = std::string(14, '\x01') + "\x34\xff" + std::string(184, '\x01');
  Choose(ui().SelectFileBtn, "older.bin", older);
  // A Download in the second after a choice already finds the chosen file.
  std::string during;
  waits.onLoop = [&] { during = app_->FirmwareFile; };
  Choose(ui().SelectFileBtn, "newer.bin", newer);
  EXPECT_EQ(during, Root() + "/newer.bin");

  // Clicks, Close, Cancel and the close box while the status line is drawn.
  bool buttonOn = true;
  waits.onLoop = [&] {
    buttonOn = ui().FWDownloadBtn->isEnabled();
    app_->Tools().DownloadFwBtnClicked();
    ui().CloseBtn->click();
    app_->window()->close();
    EXPECT_TRUE(app_->window()->isVisible() && app_->objDev());
  };
  ui().FWDownloadBtn->click();
  EXPECT_FALSE(buttonOn);
  // One download, of the newer file (the printer takes it in its own time:
  // waited for, with a bound); the close came after it.
  for (int round = 0; round < 500 && server_->Engine().ResetCount() == 0; ++round)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  size_t headers = 0;
  for (const std::string& data : server_->Engine().CapturedData()) headers += data == newer;
  EXPECT_EQ(headers, 1u);
  EXPECT_EQ(server_->Engine().ResetCount(), 1);
  EXPECT_EQ(app_->objDev(), nullptr);
  EXPECT_FALSE(app_->window()->isVisible());
}

}  // namespace
