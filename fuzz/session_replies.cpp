// The printer's replies as the session and the models read them: identity
// and counters, ribbon code, model rules from the firmware text, encoder
// settings, offsets, feeder mode, card track reads and console replies.
#include <array>
#include <memory>

#include "CardEncoder.h"
#include "DeviceCommunication.h"
#include "DeviceSettings.h"
#include "EncoderSettings.h"
#include "FuzzSupport.h"
#include "Maintenance.h"
#include "PrinterInformation.h"
#include "ScriptedPrinter.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::SkipWaits();
  fuzz::Input input(data, size);
  const uint8_t kind = input.Byte();
  const long currentType = input.Byte() % 4;
  DeviceCommunication session("fuzz", std::make_unique<fuzz::ScriptedPrinter>(input), 1 + kind % 2);
  fuzz::SilentPrompter prompter;

  PrinterInformation info = PrinterInformation::Read(session);
  PrinterModelRules model = info.Model(currentType);
  (void)model;

  EncoderSettings encoder(EncoderContext{&session, prompter, {}, "fuzz"});
  EncoderSettings::State state;
  encoder.SetMagUIAdvSettings(state);

  DeviceSettings settings(ToolsContext{&session, prompter, {}});
  std::array<std::string, 4> offsets = settings.ReadOffsets();
  (void)offsets;
  (void)settings.FeederStatus();

  CardEncoder card(EncoderContext{&session, prompter, {}, "fuzz"});
  CardEncoder::CardRead read = card.ReadTracks({true, true, true});
  (void)read;

  Maintenance maintenance(ToolsContext{&session, prompter, {}});
  (void)maintenance.ExecuteConsoleLine("V");

  while (!input.Empty()) (void)session.ReadFromPrinter();
  return 0;
}
