// The settings-archive window.
#include "vkts3saverestore.h"

#include "FilePanels.h"

#include <QCloseEvent>
#include <QFile>
#include <QFileInfo>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QStandardPaths>
#include <QStringDecoder>
#include <chrono>

#include "DriverSettingsArchive.h"
#include "DriverSettingsTransfer.h"
#include "Log.h"
#include "PlistFile.h"
#include "Waits.h"
#include "ui_vkts3saverestore.h"

namespace {

constexpr const char* kArchiveTitle = "Orvex Printer Settings";

bool ContainsIgnoringCase(const std::string& text, const char* part) {
  return QString::fromStdString(text).contains(QLatin1String(part), Qt::CaseInsensitive);
}

}  // namespace

vkts3saverestore::vkts3saverestore(const std::string& ppdPath, std::unique_ptr<SaveRestoreHost> host, QWidget* parent,
                                   const std::string& documentsFolder)
    : QDialog(parent), ui_(std::make_unique<Ui::vkts3saverestore>()), host_(std::move(host)),
      documentsFolder_(documentsFolder) {
  ui_->setupUi(this);
  connect(ui_->PrinterSettingSaveButton, &QPushButton::clicked, this, [this] { PrinterSettingSaveButton(); });
  connect(ui_->PrinterSettingsRestoreButton, &QPushButton::clicked, this, [this] { PrinterSettingsRestoreButton(); });
  connect(ui_->DriverSettingSaveButton, &QPushButton::clicked, this, [this] { DriverSettingSaveButton(); });
  connect(ui_->DriverSettingsRestoreButton, &QPushButton::clicked, this, [this] { DriverSettingsRestoreButton(); });
  connect(ui_->SaveRestoreCloseBtn, &QPushButton::clicked, this, [this] { SaveRestoreCloseBtn(); });
  SetPPDFileName(ppdPath);
  windowDidLoad();
}

vkts3saverestore::~vkts3saverestore() = default;

void vkts3saverestore::windowDidLoad() {
  if (QWidget* owner = parentWidget()) {
    move(owner->geometry().center() - rect().center());
  } else if (QScreen* screen = this->screen()) {
    move(screen->availableGeometry().center() - rect().center());
  }
  oPPDHelper_ = std::make_unique<PPDHelper>();
  oPPDHelper_->InitPPD(strPPDFileName);
  // The user's Documents folder, where the desktop keeps it (not the
  // /Users/<name>/Documents of the system this tool comes from).
  defaultDirectoryPath_ = documentsFolder_.empty()
                              ? QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation).toStdString()
                              : documentsFolder_;
  ui_->ContentsOfPlist->setReadOnly(true);
  ui_->lblFilePathText->setText(
      QString("The default location where the configurations \n files stored is %1").arg(QString::fromStdString(defaultDirectoryPath_)));
}

std::string vkts3saverestore::SaveFile(const std::string& title) {
  std::string path = host_->prompter().ChooseFileToSave({title, defaultDirectoryPath_, {"plist", "PLIST"}});
  if (path.empty() || ContainsIgnoringCase(path, ".plist")) return path;
  // The panel asked about the name without ".plist"; an existing file of the
  // real name is replaced only after the same question.
  path += ".plist";
  if (QFileInfo::exists(QString::fromStdString(path)) &&
      host_->prompter().Show("", path + " already exists. Do you want to replace it?", {"Yes", "No"},
                             Prompter::Level::kCaution) != 0)
    return {};
  return path;
}

std::string vkts3saverestore::GetSelectedFilePath(Prompter& prompter, int kind, const std::string& directory) {
  return ::GetSelectedFilePath(prompter, kind, directory);
}

std::string vkts3saverestore::GetSelectedFilePath(int kind) {
  return GetSelectedFilePath(host_->prompter(), kind, defaultDirectoryPath_);
}

void vkts3saverestore::DisplayContentsofPlistFile(const std::string& path) {
  if (path.empty()) return;
  QFile file(QString::fromStdString(path));
  // Only a settings-sized file is shown; anything bigger is not ours.
  if (file.size() > static_cast<qint64>(plist_file::kMaxFileSize) || !file.open(QIODevice::ReadOnly)) return;
  QByteArray bytes = file.readAll();
  QStringDecoder decoder(QStringDecoder::Utf8);
  QString text = decoder.decode(bytes);
  if (decoder.hasError() || text.isEmpty()) return;
  ui_->ContentsOfPlist->setPlainText(text);
}

void vkts3saverestore::PrinterSettingSaveButton() {
  std::string path = SaveFile("Save Printer Setting");
  if (path.empty()) return;
  std::string error;
  // A failed write is only logged; the display then shows what the path holds.
  if (!printer_settings::Write(host_->CurrentPrinterSettings(), path, error)) VktLog("%s", error.c_str());
  DisplayContentsofPlistFile(path);
}

void vkts3saverestore::PrinterSettingsRestoreButton() {
  std::string path = GetSelectedFilePath(3);
  DisplayContentsofPlistFile(path);
  // The file is on the screen before the printer is addressed.
  Waits::Current().RunEventLoop(std::chrono::milliseconds(1000));
  host_->UpdatePrinterSettingsFromFile(path);
}

void vkts3saverestore::DriverSettingSaveButton() {
  std::string path = SaveFile("Save Driver Setting");
  if (path.empty()) return;
  if (!oPPDHelper_) return;
  // Also makes the job-log values read now the ones a later restore in this
  // window compares against.
  const driver_settings::DriverSettings settings = driver_settings::Collect(*oPPDHelper_, host_->DriverListIndices());
  std::string error;
  if (!driver_settings::Write(settings, path, error)) VktLog("%s", error.c_str());
  DisplayContentsofPlistFile(path);
}

void vkts3saverestore::DriverSettingsRestoreButton() {
  std::string path = GetSelectedFilePath(3);
  if (path.empty()) return;
  DisplayContentsofPlistFile(path);
  Waits::Current().RunEventLoop(std::chrono::milliseconds(1000));
  UpdateDriverSettingsFromFile(path);
}

int vkts3saverestore::UpdateDriverSettingsFromFile(const std::string& path) {
  if (!oPPDHelper_) return -1;
  return driver_settings::Restore(*oPPDHelper_, path, host_->prompter());
}

void vkts3saverestore::SaveRestoreCloseBtn() { done(QDialog::Rejected); }

void vkts3saverestore::closeEvent(QCloseEvent* event) {
  SaveRestoreCloseBtn();
  event->accept();
}
