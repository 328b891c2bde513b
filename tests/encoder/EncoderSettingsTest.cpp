// Encoder settings: the printer's settings reply read into the choices (a
// table of replies), and Apply's commands on the wire, read back from the
// emulated printer.
#include "EncoderSettings.h"
#include "EncoderTestFixture.h"

namespace {

using encoder_test::EncoderTest;
using encoder_test::WithReplyRequest;
using State = EncoderSettings::State;

const State kFactory = EncoderSettings::Factory();
const State kNone = EncoderSettings::NothingSelected();

TEST(EncoderSettingsReplyTest, MarkersSetTheChoices) {
  // clang-format off
  const struct { const char* reply; State before, after; } cases[] = {
      {"TRACK 1 W:a3 R:q3 D:75 S:% TRACK 2 W:b1 R:r1 D:210 S:; TRACK 3 W:c2 R:s2 D:75 S:; L:85 W:12 R:10 CO:LOW",
       kFactory, {{2, 0, 1}, {1, 0, 1}, false, true}},
      {"TRACK 1 W:a2 R:q2 D:210 TRACK 2 W:B R:R D:75 TRACK 3 W:C R:S D:210 CO:HIGH", kNone, {{1, 1, 2}, {0, 1, 0}, true, false}},
      {"TRACK 1 W:A R:Q D:75 TRACK 2 W:b3 R:r3 D:210 TRACK 3 W:c1 R:s1 D:75 CO:HIGH", kNone, {{0, 2, 0}, {1, 0, 1}, true, false}},
      // A mixed pair: the mode follows the write code, the density stays.
      {"TRACK 1 W:A R:q2 D:75 TRACK 2 W:B R:r3 D:210 TRACK 3 W:C R:S D:210 CO:HIGH", kNone, {{0, 1, 2}, {-1, -1, 0}, true, false}},
      // Track 3 counts as 210 only when c1 is paired with R:Q.
      {"TRACK 3 W:c1 R:s1 D:210 CO:HIGH", {{0, 1, 2}, {0, 1, 1}, false, false}, {{0, 1, 0}, {0, 1, 1}, true, false}},
      {"TRACK 3 W:c1 R:Q D:210 CO:HIGH", {{0, 1, 2}, {0, 1, 1}, false, false}, {{0, 1, 0}, {0, 1, 0}, true, false}},
      // "a2" is tested after "a3", the 210 markers after the 75 ones, and
      // each coercivity button follows its own word.
      {"TRACK 1 W:a2 R:q2 D:75 TRACK 1 W:a3 R:q3 D:210 CO:HIGH CO:LOW", kNone, {{1, -1, -1}, {0, -1, -1}, true, true}},
      {"TRACK 1 W:A R:Q D:210 TRACK 2 W:B R:R D:75 TRACK 3 W:C R:S D:210 L:85", kFactory, {{0, 1, 2}, {0, 1, 0}, false, false}},
      {"garbage", kFactory, {{0, 1, 2}, {0, 1, 0}, false, false}},
      {"None", kNone, kNone},
  };
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reply);
    State state = c.before;
    EncoderSettings::ReadSettingsReply(c.reply, state);
    EXPECT_EQ(state, c.after);
  }
}

class EncoderSettingsTest : public EncoderTest {};

TEST_F(EncoderSettingsTest, ApplySendsEachChoiceAndThePrinterKeepsIt) {
  const struct {
    State applied;
    std::vector<const char*> commands;
    State readBack;  // from the printer afterwards (it starts at the factory choice)
  } cases[] = {
      {kFactory,
       {"&CDEW 1 A", "&CDER 1 Q", "&CDEW 2 B", "&CDER 2 R", "&CDEW 3 C", "&CDER 3 S", "&D 1 210", "&D 2 75", "&D 3 210",
        "&W 0", "&C 1"},
       kFactory},
      // Nothing selected is left out; neither coercivity sends neither command.
      {{{1, -1, 0}, {-1, 0, 1}, false, false},
       {"&CDEW 1 a2", "&CDER 1 q2", "&CDEW 3 c1", "&CDER 3 s1", "&D 2 210", "&D 3 75", "&W 0"},
       {{1, 1, 0}, {0, 0, 1}, true, false}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    Start();
    if (HasFatalFailure()) return;
    prompter_.prompts.clear();
    EncoderSettings(Context()).EncodeApplyButton(c.applied);
    std::string want;
    for (const char* command : c.commands) want += WithReplyRequest(command);
    EXPECT_EQ(Sent(), want);
    // One notice after the commands, closing by itself.
    const Prompter::Prompt notice{"Orvex Printer Settings",
                                  "Applying printer settings please wait ....",
                                  {"OK", ""},
                                  Prompter::Level::kCaution,
                                  encoder_test::kIcon,
                                  5};
    EXPECT_EQ(prompter_.prompts, encoder_test::Prompts{notice});

    State state = kNone;
    EXPECT_TRUE(EncoderSettings(Context()).SetMagUIAdvSettings(state));
    EXPECT_EQ(Sent(), WithReplyRequest("&V"));
    EXPECT_EQ(state, c.readBack);
  }
}

}  // namespace
