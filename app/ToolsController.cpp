// Tools-tab behaviour: every action talks straight to the printer through
// the session (write, reply request, read) and blocks the window while it runs.
#include "ToolsController.h"

#include "FilePanels.h"

#include <QCoreApplication>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>

#include "AppDelegate.h"
#include "CardSetupController.h"
#include "Log.h"
#include "TestCardRenderer.h"
#include "Waits.h"
#include "ui_MainWindow.h"

namespace {

constexpr char kHeader[] = "Orvex Printer Settings";
constexpr char kReplyRequest[] = "\x1b" "E 2\r";
constexpr int kReplyRequestLength = 5;
constexpr char kAck = 0x06;
constexpr char kNak = 0x15;

constexpr char kCleanPrinterQuestion[] =
    "\nPlease remove the ribbon and cards from the printer.Close the printer cover and lid then click YES.Follow LCD "
    "instructions to continue with the cleaning process.";
constexpr char kCleanHeadQuestion[] =
    "\nPlease remove the ribbon from the printer.Close the head of the printer.Press Clear button on the printer.Then "
    "press YES";
constexpr char kResettingNotice[] = "\nPlease wait while printer is resetting.";
constexpr char kChoosePrnFile[] = "Please choose a prn file to  Print";
constexpr char kIncorrectFirmware[] = "Incorrect firmware file.\nPlease select the correct firmware file.";
constexpr char kFirmwareResetNotice[] = "\nPlease wait until printer resets and initializes.";
constexpr char kFirmwareDownloading[] = "Firmware downloading please wait...";
constexpr char kFirmwareDownloaded[] = "Firmware downloaded successfully...";

// Offsets of the firmware file header.
constexpr long kMarker1Offset = 14;
constexpr long kMarker2Offset = 15;
constexpr long kUnusedByteOffset = 275;
constexpr long kModelTagOffset = 277;

QString Q(const std::string& text) { return QString::fromStdString(text); }

// Files are closed however the action ends.
struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

// Reads `size` bytes at `offset`; bytes past the end of a short file read as 0.
void ReadAt(std::FILE* file, long offset, unsigned char* out, size_t size) {
  std::memset(out, 0, size);
  if (std::fseek(file, offset, SEEK_SET) == 0) (void)std::fread(out, 1, size, file);
}

}  // namespace

ToolsController::ToolsController(AppDelegate& app) : app_(app) {
  Ui::MainWindow& ui = app_.ui();
  auto on = [](QPushButton* button, auto action) { QObject::connect(button, &QPushButton::clicked, button, action); };
  on(ui.PrintTestCardBtn, [this] { PrintTestCardBtn(); });
  on(ui.EjectCardBtn, [this] { EjectCardBtn(); });
  on(ui.cleanBtn, [this] { CleanBtnclicked(); });
  on(ui.ExecuteBtn, [this] { ExecuteBtnClick(); });
  on(ui.PRNSelectBtn, [this] { PRNSelectBtnClicked(); });
  on(ui.prnSendBtn, [this] { PRNSendBtnClicked(); });
  on(ui.SelectFileBtn, [this] { SelectFileBtnClicked(); });
  on(ui.FWDownloadBtn, [this] { DownloadFwBtnClicked(); });
  ui.SendProgress->setVisible(false);

  testCardPrint_ = [this](int kind, int ribbonIndex, bool dualSide) {
    return PrintWithCups(kind, ribbonIndex, dualSide);
  };
}

// ---------------------------------------------------------------- test cards

void ToolsController::PrintTestCardBtn() { ProcessTestCard(app_.ui().PrintTestCardcombo->IndexOfSelectedItem()); }

