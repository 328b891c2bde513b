// Fault injection and reply overrides of the emulated printer: NAK, silence,
// dropped connections, delays, and exact reply bytes.
#include <gtest/gtest.h>

#include "EngineTestSupport.h"

namespace {

TEST(EngineFaultsTest, NakForACommandTheGivenNumberOfTimes) {
  PrinterProfile profile;
  profile.nakCommands["."] = 2;
  PrinterEngine engine{profile};
  // The flush handshake sees NAK twice, then ACK.
  EXPECT_EQ(Ask(engine, "."), Error("09"));
  EXPECT_EQ(Ask(engine, "."), Error("09"));
  EXPECT_EQ(Ask(engine, "."), kAck);
  EXPECT_EQ(Ask(engine, "."), kAck);
}

TEST(EngineFaultsTest, NakWithoutCountIsForeverAndTheCommandDoesNotTakeEffect) {
  PrinterProfile profile;
  profile.nakCommands["+O"] = 0;
  PrinterEngine engine{profile};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(Ask(engine, "+O 9"), Error("09"));
  EXPECT_EQ(engine.State().offsetFrontX, 0);
  // The pattern is a command name: "+OY" is another command.
  EXPECT_EQ(Ask(engine, "+OY 9"), kAck);
  EXPECT_EQ(Ask(engine, "+OY"), "9\r");
}

TEST(EngineFaultsTest, SilenceMeansNoReplyEvenToTheReplyRequest) {
  PrinterProfile profile;
  profile.silentCommands = {"!V"};
  PrinterEngine engine{profile};
  EXPECT_TRUE(engine.Feed(Framed("!V 15") + kReplyRequest).empty());
  EXPECT_TRUE(engine.Feed(Framed("!V 3") + kReplyRequest).empty());
  // The next command is answered normally.
  EXPECT_EQ(Ask(engine, "!NL"), "!1234 0\x06");
  EXPECT_EQ(Bytes(engine.Feed(kReplyRequest)), kAck);
}

TEST(EngineFaultsTest, ASilentReplyRequestSendsNothing) {
  PrinterProfile profile;
  profile.silentCommands = {"E 2"};
  PrinterEngine engine{profile};
  EXPECT_TRUE(engine.Feed(Framed(".") + kReplyRequest + Framed("V") + kReplyRequest).empty());
  EXPECT_EQ(engine.Commands().size(), 4u);
}

TEST(EngineFaultsTest, TheConnectionIsClosedAfterTheGivenNumberOfBytes) {
  PrinterProfile profile;
  profile.closeAfterBytes = 8;  // the flush handshake, exactly
  profile.closeAfterTimes = 1;
  PrinterEngine engine{profile};
  int first = engine.OpenConnection();
  auto outputs = engine.Feed(first, Framed(".") + kReplyRequest + Framed("V") + kReplyRequest);
  ASSERT_EQ(outputs.size(), 2u);
  EXPECT_EQ(outputs[0].bytes, kAck);  // the handshake's reply still goes out...
  EXPECT_FALSE(outputs[0].closeConnection);
  EXPECT_TRUE(outputs[1].closeConnection);  // ...then the line drops
  EXPECT_EQ(outputs[1].refuseConnectionsMs, 0);
  EXPECT_TRUE(engine.Feed(first, Framed("V") + kReplyRequest).empty());
  EXPECT_EQ(engine.Commands(), (std::vector<std::string>{".", "E 2"}));
  // Only once: the reconnection stays up.
  int second = engine.OpenConnection();
  EXPECT_EQ(Bytes(engine.Feed(second, Framed(".") + kReplyRequest + Framed("V") + kReplyRequest)),
            kAck + "VKT32-M V1.02.03.016");
}

TEST(EngineFaultsTest, CloseAfterBytesCountsEveryConnectionWhenNotLimited) {
  PrinterProfile profile;
  profile.closeAfterBytes = 3;
  PrinterEngine engine{profile};
  for (int i = 0; i < 3; ++i) {
    int c = engine.OpenConnection();
    auto outputs = engine.Feed(c, "\x1b" "V\r\x1b");
    ASSERT_EQ(outputs.size(), 1u);
    EXPECT_TRUE(outputs[0].closeConnection);
  }
}

TEST(EngineFaultsTest, DelaysGoWithTheReplyOfTheirCommand) {
  PrinterProfile profile;
  profile.delayMs = 40;
  profile.commandDelayMs["!NL"] = 250;
  PrinterEngine engine{profile};
  auto outputs = engine.Feed(Framed("!NL") + kReplyRequest + Framed("V") + kReplyRequest + kReplyRequest);
  ASSERT_EQ(outputs.size(), 3u);
  EXPECT_EQ(outputs[0].delayMs, 250);
  EXPECT_EQ(outputs[1].delayMs, 40);
  EXPECT_EQ(outputs[2].delayMs, 40);
}

TEST(EngineFaultsTest, AnOverrideGivesExactBytesAndTheCommandStillTakesEffect) {
  PrinterProfile profile;
  profile.replyOverrides["!NL"] = "!1234 other text\x06";
  profile.replyOverrides["!RIBLEN"] = "55,200\x04";
  profile.replyOverrides["ATM"] = "OK";
  PrinterEngine engine{profile};
  EXPECT_EQ(Ask(engine, "!NL"), "!1234 other text\x06");
  EXPECT_EQ(Ask(engine, "!RIBLEN"), "55,200\x04");
  EXPECT_EQ(Ask(engine, "ATM 2"), "OK");
  EXPECT_EQ(engine.State().feederMode, 2);
}

TEST(EngineFaultsTest, AnOverrideOfExactly1024BytesArrivesWhole) {
  std::string big(1024, 'x');
  big[0] = '7';
  big[1023] = '\r';
  PrinterProfile profile;
  profile.replyOverrides["!V 15"] = big;
  PrinterEngine engine{profile};
  std::string reply = Ask(engine, "!V 15");
  EXPECT_EQ(reply.size(), 1024u);
  EXPECT_EQ(reply, big);
}

TEST(EngineFaultsTest, AnOverrideCanAnswerAnUnknownCommandAndTheBareReplyRequest) {
  PrinterProfile profile;
  profile.replyOverrides["XYZ 1"] = "fine\r";
  profile.replyOverrides["E 2"] = std::string("\x15\x15", 2);
  PrinterEngine engine{profile};
  EXPECT_EQ(Ask(engine, "XYZ 1"), "fine\r");
  EXPECT_EQ(Bytes(engine.Feed(kReplyRequest)), std::string("\x15\x15", 2));
  // A held reply still wins over the bare reply request's override.
  EXPECT_EQ(Ask(engine, "!RIBBON"), "43\r");
}

TEST(EngineFaultsTest, FaultRulesMatchACommandOrItsNameFollowedByABlank) {
  EXPECT_TRUE(CommandMatches("!V", "!V 15"));
  EXPECT_TRUE(CommandMatches("!V 15", "!V 15"));
  EXPECT_FALSE(CommandMatches("!V 1", "!V 15"));
  EXPECT_TRUE(CommandMatches("+O", "+O -5"));
  EXPECT_FALSE(CommandMatches("+O", "+OY"));
  EXPECT_FALSE(CommandMatches("+OY", "+O"));
  EXPECT_TRUE(CommandMatches("&B", "&B 1 "));
}

}  // namespace
