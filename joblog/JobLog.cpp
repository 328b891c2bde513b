// The job-log window: the widgets of the form bound to the model's controls.
#include "JobLog.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>
#include <QScreen>
#include <array>

#include "ControlBinding.h"
#include "Prompter.h"
#include "ui_JobLog.h"

namespace {
constexpr const char* kLogoIcon = ":/images/Orvex_Logo_Stacked_K.png";
}  // namespace

JobLog::JobLog(const std::string& ppdPath, Prompter& prompter, QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::JobLog>()), model_(JobLogContext{&prompter, kLogoIcon}) {
  ui_->setupUi(this);
  // The logo is the program's resource; a library test runs without it.
  QPixmap logo(kLogoIcon);
  if (!logo.isNull()) ui_->JobLogImageLogo->setPixmap(logo.scaledToHeight(64, Qt::SmoothTransformation));
  Bind();
  connect(ui_->SaveLog, &QPushButton::clicked, this, [this] { SaveJobLogClick(); });
  connect(ui_->CloseJobLogBtn, &QPushButton::clicked, this, [this] { CloseJobLogDlg(); });
  SetPPDFileName(ppdPath);
  windowDidLoad();
}

JobLog::~JobLog() = default;

void JobLog::Bind() {
  using namespace control_binding;
  JobLogModel::Outlets& outlets = model_.ui;
  BindCheckBox(outlets.EnableLogging, ui_->EnableLogging, [this] { EnableLogging(); });
  BindCheckBox(outlets.JobLogNewFile, ui_->JobLogNewFile, [this] { CheckedCreateNewFile(); });
  BindCheckBox(outlets.StaticText, ui_->StaticText, [this] { StaticTextField(); });
  const std::array<QCheckBox*, 9> boxes{ui_->JobLogTime,       ui_->JobLogDate,      ui_->PrinterSerialNumber,
                                        ui_->PrinterIPAddress, ui_->PrinterUserName, ui_->SpoolerJobNumber,
                                        ui_->Track1Data,       ui_->Track2Data,      ui_->Track3Data};
  std::array<ToggleControl*, 9> controls = outlets.ContentBoxes();
  for (size_t i = 0; i < boxes.size(); ++i) BindCheckBox(*controls[i], boxes[i]);
  for (auto [control, widget] : {std::pair{&outlets.JobLogFileName, ui_->JobLogFileName},
                                 std::pair{&outlets.JobLogSeparator, ui_->JobLogSeparator},
                                 std::pair{&outlets.JobLogStaticTextField, ui_->JobLogStaticTextField}}) {
    BindText(*control, widget,
             [this, control = control](const std::string& text) { model_.controlTextDidChange(*control, text); });
  }
  BindButton(outlets.DeleteLog, ui_->DeleteLog, [this] { DeleteLogFiles(); });
}

void JobLog::windowDidLoad() {
  if (QWidget* owner = parentWidget()) {
    move(owner->geometry().center() - rect().center());
  } else if (QScreen* screen = this->screen()) {
    move(screen->availableGeometry().center() - rect().center());
  }
  model_.ui.JobLogFileName.SetEnabled(true);
  model_.ui.JobLogSeparator.SetEnabled(true);
  model_.ui.DeleteLog.SetEnabled(true);
  LoadJobLogSettings();
}

void JobLog::LoadJobLogSettings() { model_.LoadJobLogSettings(strPPDFileName); }
void JobLog::EnableLogging() { model_.EnableLogging(); }
void JobLog::CheckedCreateNewFile() { model_.CheckedCreateNewFile(); }
void JobLog::StaticTextField() { model_.StaticTextField(); }

void JobLog::controlTextDidChange(QLineEdit* field) {
  JobLogModel::Outlets& outlets = model_.ui;
  TextControl* control = field == ui_->JobLogFileName          ? &outlets.JobLogFileName
                         : field == ui_->JobLogSeparator       ? &outlets.JobLogSeparator
                         : field == ui_->JobLogStaticTextField ? &outlets.JobLogStaticTextField
                                                               : nullptr;
  if (control) model_.controlTextDidChange(*control, field->text().toStdString());
}

int JobLog::SaveJobLogClick() { return model_.SaveJobLogClick(); }
void JobLog::DeleteLogFiles() { model_.DeleteLogFiles(); }
void JobLog::CloseJobLogDlg() { done(QDialog::Rejected); }

void JobLog::closeEvent(QCloseEvent* event) {
  CloseJobLogDlg();
  event->accept();
}
