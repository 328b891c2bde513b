// Encoding and reading cards against the emulated printer, which keeps the
// last card encoded; and the clean-up of the printer's read replies.
#include "CardEncoder.h"
#include "EncoderTestFixture.h"
#include "ReplyCleanup.h"

namespace {

using encoder_test::Prompts;
using encoder_test::WithReplyRequest;
using Encoded = CardEncoder::Encoded;

class CardEncoderTest : public encoder_test::EncoderTest {};

TEST_F(CardEncoderTest, EncodeSendsAllThreeTracksInOneWrite) {
  const Prompter::Prompt question{"Card",
                                  "Please put the appropriate card in the feeder.",
                                  {"Yes", "No"},
                                  Prompter::Level::kNote,
                                  encoder_test::kIcon,
                                  0};
  const Prompter::Prompt noData2{"", "No data in Track 2 !", {"OK"}, Prompter::Level::kNote, "", 0};
  const struct {
    const char* what;
    std::array<CardEncoder::Track, 3> tracks;
    int answer;
    Encoded outcome;
    Prompts prompts;
    std::string sent;
  } cases[] = {
      // clang-format off
      {"nothing ticked: a blank card", {}, 0, Encoded::kSent, {question}, "\x1b&B 1 \r\x1b&B 2 \r\x1b&B 3 \r\x1b&E*\r"},
      {"no ASCII form", {{{true, u"A\u0141B"}, {true, u"1\x1b\r2\u00E9"}, {}}}, 0, Encoded::kSent, {question},
       "\x1b&B 1 A?B\r\x1b&B 2 1??2?\r\x1b&B 3 \r\x1b&E*\r"},
      {"first empty ticked track", {{{false, u"1"}, {true, u""}, {true, u""}}}, 0, Encoded::kNoData, {question, noData2}, ""},
      {"answered No", {{{true, u"A"}, {}, {}}}, 1, Encoded::kDeclined, {question}, ""},
      // clang-format on
  };
  Start();
  ASSERT_FALSE(HasFatalFailure());
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
}

TEST_F(CardEncoderTest, ReadAsksForTheTickedTracksInOrder) {
  const std::string L1 = WithReplyRequest("&L1"), L2 = WithReplyRequest("&L2"), L3 = WithReplyRequest("&L3");
  const struct {
    const char* profile;
    std::array<bool, 3> ticked;
    std::string sent;
    std::array<std::optional<std::string>, 3> tracks;
    int unanswered;
  } cases[] = {
      // clang-format off
      {"card_track1 = %B4111^DOE/JOHN^?\ncard_track2 = ;4111=2512?\ncard_track3 = ;01234?", {true, false, true}, L1 + L3,
       {"%B4111^DOE/JOHN^?", std::nullopt, ";01234?"}, 0},
      // An empty track is answered with the error form: an empty text, no message.
      {"card_track1 = ABC\ncard_track3 = 789", {true, true, true}, L1 + L2 + L3, {"ABC", "", "789"}, 0},
      // No reply at all: later tracks are not asked for.
      {"card_track1 = ABC\ncard_track3 = 789\nsilent &L2", {true, true, true}, L1 + L2, {"ABC", std::nullopt, std::nullopt}, 2},
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.profile);
    Start(c.profile);
    if (HasFatalFailure()) return;
    waits_.entries.clear();
    const CardEncoder::CardRead read = CardEncoder(Context()).ReadTracks(c.ticked);
    EXPECT_EQ(Sent(), c.sent);
    EXPECT_EQ(read.tracks, c.tracks);
    EXPECT_EQ(read.unanswered, c.unanswered);
    EXPECT_TRUE(prompter_.prompts.empty());
    // The card is fed during a one-second wait that keeps the window alive.
    EXPECT_EQ(waits_.entries,
              (std::vector<RecordingWaits::Entry>{{RecordingWaits::Entry::kEventLoop, std::chrono::seconds(1)}}));
  }
}

TEST(ReplyCleanupTest, DropsTheTerminatorAndTheErrorForm) {
  // clang-format off
  const std::pair<std::string, std::string> cases[] = {
      {"", ""}, {"ABC\r", "ABC"}, {"\x15" "03\x04", ""}, {"\x15" "xy\x04 trailing", ""}, {"\x06", ""},
      // NAK without EOT in fourth place is an ordinary reply.
      {"\x15" "03", "\x15" "0"},
  };
  // clang-format on
  for (auto [reply, cleaned] : cases) {
    const std::string sent = reply;
    ClearErrorInBuffer(reply);
    EXPECT_EQ(reply, cleaned) << testing::PrintToString(sent);
  }
}

}  // namespace
