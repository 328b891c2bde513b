// The encoder models without a window against the in-process emulator: the
// track and offset field rules, encoding and reading cards (the emulated
// printer keeps the last card encoded), the clean-up of read replies, and the
// encoder settings read from the printer's reply and applied on the wire.
#include "CardEncoder.h"
#include "EncoderSettings.h"
#include "EncoderTestFixture.h"
#include "ReplyCleanup.h"
#include "TrackValidator.h"

namespace {

using namespace std::chrono_literals;
using encoder_test::kIcon;
using encoder_test::Prompts;
using encoder_test::WithReplyRequest;
using Encoded = CardEncoder::Encoded;
using Field = TrackValidator::Field;
using Level = Prompter::Level;
using State = EncoderSettings::State;

const State kFactory = EncoderSettings::Factory();
const State kNone = EncoderSettings::NothingSelected();

class EncoderTest : public encoder_test::EncoderTest {};

TEST(TrackValidator, EachFieldKeepsWhatItsRuleAllows) {
  // clang-format off
  const Prompter::Prompt invalid{"Card", "Invalid Character for Encoding.", {"OK"}, Level::kStop, kIcon},
      tooLong{"Card", "Exceeding number of characters that could be encoded on the track.", {"OK"}, Level::kNote,
              kIcon},
      offsetTooLong{"Orvex Printer Settings", "Exceeding maximum length.", {"OK"}, Level::kNote, kIcon},
      offsetTooLarge{"Orvex Printer Settings", "Exceeding maximum value.\nValue should be less than 31", {"OK"},
                     Level::kNote, kIcon};
  // clang-format on
  const std::u16string digits37 = u"1234=" + std::u16string(32, u'7'), letters76(76, u'A'), digits104(104, u'4');
  const std::array<int, 3> own{0, 1, 2};
  // clang-format off
  const struct { const char* what; Field field; std::array<int, 3> modes; std::u16string typed, kept; Prompts alerts; }
  cases[] = {
      {"track-1 format set", Field::kTrack1, own, u"A $'()./^*+Z09", u"A $'()./^*+Z09", {}},
      {"cut at the first refused", Field::kTrack1, own, u"AB-C", u"AB", {invalid}},
      {"digits and equals: 37 fit track 2", Field::kTrack2, own, digits37, digits37, {}},
      {"38th cut", Field::kTrack2, own, digits37 + u"7", digits37, {tooLong}},
      {"cut, then too long", Field::kTrack2, own, digits37 + u"777A1", digits37, {invalid, tooLong}},
      {"track 3 in track-1 format, 77", Field::kTrack3, {0, 1, 0}, letters76 + u"A", letters76, {tooLong}},
      {"track 3 in its own format", Field::kTrack3, own, u"A", u"", {invalid}},
      {"104 fit track 3", Field::kTrack3, own, digits104 + u"5", digits104, {tooLong}},
      // Only what the stripe can hold: no character beyond Latin-1 (whatever its
      // low byte), no line break (a pasted line's end).
      {"U+0141 is no A", Field::kTrack1, own, u"A\u0141", u"A", {invalid}},
      {"pasted line", Field::kTrack2, own, u"1234\n", u"1234", {invalid}},
      {"no format: track 1's rule", Field::kTrack2, {0, -1, 2}, u"AB", u"AB", {}},
      {"no format before track 1: no rule", Field::kTrack1, {-1, 1, 2}, u"1", u"", {invalid}},
      {"offset 31", Field::kFrontX, own, u"31", u"31", {}},
      {"offset 32", Field::kFrontX, own, u"32", u"", {offsetTooLarge}},
      {"offset 40", Field::kFrontY, own, u"40", u"", {offsetTooLarge}},
      {"offset 123: too long only", Field::kBackY, own, u"123", u"", {offsetTooLong}},
      {"offset cut silently", Field::kBackX, own, u"5a", u"5", {}},
  };
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ScriptedPrompter prompter;
    EXPECT_EQ(TrackValidator({nullptr, prompter, kIcon, "Card"}).SetValidationToTrack(c.field, c.typed, c.modes),
              c.kept);
    EXPECT_EQ(prompter.prompts, c.alerts);
  }
  // A command-line text reaches the rules as the characters a field would hold.
  EXPECT_EQ(TrackValidator::FromUtf8("A\xC5\x81="), u"A\u0141=");
}

