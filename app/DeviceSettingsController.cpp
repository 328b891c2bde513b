// Device-settings tab behaviour: the widgets' side of the offsets and card
// feeder model (tools/DeviceSettings).
#include "DeviceSettingsController.h"

#include <QLineEdit>
#include <QPushButton>
#include <array>
#include <cstdlib>

#include "AppDelegate.h"
#include "DeviceSettings.h"
#include "ui_MainWindow.h"

DeviceSettingsController::DeviceSettingsController(AppDelegate& app) : app_(app) {
  Ui::MainWindow& ui = app_.ui();
  QObject::connect(ui.SetoffsetBtn, &QPushButton::clicked, ui.SetoffsetBtn, [this] { SetoffsetBtnClicked(); });
  QObject::connect(ui.PrinterFeedOptionApplyBtn, &QPushButton::clicked, ui.PrinterFeedOptionApplyBtn,
                   [this] { SingleFeedApplyBtn(); });
}

DeviceSettings DeviceSettingsController::Model() const {
  return DeviceSettings({app_.objDev(), app_.prompter(), app_.urlIcon});
}

void DeviceSettingsController::GetOffsetFromPrinter() {
  if (!app_.objDev()) return;
  Ui::MainWindow& ui = app_.ui();
  const std::array<QLineEdit*, 4> fields{ui.leFrontX, ui.leFrontY, ui.leBackX, ui.leBackY};
  const std::array<std::string, 4> texts = Model().ReadOffsets();
  for (size_t i = 0; i < fields.size(); ++i) {
    fields[i]->setText(QString::fromStdString(texts[i]));
    app_.pOffset[i] = std::atoi(texts[i].c_str());
  }
}

void DeviceSettingsController::SetoffsetBtnClicked() {
  if (Model().ConfirmOffsetChange()) SendOffsetToPrinter();
}

void DeviceSettingsController::SendOffsetToPrinter() {
  if (!app_.objDev()) return;
  Ui::MainWindow& ui = app_.ui();
  const std::array<QLineEdit*, 4> fields{ui.leFrontX, ui.leFrontY, ui.leBackX, ui.leBackY};
  std::array<int, 4> values{};
  for (size_t i = 0; i < fields.size(); ++i) values[i] = std::atoi(fields[i]->text().toStdString().c_str());
  Model().SendOffsets(values);
}

void DeviceSettingsController::SingleFeedComboBoxAction() {
  app_.ui().PrinterFeedOptionApplyBtn->setEnabled(app_.ui().FeederOption->IndexOfSelectedItem() !=
                                                  Model().FeederStatus());
}

void DeviceSettingsController::SingleFeedApplyBtn() {
  Model().SetFeeder(app_.ui().FeederOption->IndexOfSelectedItem());
  app_.ui().PrinterFeedOptionApplyBtn->setEnabled(false);
}
