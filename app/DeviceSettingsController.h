// The device-settings tab: the print offsets kept in the printer (read at
// start-up, sent after a confirmation) and the card feeder mode.
#pragma once

#include <optional>
#include <string>

class AppDelegate;

class DeviceSettingsController {
 public:
  explicit DeviceSettingsController(AppDelegate& app);

  // Reads front X, front Y, back X, back Y into the fields and pOffset.
  void GetOffsetFromPrinter();
  // Set Offset: asks first, then SendOffsetToPrinter.
  void SetoffsetBtnClicked();
  // Sends the four field values as set commands (also used after a settings
  // file is restored).
  void SendOffsetToPrinter();
  // The same after the confirmation, also keeping the sent values in pOffset.
  void SetOffsetToPrinter();

  // Feeder Apply is usable only while the chosen mode differs from the printer's.
  void SingleFeedComboBoxAction();
  // Sends the chosen feeder mode, shows the progress notice, disables Apply.
  void SingleFeedApplyBtn();

  // A reply to an offset query made fit for the field: the printer pads with
  // blanks and ends with its terminator, neither belongs to the number.
  static std::string OffsetTextFromReply(const std::optional<std::string>& reply);

 private:
  bool ConfirmOffsetChange();
  // Sends the four offsets; `keep` also stores each in pOffset.
  void SendOffsets(bool keep);

  AppDelegate& app_;
};