void ToolsController::ProcessTestCard(int kind) {
  // The card is printed in the colours of the combination chosen on the card-setup tab.
  const int ribbonIndex =
      app_.CardSetup().ComboIndexToPPDRibbonCombiIndex(app_.ui().RibbonCombinatioin->ObjectValueOfSelectedItem());
  const TestCardPrinter::Result result = testCardPrint_(kind, ribbonIndex, app_.bDualSide);
  if (result == TestCardPrinter::Result::kUnknownQueue) {
    app_.prompter().Show(app_.printerNameRef, TestCardPrinter::UnknownQueueMessage(app_.printerName), {"OK"},
                         Prompter::Level::kStop, app_.urlIcon);
  }
}

TestCardPrinter::Result ToolsController::PrintWithCups(int kind, int ribbonIndex, bool dualSide) {
  Ui::MainWindow& ui = app_.ui();
  TestCardFacts facts;
  facts.frmVersion = app_.frmVersion;
  facts.SerialNum = ui.SerialNum->text().toStdString();
  facts.HeadResis = ui.HeadResis->text().toStdString();
  facts.PannelPrinted = ui.PannelPrinted->text().toStdString();
  facts.FwVersion = ui.FwVersion->text().toStdString();
  facts.RibbonTypes = ui.RibbonTypes->text().toStdString();
  facts.pOffset = app_.pOffset;
  TestCardRenderer renderer(app_.objDev(), facts);
  TestCardPrinter printer(app_.objDev(), app_.printerName);
  return printer.ProcessTestCard(renderer, kind, ribbonIndex, dualSide);
}

// ---------------------------------------------------------- maintenance

void ToolsController::EjectCardBtn() {
  if (DeviceCommunication* session = app_.objDev()) session->WriteToPrinter("\x1bMO\r", 4);
}

void ToolsController::CleanBtnclicked() {
  const char* question = nullptr;
  const char* command = nullptr;
  int length = 0;
  switch (app_.ui().cleaningcombobox->IndexOfSelectedItem()) {
    case 0:
      question = kCleanPrinterQuestion;
      command = "\x1b" "CLEAN\r";
      length = 7;
      break;
    case 1:
      question = kCleanHeadQuestion;
      command = "\x1bMCLEAN\r";
      length = 8;
      break;
    default:
      return;
  }
  if (app_.prompter().Show(kHeader, question, {"Yes", "No"}, Prompter::Level::kCaution, app_.urlIcon) != 0) return;
  DeviceCommunication* session = app_.objDev();
  if (!session) return;
  session->WriteToPrinter(command, length);
  // The printer answers when the cleaning starts; what it says is not examined.
  (void)session->ReadFromPrinter();
}

void ToolsController::ExecuteBtnClick() {
  Ui::MainWindow& ui = app_.ui();
  const std::string line = ui.cmdTextField->text().toStdString();
  if (line.empty()) return;

  // The test cards are the tool's own shortcuts, never sent to the printer.
  static const std::array<std::string, 3> kTestCardShortcuts{"A 0", "A 1", "A 2"};
  for (int kind = 0; kind < 3; ++kind) {
    if (line == kTestCardShortcuts[kind]) {
      ProcessTestCard(kind);
      ui.PrintStatus->setText("<ACK>");
      return;
    }
  }

  if (static_cast<int>(line.size()) > kMaxConsoleLine) {
    app_.prompter().Show(kHeader, kConsoleLineTooLong, {"Ok"}, Prompter::Level::kCaution, app_.urlIcon);
    return;
  }
  DeviceCommunication* session = app_.objDev();
  if (!session) return;

  char command[kConsoleBufferSize] = {};
  std::snprintf(command, sizeof command, "\x1b%s\r", line.c_str());
  const int length = static_cast<int>(std::strlen(command));
  VktLog("Command send to printer is %s -- %d\n", command, length);
  session->WriteToPrinter(command, length);

  if (line == "R") {
    // The printer drops its connection while it resets: give it time, then connect again.
    ui.PrintStatus->clear();
    app_.prompter().Show(kHeader, kResettingNotice, {}, Prompter::Level::kNote, {}, 20);
    Waits::Current().Sleep(std::chrono::seconds(8));
    session->ResetHandle();
    return;
  }

  session->WriteToPrinter(kReplyRequest, kReplyRequestLength);
  const std::optional<std::string> reply = session->ReadFromPrinter();
  if (!reply) return;  // no reply at all: the line keeps what it showed
  if (!reply->empty() && (*reply)[0] == kNak) {
    ui.PrintStatus->setText("COMMAND ERROR");
  } else if (*reply == std::string(1, kAck)) {
    ui.PrintStatus->setText("<ACK>");
  } else if (!reply->empty()) {
    ui.PrintStatus->setText(Q(*reply));
  } else {
    // The session turns a reply that began with NAK into the empty text.
    ui.PrintStatus->setText("<NACK>");
  }
}

