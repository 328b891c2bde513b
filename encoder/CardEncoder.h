// Encoding the magnetic stripe of a card from the feeder, and reading a
// card's tracks back.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "EncoderContext.h"

class CardEncoder {
 public:
  static constexpr const char* kCardQuestion = "Please put the appropriate card in the feeder.";

  // A track of the encode panel: its check box and its text.
  struct Track {
    bool ticked = false;
    std::u16string text;
  };

  enum class Encoded {
    kDeclined,  // the card question was not answered Yes
    kNoData,    // a ticked track had no text; its notice was shown
    kSent,      // the three tracks and the encode command went out
  };

  struct CardRead {
    std::array<std::optional<std::string>, 3> tracks;  // per track: the text read, nullopt when not read
    int unanswered = 0;  // the track whose read got no reply at all (later ones were not asked); 0 for none
  };

  explicit CardEncoder(EncoderContext context) : context_(std::move(context)) {}

  // "Please put the appropriate card in the feeder."; true only for Yes.
  bool AskForCard();
  // Asks for the card, stops at the first ticked track without text, and
  // sends the text of all three tracks (unticked ones are empty) in one write.
  Encoded EncodeBtn(const std::array<Track, 3>& tracks);
  // Once the card question was answered Yes: lets a second pass while the
  // card is fed, then reads the ticked tracks in order. A track the printer
  // could not read comes back empty; a read without any reply ends the rest.
  CardRead ReadTracks(const std::array<bool, 3>& ticked);

  // What goes to the printer for a track's text. The printer's track buffers
  // take printable ASCII only, and a control byte would break the command's
  // framing, so every character outside 0x20..0x7E is sent as '?'.
  static std::string TrackTextForPrinter(std::u16string_view text);

 private:
  EncoderContext context_;
};
