// Device-settings tab behaviour: offsets and card feeder.
#include "DeviceSettingsController.h"

#include <QLineEdit>
#include <QPushButton>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>

#include "AppDelegate.h"
#include "ui_MainWindow.h"

namespace {

constexpr char kHeader[] = "Orvex Printer Settings";
constexpr char kOffsetQuestion[] = "You are about to change the printer offset.Do you want to continue?";
constexpr char kApplyingNotice[] = "\nApplying printer settings pease wait....";
constexpr char kReplyRequest[] = "\x1b" "E 2\r";
constexpr int kReplyRequestLength = 5;
// The printer takes every set command as one 50-byte buffer, zero-padded after the CR.
constexpr int kSetCommandLength = 50;

struct OffsetCommand {
  const char* read;  // ESC name CR
  int readLength;
  const char* set;   // format of ESC name value CR
};
// Front X, front Y, back X, back Y: the order of the fields and of pOffset.
constexpr std::array<OffsetCommand, 4> kOffsets{{
    {"\x1b+O\r", 4, "\x1b+O %d\r"},
    {"\x1b+OY\r", 5, "\x1b+OY %d\r"},
    {"\x1b+OB\r", 5, "\x1b+OB %d\r"},
    {"\x1b+OYB\r", 6, "\x1b+OYB %d\r"},
}};

}  // namespace

DeviceSettingsController::DeviceSettingsController(AppDelegate& app) : app_(app) {
  Ui::MainWindow& ui = app_.ui();
  QObject::connect(ui.SetoffsetBtn, &QPushButton::clicked, ui.SetoffsetBtn, [this] { SetoffsetBtnClicked(); });
  QObject::connect(ui.PrinterFeedOptionApplyBtn, &QPushButton::clicked, ui.PrinterFeedOptionApplyBtn,
                   [this] { SingleFeedApplyBtn(); });
}

std::string DeviceSettingsController::OffsetTextFromReply(const std::optional<std::string>& reply) {
  std::string text;
  if (!reply) return text;
  for (char c : *reply) {
    // Blanks anywhere and control bytes (the CR terminator, a stray ACK) are not part of the number.
    if (c == ' ' || std::iscntrl(static_cast<unsigned char>(c))) continue;
    text += c;
  }
  return text;
}

void DeviceSettingsController::GetOffsetFromPrinter() {
  DeviceCommunication* session = app_.objDev();
  if (!session) return;
  Ui::MainWindow& ui = app_.ui();
  const std::array<QLineEdit*, 4> fields{ui.leFrontX, ui.leFrontY, ui.leBackX, ui.leBackY};
  for (size_t i = 0; i < kOffsets.size(); ++i) {
    session->WriteToPrinter(kOffsets[i].read, kOffsets[i].readLength);
    session->WriteToPrinter(kReplyRequest, kReplyRequestLength);
    const std::string text = OffsetTextFromReply(session->ReadFromPrinter());
    fields[i]->setText(QString::fromStdString(text));
    app_.pOffset[i] = std::atoi(text.c_str());
  }
}

bool DeviceSettingsController::ConfirmOffsetChange() {
  return app_.prompter().Show(kHeader, kOffsetQuestion, {"Yes", "No"}, Prompter::Level::kCaution, app_.urlIcon) == 0;
}

void DeviceSettingsController::SetoffsetBtnClicked() {
  if (ConfirmOffsetChange()) SendOffsetToPrinter();
}

void DeviceSettingsController::SendOffsetToPrinter() { SendOffsets(false); }

void DeviceSettingsController::SetOffsetToPrinter() {
  if (ConfirmOffsetChange()) SendOffsets(true);
}

void DeviceSettingsController::SendOffsets(bool keep) {
  DeviceCommunication* session = app_.objDev();
  if (!session) return;
  Ui::MainWindow& ui = app_.ui();
  const std::array<QLineEdit*, 4> fields{ui.leFrontX, ui.leFrontY, ui.leBackX, ui.leBackY};
  for (size_t i = 0; i < kOffsets.size(); ++i) {
    const int value = std::atoi(fields[i]->text().toStdString().c_str());
    char command[kSetCommandLength] = {};
    std::snprintf(command, sizeof command, kOffsets[i].set, value);
    session->WriteToPrinter(command, kSetCommandLength);
    session->WriteToPrinter(kReplyRequest, kReplyRequestLength);
    // The printer's answer is not examined: a missing one is not reported.
    (void)session->ReadFromPrinter();
    if (keep) app_.pOffset[i] = value;
  }
}

void DeviceSettingsController::SingleFeedComboBoxAction() {
  DeviceCommunication* session = app_.objDev();
  const int printerMode = session ? session->GetFeederStatus() : 0;
  app_.ui().PrinterFeedOptionApplyBtn->setEnabled(app_.ui().FeederOption->IndexOfSelectedItem() != printerMode);
}

void DeviceSettingsController::SingleFeedApplyBtn() {
  if (DeviceCommunication* session = app_.objDev()) {
    session->SetSingleFeedOptions(app_.ui().FeederOption->IndexOfSelectedItem());
  }
  app_.prompter().Show(kHeader, kApplyingNotice, {}, Prompter::Level::kNote, app_.urlIcon, 3);
  app_.ui().PrinterFeedOptionApplyBtn->setEnabled(false);
}