TEST_F(EncoderTest, EncodeSendsAllThreeTracksInOneWriteAndReadAsksForTheTickedOnes) {
  // clang-format off
  const Prompter::Prompt question{"Card", "Please put the appropriate card in the feeder.", {"Yes", "No"},
                                  Prompter::Level::kNote, encoder_test::kIcon},
                         noData2{"", "No data in Track 2 !", {"OK"}, Prompter::Level::kNote, ""};
  // clang-format on
  // clang-format off
  const struct { const char* what; std::array<CardEncoder::Track, 3> tracks; int answer; Encoded outcome;
                 Prompts prompts; std::string sent; } cases[] = {
      {"nothing ticked: a blank card", {}, 0, Encoded::kSent, {question}, "\x1b&B 1 \r\x1b&B 2 \r\x1b&B 3 \r\x1b&E*\r"},
      {"no ASCII form", {{{true, u"A\u0141B"}, {true, u"1\x1b\r2\u00E9"}, {}}}, 0, Encoded::kSent, {question},
       "\x1b&B 1 A?B\r\x1b&B 2 1??2?\r\x1b&B 3 \r\x1b&E*\r"},
      {"first empty ticked track", {{{false, u"1"}, {true, u""}, {true, u""}}},
       0, Encoded::kNoData, {question, noData2}, ""},
      {"answered No", {{{true, u"A"}, {}, {}}}, 1, Encoded::kDeclined, {question}, ""},
  };
  // clang-format on
  Start();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    prompter_.prompts.clear();
    prompter_.answers = {c.answer};
    EXPECT_EQ(CardEncoder(Context()).EncodeBtn(c.tracks), c.outcome);
    EXPECT_EQ(Sent(), c.sent);
    EXPECT_EQ(prompter_.prompts, c.prompts);
  }
  // The printer keeps the last card encoded (its answer to a question shows it has seen the card before).
  session_->GetFeederStatus();
  EXPECT_EQ(server_->Engine().State().cardTrack[0], "A?B");

  // Reading asks for the ticked tracks in order.
  const std::string L1 = WithReplyRequest("&L1"), L2 = WithReplyRequest("&L2"), L3 = WithReplyRequest("&L3");
  // clang-format off
  const struct { const char* profile; std::array<bool, 3> ticked; std::string sent;
                 std::array<std::optional<std::string>, 3> tracks; int unanswered; } reads[] = {
      {"card_track1 = %B4111^DOE/JOHN^?\ncard_track2 = ;4111=2512?\ncard_track3 = ;01234?",
       {true, false, true}, L1 + L3,
       {"%B4111^DOE/JOHN^?", std::nullopt, ";01234?"}, 0},
      // An empty track is answered with the error form: an empty text, no message.
      {"card_track1 = ABC\ncard_track3 = 789", {true, true, true}, L1 + L2 + L3, {"ABC", "", "789"}, 0},
      // No reply at all: later tracks are not asked for.
      {"card_track1 = ABC\ncard_track3 = 789\nsilent &L2",
       {true, true, true}, L1 + L2, {"ABC", std::nullopt, std::nullopt}, 2},
  };
  // clang-format on
  for (const auto& c : reads) {
    Start(c.profile);
    if (HasFatalFailure()) return;
    waits_.entries.clear(), prompter_.prompts.clear();
    const CardEncoder::CardRead read = CardEncoder(Context()).ReadTracks(c.ticked);
    EXPECT_EQ(Sent(), c.sent) << c.profile;
    EXPECT_EQ(read.tracks, c.tracks) << c.profile;
    EXPECT_EQ(read.unanswered, c.unanswered);
    EXPECT_TRUE(prompter_.prompts.empty());
    // The card is fed during a one-second wait that keeps the window alive.
    EXPECT_EQ(waits_.entries, (std::vector<RecordingWaits::Entry>{{RecordingWaits::Entry::kEventLoop, 1s}}));
  }
  // The reply clean-up: the terminator goes, and so does the error form (NAK, two bytes, EOT); a NAK without EOT in
  // fourth place is an ordinary reply.
  // clang-format off
  const std::pair<std::string, std::string> replies[] = {
      {"", ""},
      {"ABC\r", "ABC"},
      {"\x15" "xy\x04 trailing", ""},
      {"\x06", ""},
      {"\x15" "03", "\x15" "0"}};
  // clang-format on
  for (auto [reply, cleaned] : replies) {
    ClearErrorInBuffer(reply);
    EXPECT_EQ(reply, cleaned) << testing::PrintToString(cleaned);
  }
}

