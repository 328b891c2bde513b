// The print offsets kept in the printer and its card feeder mode.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "ToolsContext.h"

class DeviceSettings {
 public:
  static constexpr const char* kOffsetQuestion = "You are about to change the printer offset.Do you want to continue?";
  // The feeder modes, in the order of the window's list and of the printer's
  // "ATM" numbers.
  static constexpr std::array<const char*, 3> kFeederModes{"Card feeder", "Single feeder slot", "Auto feed"};

  explicit DeviceSettings(ToolsContext context) : context_(std::move(context)) {}

  // Front X, front Y, back X, back Y as the printer reports them (the texts
  // the window's fields show); empty texts without a session.
  std::array<std::string, 4> ReadOffsets();
  // Asks "change the printer offset?"; true for Yes.
  bool ConfirmOffsetChange();
  // Sends the four values as 50-byte set commands, each followed by the
  // reply request and one read (the answer is not examined).
  void SendOffsets(const std::array<int, 4>& offsets);

  // The printer's feeder mode (0 without a session).
  int FeederStatus();
  // Sends the mode and shows the 3-second "Applying" notice.
  void SetFeeder(int mode);

  // A reply to an offset query made fit for a field: the printer pads with
  // blanks and ends with its terminator, neither belongs to the number.
  static std::string OffsetTextFromReply(const std::optional<std::string>& reply);

 private:
  ToolsContext context_;
};
