// Tools-tab behaviour: the widgets' side of the printer-tools models (tools/),
// which talk to the printer and block the window while they run.
#include "ToolsController.h"

#include <QCoreApplication>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <utility>
#include <QPushButton>

#include "AppDelegate.h"
#include "FilePanels.h"
#include "FirmwareDownload.h"
#include "Maintenance.h"
#include "TestCardRenderer.h"
#include "ui_MainWindow.h"

namespace {

constexpr char kChoosePrnFile[] = "Please choose a prn file to  Print";

QString Q(const std::string& text) { return QString::fromStdString(text); }

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
      app_.CardSetup().ComboIndexToPPDRibbonCombiIndex(app_.CardSetup().RibbonCombinatioin.ObjectValueOfSelectedItem());
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

ToolsContext ToolsController::Context() const { return {app_.objDev(), app_.prompter(), app_.urlIcon}; }

void ToolsController::EjectCardBtn() { Maintenance(Context()).EjectCard(); }

void ToolsController::CleanBtnclicked() {
  Maintenance(Context()).Clean(app_.ui().cleaningcombobox->IndexOfSelectedItem());
}

void ToolsController::ExecuteBtnClick() {
  Ui::MainWindow& ui = app_.ui();
  const Maintenance::ConsoleOutcome outcome = Maintenance(Context()).ExecuteConsoleLine(
      ui.cmdTextField->text().toStdString(), [&ui] { ui.PrintStatus->clear(); });
  using Kind = Maintenance::ConsoleOutcome::Kind;
  switch (outcome.kind) {
    case Kind::kTestCard:
      ProcessTestCard(outcome.testCard);
      ui.PrintStatus->setText(Q(outcome.status));
      break;
    case Kind::kReplied:
      ui.PrintStatus->setText(Q(outcome.status));
      break;
    default:  // nothing sent, or no reply at all: the line keeps what it showed
      break;
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
    app_.prompter().Show(Maintenance::kHeader, kChoosePrnFile, {"Ok"}, Prompter::Level::kCaution, app_.urlIcon);
    app_.ui().lePRNFilePath->clear();
    return;
  }
  Maintenance(Context()).SendPRNFile(app_.PrnFileName, [this](long long sent, long long total) {
    if (sent == 0) BeginProgress(total);
    AdvanceProgress(sent);
  });
  EndProgress();
  // Each chosen file is sent once.
  app_.ui().prnSendBtn->setEnabled(false);
}

// ---------------------------------------------------------------- firmware

void ToolsController::SelectFileBtnClicked() {
  // The choice is kept as the panel closes, before its second of drawing, so
  // a Download pressed in that second sends the new file, not the one before.
  ::GetSelectedFilePath(app_.prompter(), 1, {}, [this](const std::string& path) {
    app_.FirmwareFile = path;
    app_.ui().FrmwareFileLoc->setText(Q(path));
  });
  ShowFmDetails();
}

void ToolsController::ShowFmDetails() {
  Ui::MainWindow& ui = app_.ui();
  FirmwareDownload::Details details;
  switch (FirmwareDownload(Context()).Choose(app_.FirmwareFile, &details)) {
    case FirmwareDownload::Check::kUnreadable:
      return;
    case FirmwareDownload::Check::kFirmware:
      ui.lblFirmwareType->setText(Q(details.type));
      ui.lblCheckSum->setText(Q(details.checksum));
      break;
    case FirmwareDownload::Check::kRejected:
      app_.FirmwareFile.clear();
      // The details of an earlier file must not stay beside a rejected one.
      ui.lblFirmwareType->clear();
      ui.lblCheckSum->clear();
      break;
  }
  // Enabled even after a rejection: the download then finds no file and does nothing.
  ui.FWDownloadBtn->setEnabled(true);
}

void ToolsController::DownloadFwBtnClicked() {
  // One download at a time: the button is off from the click until the
  // printer has the file (the status line's second lets clicks through).
  if (downloading_) return;
  downloading_ = true;
  Ui::MainWindow& ui = app_.ui();
  ui.FWDownloadBtn->setEnabled(false);
  const bool sent = FirmwareDownload(Context()).Download(
      app_.FirmwareFile, [&ui](const std::string& text) { ui.PrintStatus->setText(Q(text)); },
      [this](long long done, long long total) {
        if (done == 0) BeginProgress(total);
        AdvanceProgress(done);
      });
  EndProgress();
  if (sent) {
    ui.FrmwareFileLoc->clear();
    ui.lblCheckSum->clear();
    ui.lblFirmwareType->clear();
  }
  ui.FWDownloadBtn->setEnabled(true);
  downloading_ = false;
  // A close asked for during the download happens now.
  for (const auto& close : std::exchange(whenIdle_, {})) close();
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
