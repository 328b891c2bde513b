// Reply texts handed straight to the functions that take them apart, NUL
// bytes included: the model rules of a firmware text, the encoder settings
// reply, an offset reply, a card track reply and the ribbon code tables.
#include <string>

#include "DeviceCommunication.h"
#include "DeviceSettings.h"
#include "EncoderSettings.h"
#include "FuzzSupport.h"
#include "PrinterModelRules.h"
#include "ReplyCleanup.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const long currentType = static_cast<int8_t>(input.Byte());
  const int code = static_cast<int16_t>(input.Word());
  const std::string text = input.Rest();

  (void)PrinterModelRules::Decide(text, currentType);
  EncoderSettings::State state;
  EncoderSettings::ReadSettingsReply(text, state);
  EncoderSettings::State none = EncoderSettings::NothingSelected();
  EncoderSettings::ReadSettingsReply(text, none);
  (void)DeviceSettings::OffsetTextFromReply(text);
  std::string track = text;
  ClearErrorInBuffer(track);
  (void)DeviceCommunication::TrimString(text);
  (void)GetRibbonName(code);
  int first = 0, second = 0;
  GetRibbonDetails(code, &first, &second);
  return 0;
}
