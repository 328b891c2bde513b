// Encode and read: the card question, the track buffers and the encode
// command in one write, and one read command per ticked track.
#include "CardEncoder.h"

#include <chrono>

#include "DeviceCommunication.h"
#include "Log.h"
#include "ReplyCleanup.h"
#include "Waits.h"

std::string CardEncoder::TrackTextForPrinter(std::u16string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (char16_t u : text) bytes.push_back(u >= 0x20 && u <= 0x7E ? static_cast<char>(u) : '?');
  return bytes;
}

bool CardEncoder::AskForCard() {
  const int answer =
      context_.prompter.Show(context_.printerName, kCardQuestion, {"Yes", "No"}, Prompter::Level::kNote, context_.icon);
  // Only "Yes" goes on: "No", and a question closed without an answer, stop.
  return answer == 0;
}

CardEncoder::Encoded CardEncoder::EncodeBtn(const std::array<Track, 3>& tracks) {
  if (!AskForCard()) return Encoded::kDeclined;
  for (int track = 0; track < 3; ++track) {
    if (tracks[track].ticked && tracks[track].text.empty()) {
      context_.prompter.Show("", StringPrintf("No data in Track %d !", track + 1), {"OK"}, Prompter::Level::kNote);
      return Encoded::kNoData;
    }
  }
  // All three texts, ticked or not: an unticked field is empty and encodes nothing.
  const std::string track1 = TrackTextForPrinter(tracks[0].text);
  const std::string track2 = TrackTextForPrinter(tracks[1].text);
  const std::string track3 = TrackTextForPrinter(tracks[2].text);
  if (context_.session) context_.session->MagWriteBtnClicked(track1.c_str(), track2.c_str(), track3.c_str());
  return Encoded::kSent;
}

CardEncoder::CardRead CardEncoder::ReadTracks(const std::array<bool, 3>& ticked) {
  CardRead read;
  // The card is being fed: keep the window alive meanwhile.
  Waits::Current().RunEventLoop(std::chrono::milliseconds(1000));
  if (!context_.session) return read;
  for (int track = 0; track < 3; ++track) {
    if (!ticked[track]) continue;
    const std::string command = StringPrintf("\x1b&L%d\r", track + 1);
    std::optional<std::string> reply = context_.session->AskPrinter(command.data(), static_cast<int>(command.size()));
    // No answer at all: the rest is not read and nothing is said.
    if (!reply) {
      read.unanswered = track + 1;
      return read;
    }
    ClearErrorInBuffer(*reply);
    VktLog("Track %d is %s", track + 1, reply->c_str());
    read.tracks[track] = std::move(*reply);
  }
  return read;
}