// ---------------------------------------------------------------- PRN files

std::string ToolsController::GetSelectedFilePath(int kind) { return ::GetSelectedFilePath(app_.prompter(), kind); }

void ToolsController::PRNSelectBtnClicked() {
  const std::string path = GetSelectedFilePath(2);
  if (path.empty()) return;
  app_.PrnFileName = path;
  app_.ui().lePRNFilePath->setText(Q(path));
  app_.ui().prnSendBtn->setEnabled(true);
}

void ToolsController::PRNSendBtnClicked() {
  if (app_.PrnFileName.empty()) {
    app_.prompter().Show(kHeader, kChoosePrnFile, {"Ok"}, Prompter::Level::kCaution, app_.urlIcon);
    app_.ui().lePRNFilePath->clear();
    return;
  }
  FilePtr file(std::fopen(app_.PrnFileName.c_str(), "rb"));
  SendPRNFileToPrinter(file.get());
}

void ToolsController::SendPRNFileToPrinter(std::FILE* file) {
  DeviceCommunication* session = app_.objDev();
  if (file && session) {
    std::fseek(file, 0, SEEK_END);
    const long size = std::ftell(file);
    std::fseek(file, 0, SEEK_SET);
    BeginProgress(size > 0 ? size : 0);
    std::array<char, kBlockSize> block;
    long long sent = 0;
    while (true) {
      const size_t count = std::fread(block.data(), 1, block.size(), file);
      if (count < 1) break;
      // The file's bytes go out as they are: no framing, no reply.
      session->WriteToPrinter(block.data(), static_cast<int>(count));
      sent += static_cast<long long>(count);
      AdvanceProgress(sent);
    }
    EndProgress();
  }
  // Each chosen file is sent once.
  app_.ui().prnSendBtn->setEnabled(false);
}

// ---------------------------------------------------------------- firmware

void ToolsController::SelectFileBtnClicked() {
  app_.FirmwareFile = GetSelectedFilePath(1);
  app_.ui().FrmwareFileLoc->setText(Q(app_.FirmwareFile));
  ShowFmDetails();
}

void ToolsController::ShowFmDetails() {
  Ui::MainWindow& ui = app_.ui();
  FilePtr file(std::fopen(app_.FirmwareFile.c_str(), "rb"));
  if (!file) {
    VktLog("fopen failed %s", std::strerror(errno));
    return;
  }
  unsigned char marker1 = 0;
  unsigned char marker2 = 0;
  unsigned char unused = 0;
  unsigned char modelTag[4];
  ReadAt(file.get(), kMarker1Offset, &marker1, 1);
  ReadAt(file.get(), kMarker2Offset, &marker2, 1);
  ReadAt(file.get(), kUnusedByteOffset, &unused, 1);
  ReadAt(file.get(), kModelTagOffset, modelTag, sizeof modelTag);

  const bool laminatorTag = std::memcmp(modelTag, "L720", 4) == 0;
  if (marker1 != 0xFF && marker2 == 0xFF) {
    ui.lblFirmwareType->setText("Printer F/W");
    ui.lblCheckSum->setText(Q(StringPrintf("0x%XFF", marker1)));
  } else if ((marker1 == 0xFF && marker2 != 0xFF) || laminatorTag) {
    ui.lblFirmwareType->setText("Laminator F/W");
    ui.lblCheckSum->setText(Q(StringPrintf("0x%XFF", marker2)));
  } else {
    app_.prompter().Show(kHeader, kIncorrectFirmware, {"Ok"}, Prompter::Level::kCaution, app_.urlIcon);
    app_.FirmwareFile.clear();
    // The details of an earlier file must not stay beside a rejected one.
    ui.lblFirmwareType->clear();
    ui.lblCheckSum->clear();
  }
  // Enabled even after a rejection: the download then finds no file and does nothing.
  ui.FWDownloadBtn->setEnabled(true);
}

