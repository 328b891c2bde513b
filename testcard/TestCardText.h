// The lines of the three test cards, formed from the printer facts and the
// printer's replies. No drawing and no printer here, so every text can be
// checked exactly.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "TestCardFacts.h"
#include "TestCardLine.h"

// The replies the parameter card prints, one per query, as ReadFromPrinter
// gave them (empty when the printer did not answer).
struct ParameterCardReplies {
  std::vector<std::string> panelsAndErrors;  // "!NL" split at single blanks
  std::string blackContrast;                 // "!V 3"
  std::string blackSpeed;                    // "!V 16"
  std::string varnishContrast;               // "!V 4"
  std::string varnishSpeed;                  // "!V 17"
  std::string ribbonBrake;                   // "+BR"
  std::string speeds;                        // "$V"
  std::string lineEnd;                       // "+DL"
  std::string headNumber;                    // "%HEAD"
};

class TestCardText {
 public:
  // Card kinds, as the tools tab's pop-up numbers them.
  static constexpr int kStandardCard = 0;
  static constexpr int kParameterCard = 1;
  static constexpr int kEncoderCard = 2;

  // The standard card; `edgeCountReply` is the reply to "+EC".
  static std::vector<TestCardLine> StandardCard(const TestCardFacts& facts, const std::string& edgeCountReply);
  // The encoder card; `encoderReply` is the reply to "&V".
  static std::vector<TestCardLine> EncoderCard(const TestCardFacts& facts, const std::string& encoderReply);
  // The parameter card.
  static std::vector<TestCardLine> ParameterCard(const TestCardFacts& facts, const ParameterCardReplies& replies);

  // "Offset X:%02d/%02d Y:%02d/%02d" with the offsets in stored order.
  static std::string OffsetLine(const TestCardFacts& facts);

  // The text split at every single blank, empty pieces kept ("a  b" gives
  // "a", "", "b"; "" gives one empty piece).
  static std::vector<std::string> SplitAtBlanks(std::string_view text);

  // sscanf-like scanning with a pattern made only of "%s" (keep the next
  // word) and "%*s" (skip it): returns one entry per "%s", empty for the
  // words the text ran out of.
  static std::vector<std::string> ScanWords(std::string_view text, std::string_view pattern);

  // The leading decimal number like atoi (blanks, sign, digits; 0 without
  // digits), clamped to int instead of overflowing.
  static int LeadingInteger(std::string_view text);

  // A reply as a line shows it: control bytes (the CR that ends a reply,
  // ACK, EOT) removed.
  static std::string Printable(std::string_view reply);

  // The text after the first colon of a KEY:VALUE word; empty without a colon.
  static std::string AfterColon(std::string_view word);
};