TEST(EncoderSettingsReply, MarkersSetTheChoices) {
  // clang-format off
  const struct { const char* reply; State before, after; } cases[] = {
      {"TRACK 1 W:a3 R:q3 D:75 S:% TRACK 2 W:b1 R:r1 D:210 S:; TRACK 3 W:c2 R:s2 D:75 S:; L:85 W:12 R:10 CO:LOW",
       kFactory, {{2, 0, 1}, {1, 0, 1}, false, true}},
      {"TRACK 1 W:a2 R:q2 D:210 TRACK 2 W:B R:R D:75 TRACK 3 W:C R:S D:210 CO:HIGH",
       kNone, {{1, 1, 2}, {0, 1, 0}, true, false}},
      {"TRACK 1 W:A R:Q D:75 TRACK 2 W:b3 R:r3 D:210 TRACK 3 W:c1 R:s1 D:75 CO:HIGH",
       kNone, {{0, 2, 0}, {1, 0, 1}, true, false}},
      // A mixed pair: the mode follows the write code, the density stays.
      {"TRACK 1 W:A R:q2 D:75 TRACK 2 W:B R:r3 D:210 TRACK 3 W:C R:S D:210 CO:HIGH",
       kNone, {{0, 1, 2}, {-1, -1, 0}, true, false}},
      // Track 3 counts as 210 only when c1 is paired with R:Q.
      {"TRACK 3 W:c1 R:s1 D:210 CO:HIGH", {{0, 1, 2}, {0, 1, 1}, false, false}, {{0, 1, 0}, {0, 1, 1}, true, false}},
      {"TRACK 3 W:c1 R:Q D:210 CO:HIGH", {{0, 1, 2}, {0, 1, 1}, false, false}, {{0, 1, 0}, {0, 1, 0}, true, false}},
      // "a2" is tested after "a3", the 210 markers after the 75 ones, and
      // each coercivity button follows its own word.
      {"TRACK 1 W:a2 R:q2 D:75 TRACK 1 W:a3 R:q3 D:210 CO:HIGH CO:LOW", kNone, {{1, -1, -1}, {0, -1, -1}, true, true}},
      {"garbage", kFactory, {{0, 1, 2}, {0, 1, 0}, false, false}},
  };
  // clang-format on
  for (const auto& c : cases) {
    State state = c.before;
    EncoderSettings::ReadSettingsReply(c.reply, state);
    EXPECT_EQ(state, c.after) << c.reply;
  }
}

TEST_F(EncoderTest, ApplySendsEachChoiceAndThePrinterKeepsIt) {
  // clang-format off
  const struct { State applied; std::vector<const char*> commands; State readBack; } cases[] = {
      {kFactory, {"&CDEW 1 A", "&CDER 1 Q", "&CDEW 2 B", "&CDER 2 R", "&CDEW 3 C", "&CDER 3 S", "&D 1 210", "&D 2 75",
                  "&D 3 210", "&W 0", "&C 1"}, kFactory},
      // Nothing selected is left out; neither coercivity sends neither command. The printer starts at the factory
      // choice.
      {{{1, -1, 0}, {-1, 0, 1}, false, false}, {"&CDEW 1 a2", "&CDER 1 q2", "&CDEW 3 c1", "&CDER 3 s1", "&D 2 210",
                                                "&D 3 75", "&W 0"}, {{1, 1, 0}, {0, 0, 1}, true, false}},
      {kNone, {"&W 0"}, kFactory},  // nothing selected at all: the write command alone
  };
  // One notice after the commands, closing by itself.
  const Prompts notice{{"Orvex Printer Settings", "Applying printer settings please wait ....", {"OK", ""},
                        Prompter::Level::kCaution, encoder_test::kIcon, 5}};
  // clang-format on
  for (const auto& c : cases) {
    Start();
    ASSERT_FALSE(HasFatalFailure());
    prompter_.prompts.clear();
    EncoderSettings(Context()).EncodeApplyButton(c.applied);
    std::string want;
    for (const char* command : c.commands) want += WithReplyRequest(command);
    EXPECT_EQ(Sent(), want);
    EXPECT_EQ(prompter_.prompts, notice);
    State state = kNone;
    EXPECT_TRUE(EncoderSettings(Context()).SetMagUIAdvSettings(state));
    EXPECT_EQ(Sent(), WithReplyRequest("&V"));
    EXPECT_EQ(state, c.readBack);
  }
}

}  // namespace
