// Offsets and the card feeder: set commands and queries through the session.
#include "DeviceSettings.h"

#include <cctype>
#include <cstdio>

#include "DeviceCommunication.h"
#include "Maintenance.h"

namespace {

constexpr char kApplyingNotice[] = "\nApplying printer settings pease wait....";
// The printer takes every set command as one 50-byte buffer, zero-padded after the CR.
constexpr int kSetCommandLength = 50;

struct OffsetCommand {
  const char* read;  // ESC name CR
  int readLength;
  const char* set;  // format of ESC name value CR
};
// Front X, front Y, back X, back Y: the order of the fields and of pOffset.
constexpr std::array<OffsetCommand, 4> kOffsets{{
    {"\x1b+O\r", 4, "\x1b+O %d\r"},
    {"\x1b+OY\r", 5, "\x1b+OY %d\r"},
    {"\x1b+OB\r", 5, "\x1b+OB %d\r"},
    {"\x1b+OYB\r", 6, "\x1b+OYB %d\r"},
}};

}  // namespace

std::string DeviceSettings::OffsetTextFromReply(const std::optional<std::string>& reply) {
  std::string text;
  if (!reply) return text;
  for (char c : *reply) {
    // Blanks anywhere and control bytes (the CR terminator, a stray ACK) are not part of the number.
    if (c == ' ' || std::iscntrl(static_cast<unsigned char>(c))) continue;
    text += c;
  }
  return text;
}

std::array<std::string, 4> DeviceSettings::ReadOffsets() {
  std::array<std::string, 4> texts;
  if (!context_.session) return texts;
  for (size_t i = 0; i < kOffsets.size(); ++i)
    texts[i] = OffsetTextFromReply(context_.session->AskPrinter(kOffsets[i].read, kOffsets[i].readLength));
  return texts;
}

bool DeviceSettings::ConfirmOffsetChange() {
  return context_.prompter.Show(Maintenance::kHeader, kOffsetQuestion, {"Yes", "No"}, Prompter::Level::kCaution,
                                context_.icon) == 0;
}

void DeviceSettings::SendOffsets(const std::array<int, 4>& offsets) {
  if (!context_.session) return;
  for (size_t i = 0; i < kOffsets.size(); ++i) {
    char command[kSetCommandLength] = {};
    std::snprintf(command, sizeof command, kOffsets[i].set, offsets[i]);
    // The printer's answer is not examined: a missing one is not reported.
    (void)context_.session->AskPrinter(command, kSetCommandLength);
  }
}

int DeviceSettings::FeederStatus() { return context_.session ? context_.session->GetFeederStatus() : 0; }

void DeviceSettings::SetFeeder(int mode) {
  if (context_.session) context_.session->SetSingleFeedOptions(mode);
  context_.prompter.Show(Maintenance::kHeader, kApplyingNotice, {}, Prompter::Level::kNote, context_.icon, 3);
}
