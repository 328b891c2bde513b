// The magnetic encoder's settings: per track the format written and expected
// on read and the recording density, and the stripe's coercivity. Read from
// the printer's settings reply, sent as the printer's set commands.
#pragma once

#include <array>
#include <string>
#include <utility>

#include "EncoderContext.h"

class EncoderSettings {
 public:
  // The choices as the window's lists and radio buttons name them, in the
  // order of their indexes.
  static constexpr std::array<const char*, 3> kModeTexts{"Track 1 format (alphanumeric)", "Track 2 format (numeric)",
                                                         "Track 3 format (numeric)"};
  static constexpr std::array<const char*, 2> kDensityTexts{"210 BPI", "75 BPI"};
  static constexpr std::array<const char*, 2> kCoercivityTexts{"High Coercivity", "Low Coercivity"};

  static constexpr const char* kHeader = "Orvex Printer Settings";
  static constexpr const char* kApplyingNotice = "Applying printer settings please wait ....";
  static constexpr int kApplyingNoticeSeconds = 5;

  // What the tab's controls hold. An index of -1 is a list with nothing
  // selected. The coercivity is a radio pair the program may switch both
  // off (and a reply naming both words switches both on).
  struct State {
    std::array<int, 3> modes{0, 1, 2};      // per track: the format of track 1, 2 or 3
    std::array<int, 3> densities{0, 1, 0};  // per track: 0 = 210, 1 = 75 bits per inch
    bool high = true;
    bool low = false;
    bool operator==(const State&) const = default;
  };
  // The factory choice, which is also the window's layout: each track in its
  // own format, 210, 75 and 210 bits per inch, high coercivity.
  static State Factory() { return State{}; }
  // Nothing chosen: what a read leaves at -1 (or off) the printer did not report.
  static State NothingSelected() { return State{{-1, -1, -1}, {-1, -1, -1}, false, false}; }

  explicit EncoderSettings(EncoderContext context) : context_(std::move(context)) {}

  // Asks the printer for its settings and applies the reply to `state`.
  // False, with `state` untouched, without a session.
  bool SetMagUIAdvSettings(State& state);
  // Applies a settings reply to `state`: fixed, case-sensitive markers tested
  // in a fixed order, a later match overwriting an earlier one. A setting
  // whose markers are absent keeps its value; the coercivity always follows
  // the reply, so a reply naming neither switches both off.
  static void ReadSettingsReply(const std::string& reply, State& state);
  // Sends the state's settings (a track or density with nothing selected is
  // left out), each followed by the reply request and one read whose answer
  // is not examined, then shows the caution notice that closes by itself.
  void EncodeApplyButton(const State& state);

 private:
  // ESC text CR, the reply request, one read.
  void SendSetting(const std::string& text);

  EncoderContext context_;
};
