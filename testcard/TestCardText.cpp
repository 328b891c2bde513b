// Forms the test-card lines: fixed texts, the printer facts and the parsed
// replies, each with its size and position on the 1024 x 640 card.
#include "TestCardText.h"

#include <cctype>
#include <climits>

#include "Log.h"

namespace {

bool IsScanBlank(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

std::string At(const std::vector<std::string>& words, size_t index) {
  return index < words.size() ? words[index] : std::string();
}

// The part of `reply` from `start` up to `end` (to the end of the reply when
// `end` is empty or missing); empty when `start` is missing.
std::string_view Section(std::string_view reply, std::string_view start, std::string_view end = {}) {
  const size_t from = reply.find(start);
  if (from == std::string_view::npos) return {};
  const size_t to = end.empty() ? std::string_view::npos : reply.find(end, from + start.size());
  return reply.substr(from, to == std::string_view::npos ? std::string_view::npos : to - from);
}

// Two lines per magnetic track: the density, then the write/read formats and
// the sentinel field, from "TRACK n W:.. R:.. D:.. S:..".
void AddTrackLines(std::vector<TestCardLine>* lines, int track, std::string_view section, double densityY,
                   double formatsY) {
  const std::vector<std::string> kept = TestCardText::ScanWords(section, "%*s %*s %s %s %s %s");
  const int density = TestCardText::LeadingInteger(TestCardText::AfterColon(kept[2]));
  lines->push_back({StringPrintf("TRACK  %d  %03d  BPI", track, density), 45, 400, densityY});
  lines->push_back({StringPrintf("W:<%s> R:<%s> S: %s", TestCardText::AfterColon(kept[0]).c_str(),
                                 TestCardText::AfterColon(kept[1]).c_str(),
                                 TestCardText::AfterColon(kept[3]).c_str()),
                    30, 455, formatsY});
}

}  // namespace

std::vector<std::string> TestCardText::SplitAtBlanks(std::string_view text) {
  std::vector<std::string> words;
  size_t start = 0;
  while (true) {
    const size_t blank = text.find(' ', start);
    if (blank == std::string_view::npos) {
      words.emplace_back(text.substr(start));
      return words;
    }
    words.emplace_back(text.substr(start, blank - start));
    start = blank + 1;
  }
}

std::vector<std::string> TestCardText::ScanWords(std::string_view text, std::string_view pattern) {
  std::vector<std::string> kept;
  size_t pos = 0;
  bool ranOut = false;
  for (const std::string& directive : SplitAtBlanks(pattern)) {
    if (directive != "%s" && directive != "%*s") continue;
    std::string word;
    if (!ranOut) {
      while (pos < text.size() && IsScanBlank(text[pos])) ++pos;
      const size_t start = pos;
      while (pos < text.size() && !IsScanBlank(text[pos])) ++pos;
      word = std::string(text.substr(start, pos - start));
      // Like sscanf, a conversion that finds no word ends the scan.
      ranOut = word.empty();
    }
    if (directive == "%s") kept.push_back(word);
  }
  return kept;
}

int TestCardText::LeadingInteger(std::string_view text) {
  size_t pos = 0;
  while (pos < text.size() && IsScanBlank(text[pos])) ++pos;
  bool negative = false;
  if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) negative = text[pos++] == '-';
  long long value = 0;
  for (; pos < text.size() && std::isdigit(static_cast<unsigned char>(text[pos])); ++pos) {
    value = value * 10 + (text[pos] - '0');
    if (value > static_cast<long long>(INT_MAX) + 1) break;
  }
  if (negative) value = -value;
  if (value > INT_MAX) return INT_MAX;
  if (value < INT_MIN) return INT_MIN;
  return static_cast<int>(value);
}

std::string TestCardText::Printable(std::string_view reply) {
  std::string text;
  for (char c : reply) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7F) text.push_back(c);
  }
  return text;
}

std::string TestCardText::AfterColon(std::string_view word) {
  const size_t colon = word.find(':');
  return colon == std::string_view::npos ? std::string() : std::string(word.substr(colon + 1));
}

std::string TestCardText::OffsetLine(const TestCardFacts& facts) {
  const auto& o = facts.pOffset;
  return StringPrintf("Offset X:%02d/%02d Y:%02d/%02d", o[0], o[1], o[2], o[3]);
}