void ToolsController::DownloadFwBtnClicked() {
  Ui::MainWindow& ui = app_.ui();
  FilePtr file(std::fopen(app_.FirmwareFile.c_str(), "rb"));
  if (!file) return;
  std::error_code error;
  const uintmax_t fileSize = std::filesystem::file_size(app_.FirmwareFile, error);
  if (error) return;
  const uint32_t size = static_cast<uint32_t>(fileSize);
  if (size == 0xFFFFFFFFu) return;
  DeviceCommunication* session = app_.objDev();
  if (!session) return;

  ui.PrintStatus->setText(kFirmwareDownloading);
  Waits::Current().RunEventLoop(std::chrono::milliseconds(1000));

  const char header[8] = {0x1B,
                          'D',
                          'C',
                          ' ',
                          static_cast<char>(size >> 24),
                          static_cast<char>(size >> 16),
                          static_cast<char>(size >> 8),
                          static_cast<char>(size)};
  session->WriteToPrinter(header, sizeof header);

  BeginProgress(size);
  std::array<char, kBlockSize> block;
  unsigned char checksum = 0;  // kept for the log; the trailer is fixed
  long long sent = 0;
  while (true) {
    const size_t count = std::fread(block.data(), 1, block.size(), file.get());
    if (count == 0) break;
    for (size_t i = 0; i < count; ++i) checksum ^= static_cast<unsigned char>(block[i]);
    session->WriteToPrinter(block.data(), static_cast<int>(count));
    sent += static_cast<long long>(count);
    AdvanceProgress(sent);
  }
  const char trailer[2] = {static_cast<char>(0xFF), 0x0D};
  session->WriteToPrinter(trailer, sizeof trailer);
  EndProgress();
  VktLog("Firmware of %u bytes sent, exclusive-or of the body 0x%02X", size, checksum);

  Waits::Current().Sleep(std::chrono::seconds(7));
  app_.prompter().Show(kHeader, kFirmwareResetNotice, {}, Prompter::Level::kNote, {}, 20);
  ui.PrintStatus->setText(kFirmwareDownloaded);
  file.reset();
  ui.FrmwareFileLoc->clear();
  ui.lblCheckSum->clear();
  ui.lblFirmwareType->clear();
  // The printer dropped the connection while it reset.
  session->ResetHandle();
}

// ---------------------------------------------------------------- progress

void ToolsController::BeginProgress(long long total) {
  QProgressBar* bar = app_.ui().SendProgress;
  progressTotal_ = total;
  bar->setRange(0, 1000);
  bar->setValue(0);
  bar->setFormat(QStringLiteral("0 of %1 bytes").arg(total));
  bar->setVisible(true);
  QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

void ToolsController::AdvanceProgress(long long sent) {
  QProgressBar* bar = app_.ui().SendProgress;
  bar->setValue(progressTotal_ > 0 ? static_cast<int>(sent * 1000 / progressTotal_) : 1000);
  bar->setFormat(QStringLiteral("%1 of %2 bytes").arg(sent).arg(progressTotal_));
  // Paint between blocks so a long send does not look hung; the user's
  // clicks wait, no other action may start in the middle of a send.
  QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

void ToolsController::EndProgress() {
  app_.ui().SendProgress->setVisible(false);
  progressTotal_ = 0;
}