std::vector<TestCardLine> TestCardText::StandardCard(const TestCardFacts& facts, const std::string& edgeCountReply) {
  // The firmware text is "<model> <version>". A text without a second word
  // (one word, or an empty text) prints an empty version after "Firmware:",
  // as any missing value does, rather than repeating the model.
  const std::vector<std::string> firmware = SplitAtBlanks(facts.frmVersion);
  std::vector<TestCardLine> lines = {
      {"PLASTIC CARD PRINTER", 50, 45, 544},
      {"PRINTER:" + firmware[0], 45, 45, 493},
      {"Serial No:" + facts.SerialNum, 35, 45, 447},
      {"Firmware:" + At(firmware, 1), 35, 45, 401},
      {"Head resistence:" + facts.HeadResis, 25, 650, 140},
      {OffsetLine(facts), 25, 650, 110},
      {StringPrintf("EC: %04d", LeadingInteger(edgeCountReply)), 25, 805, 80},
      {StringPrintf("Print counter: %08d", LeadingInteger(facts.PannelPrinted)), 25, 630, 50},
  };
  for (auto& line : lines) line.text = Printable(line.text);
  return lines;
}

std::vector<TestCardLine> TestCardText::EncoderCard(const TestCardFacts& facts, const std::string& encoderReply) {
  std::vector<TestCardLine> lines = {{"Standard Mode", 42, 450, 540}};
  AddTrackLines(&lines, 1, Section(encoderReply, "TRACK 1", "TRACK 2"), 350, 310);
  AddTrackLines(&lines, 2, Section(encoderReply, "TRACK 2", "TRACK 3"), 260, 220);
  AddTrackLines(&lines, 3, Section(encoderReply, "TRACK 3", "L:85"), 170, 130);

  // "L:85 <read speed> <write speed> <coercivity>": the card names the
  // second word Write and the first Read.
  const std::vector<std::string> speeds = ScanWords(Section(encoderReply, "L:85"), "%*s %s %s %s");
  lines.push_back({StringPrintf("Speed: Write: %s Read: %s", AfterColon(speeds[1]).c_str(),
                                AfterColon(speeds[0]).c_str()),
                   30, 400, 415});
  // The coercivity word carries one character after its value (the printer
  // ends the reply with it), so the value is compared without it.
  std::string coercivity = AfterColon(speeds[2]);
  if (!coercivity.empty()) coercivity.pop_back();
  lines.push_back({coercivity == "HIGH" ? "High coercivity" : "Low Coercivity", 42, 450, 470});

  lines.push_back({"Version number:" + facts.FwVersion, 30, -570, 320, true});
  lines.push_back({"Serial No:" + facts.SerialNum, 30, -530, 920, true});
  for (auto& line : lines) line.text = Printable(line.text);
  return lines;
}

std::vector<TestCardLine> TestCardText::ParameterCard(const TestCardFacts& facts,
                                                      const ParameterCardReplies& replies) {
  // "+BR" answers "<brake> <further setting>"; the card shows the brake.
  const std::string brake = SplitAtBlanks(Printable(replies.ribbonBrake))[0];
  // "$V" answers eleven words; the second and third are the move and print
  // speeds, the tenth and eleventh the two black compensation values.
  const std::vector<std::string> speeds =
      ScanWords(replies.speeds, "%*s %s %s %*s %*s %*s %*s %*s %*s %s %s");

  std::vector<TestCardLine> lines = {
      {"Print counter: " + At(replies.panelsAndErrors, 0), 30, 400, 500},
      {"Printer errors: " + At(replies.panelsAndErrors, 1), 30, 400, 460},
      {"Head resistence: " + facts.HeadResis, 30, 400, 420},
      {"Black Cont/Speed:0" + replies.blackContrast + "-0" + replies.blackSpeed + "L", 30, 400, 380},
      {"Varnish Cont/Speed:0" + replies.varnishContrast + "-0" + replies.varnishSpeed, 30, 400, 340},
      {OffsetLine(facts), 30, 400, 300},
      {"Ribbon brake:0" + brake, 30, 400, 260},
      {"Move speed:0" + speeds[0], 30, 400, 220},
      {"Print speed:" + speeds[1], 30, 400, 180},
      {"Black Comp. :" + speeds[2] + " " + speeds[3], 30, 400, 140},
      {"Line end:00" + replies.lineEnd, 30, 320, 55},
      {"Ribbon:" + facts.RibbonTypes + " image", 30, 540, 55},
      {"Version number:" + facts.FwVersion, 25, -570, 320, true},
      {"Serial No. :" + facts.SerialNum, 35, -530, 920, true},
      {"Head No. :" + replies.headNumber, 35, -490, 890, true},
  };
  for (auto& line : lines) line.text = Printable(line.text);
  return lines;
}
