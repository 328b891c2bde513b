// The command language of the emulated printer: framing, held replies, the
// reply of every command, state that later reads return, the firmware
// stream and raw data.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include <unistd.h>

#include "EngineTestSupport.h"

namespace {

class PrinterEngineTest : public testing::Test {
 protected:
  PrinterEngine engine_{PrinterProfile()};
};

// --- framing ---------------------------------------------------------------------

TEST_F(PrinterEngineTest, SeveralCommandsInOneWriteAnswerEachReplyRequestInOrder) {
  std::string stream = Framed(".") + kReplyRequest + Framed("V") + kReplyRequest + Framed("!RIBBON") + kReplyRequest;
  auto outputs = engine_.Feed(stream);
  ASSERT_EQ(outputs.size(), 3u);
  EXPECT_EQ(outputs[0].bytes, kAck);
  EXPECT_EQ(outputs[1].bytes, "VKT32-M V1.02.03.016");
  EXPECT_EQ(outputs[2].bytes, "43\r");
  EXPECT_EQ(engine_.Commands(), (std::vector<std::string>{".", "E 2", "V", "E 2", "!RIBBON", "E 2"}));
}

TEST_F(PrinterEngineTest, AStreamSplitAnywhereGivesTheSameReplies) {
  std::string stream = Framed("%SERIE") + kReplyRequest + Framed("+OY -3") + std::string(20, '\0') + kReplyRequest +
                       Framed("+OY") + kReplyRequest + Framed("!NL") + kReplyRequest;
  const std::string whole = "S32000001\r" + kAck + "-3\r" + "!1234 0\x06";
  EXPECT_EQ(Bytes(engine_.Feed(stream)), whole);

  for (size_t step : {1u, 2u, 3u, 7u, 13u}) {
    PrinterEngine engine{PrinterProfile()};
    std::string replies;
    for (size_t at = 0; at < stream.size(); at += step) replies += Bytes(engine.Feed(stream.substr(at, step)));
    EXPECT_EQ(replies, whole) << "pieces of " << step << " bytes";
    EXPECT_EQ(engine.Transcript(), stream);
  }
}

TEST_F(PrinterEngineTest, ZeroBytesBetweenCommandsAreIgnored) {
  std::string padded = Framed("+OB 12");
  padded.resize(50, '\0');
  ASSERT_EQ(padded.size(), 50u);
  EXPECT_EQ(Bytes(engine_.Feed(padded + kReplyRequest)), kAck);
  EXPECT_EQ(Ask(engine_, "+OB"), "12\r");
  EXPECT_EQ(engine_.Commands(), (std::vector<std::string>{"+OB 12", "E 2", "+OB", "E 2"}));
  EXPECT_TRUE(engine_.CapturedData().empty());
}

TEST_F(PrinterEngineTest, EachConnectionFramesItsOwnBytes) {
  int a = engine_.OpenConnection();
  int b = engine_.OpenConnection();
  EXPECT_TRUE(engine_.Feed(a, "\x1b" "V").empty());
  EXPECT_TRUE(engine_.Feed(b, Framed("!RIBLEN")).empty());
  EXPECT_EQ(Bytes(engine_.Feed(a, "\r" + kReplyRequest)), "VKT32-M V1.02.03.016");
  EXPECT_EQ(Bytes(engine_.Feed(b, kReplyRequest)), "120,200\r");
  EXPECT_EQ(engine_.Transcript(), "\x1bV" + Framed("!RIBLEN") + "\r" + kReplyRequest + kReplyRequest);
}

TEST_F(PrinterEngineTest, BeginConnectionForgetsAHalfCommand) {
  engine_.Feed("\x1b!RIB");
  engine_.BeginConnection();
  EXPECT_EQ(Ask(engine_, "!RIBBON"), "43\r");
}

// --- held replies ----------------------------------------------------------------

TEST_F(PrinterEngineTest, AReplyIsHeldUntilTheReplyRequest) {
  EXPECT_TRUE(engine_.Feed(Framed("!V 15")).empty());
  EXPECT_EQ(Bytes(engine_.Feed(kReplyRequest)), "2950\r");
  // Nothing held any more: the reply request alone answers ACK.
  EXPECT_EQ(Bytes(engine_.Feed(kReplyRequest)), kAck);
}

TEST_F(PrinterEngineTest, ANewCommandReplacesAReplyNobodyAskedFor) {
  // The magnetic write sends four commands and never asks for a reply.
  engine_.Feed(Framed("&B 1 ABC") + Framed("&B 2 123") + Framed("&B 3 9") + Framed("&E*"));
  EXPECT_EQ(Ask(engine_, "V"), "VKT32-M V1.02.03.016");
  engine_.Feed(Framed("MO"));
  EXPECT_EQ(Ask(engine_, "%HEAD"), "H0815\r");
}

TEST_F(PrinterEngineTest, CleaningIsAnsweredAtOnceBecauseTheToolReadsWithoutAReplyRequest) {
  EXPECT_EQ(Bytes(engine_.Feed(Framed("CLEAN"))), kAck);
  EXPECT_EQ(Bytes(engine_.Feed(Framed("MCLEAN"))), kAck);
  EXPECT_EQ(Bytes(engine_.Feed(kReplyRequest)), kAck);
}

// --- every command's default reply ------------------------------------------------

struct CommandCase {
  const char* command;
  std::string reply;
};

void PrintTo(const CommandCase& c, std::ostream* os) { *os << "\"" << EncodeEscapes(c.command) << "\""; }

class DefaultReplyTest : public testing::TestWithParam<CommandCase> {};

TEST_P(DefaultReplyTest, AnswersInItsForm) {
  PrinterEngine engine{PrinterProfile()};
  EXPECT_EQ(Ask(engine, GetParam().command), GetParam().reply);
}

INSTANTIATE_TEST_SUITE_P(
    CommandSet, DefaultReplyTest,
    testing::Values(
        CommandCase{".", "\x06"}, CommandCase{"E 2", "\x06\x06"}, CommandCase{"V", "VKT32-M V1.02.03.016"},
        CommandCase{"!V 15", "2950\r"}, CommandCase{"!NL", "!1234 0\x06"}, CommandCase{"!RIBLEN", "120,200\r"},
        CommandCase{"!RIBBON", "43\r"}, CommandCase{"%SERIE", "S32000001\r"},
        CommandCase{"&V", "TRACK 1 W:A R:Q D:210 S:% TRACK 2 W:B R:R D:75 S:; TRACK 3 W:C R:S D:210 S:; "
                          "L:85 W:12 R:10 CO:HIGH\x06"},
        CommandCase{"ATM 1 1", "0\r"}, CommandCase{"ATM 2", "\x06"}, CommandCase{"&B 1 %B123^X^?", "\x06"},
        CommandCase{"&E*", "\x06"}, CommandCase{"&L1", Error("03")}, CommandCase{"&CDEW 1 a2", "\x06"},
        CommandCase{"&CDER 2 r3", "\x06"}, CommandCase{"&D 3 75", "\x06"}, CommandCase{"&W 0", "\x06"},
        CommandCase{"&C 0", "\x06"}, CommandCase{"+EC", "17\r"}, CommandCase{"!V 3", "5\r"},
        CommandCase{"!V 16", "3\r"}, CommandCase{"!V 4", "4\r"}, CommandCase{"!V 17", "2\r"},
        CommandCase{"+BR", "12 0\r"}, CommandCase{"$V", "MS 5 3 0 0 0 0 0 0 10 8\r"}, CommandCase{"+DL", "12\r"},
        CommandCase{"%HEAD", "H0815\r"}, CommandCase{"+O", "0\r"}, CommandCase{"+OY", "0\r"},
        CommandCase{"+OB", "0\r"}, CommandCase{"+OYB", "0\r"}, CommandCase{"+O 7", "\x06"},
        CommandCase{"MO", "\x06"},
        // The error form: NAK, two characters, EOT.
        CommandCase{"a 1", Error("01")}, CommandCase{"!V 99", Error("02")}, CommandCase{"ATM 3", Error("02")},
        CommandCase{"ATM", Error("02")}, CommandCase{"+O x", Error("02")}, CommandCase{"&CDEW 1 B", Error("02")},
        CommandCase{"&CDER 4 Q", Error("02")}, CommandCase{"&D 1 100", Error("02")}, CommandCase{"&C 2", Error("02")},
        CommandCase{"&W 1", Error("02")}, CommandCase{"&X", Error("01")}, CommandCase{"", Error("01")},
        CommandCase{"+OX", Error("01")}));

TEST_F(PrinterEngineTest, TheErrorFormIsNakTwoCharactersEot) {
  EXPECT_EQ(PrinterEngine::ErrorForm("01"), std::string("\x15" "01" "\x04"));
}

// --- state that follows commands ---------------------------------------------------

TEST_F(PrinterEngineTest, EachOffsetSetInA50ByteBufferIsReadBack) {
  const char* names[] = {"+O", "+OY", "+OB", "+OYB"};
  const int values[] = {5, -12, 0, 99};
  for (int i = 0; i < 4; ++i) {
    std::string buffer = Framed(std::string(names[i]) + " " + std::to_string(values[i]));
    buffer.resize(50, '\0');
    EXPECT_EQ(Bytes(engine_.Feed(buffer + kReplyRequest)), kAck) << names[i];
  }
  EXPECT_EQ(Ask(engine_, "+O"), "5\r");
  EXPECT_EQ(Ask(engine_, "+OY"), "-12\r");
  EXPECT_EQ(Ask(engine_, "+OB"), "0\r");
  EXPECT_EQ(Ask(engine_, "+OYB"), "99\r");
  PrinterProfile state = engine_.State();
  EXPECT_EQ(state.offsetFrontX, 5);
  EXPECT_EQ(state.offsetFrontY, -12);
  EXPECT_EQ(state.offsetBackX, 0);
  EXPECT_EQ(state.offsetBackY, 99);
}

TEST_F(PrinterEngineTest, ARefusedOffsetLeavesTheOldValue) {
  Ask(engine_, "+OYB 4");
  EXPECT_EQ(Ask(engine_, "+OYB 4x"), Error("02"));
  EXPECT_EQ(Ask(engine_, "+OYB 99999999999"), Error("02"));
  EXPECT_EQ(Ask(engine_, "+OYB"), "4\r");
}

TEST_F(PrinterEngineTest, TheFeederModeFollowsTheSetCommand) {
  for (const char* mode : {"2", "1", "0"}) {
    EXPECT_EQ(Ask(engine_, std::string("ATM ") + mode), kAck);
    EXPECT_EQ(Ask(engine_, "ATM 1 1"), std::string(mode) + "\r");
  }
  Ask(engine_, "ATM 7");
  EXPECT_EQ(engine_.State().feederMode, 0);
}

TEST_F(PrinterEngineTest, EncoderSettingsAreReportedAsSetAndInTheTextTheToolSearches) {
  for (const char* command : {"&CDEW 1 a2", "&CDER 1 q2", "&CDEW 2 b3", "&CDER 2 r3", "&CDEW 3 c1", "&CDER 3 s1",
                              "&D 1 75", "&D 2 210", "&D 3 75", "&W 0", "&C 0"})
    ASSERT_EQ(Ask(engine_, command), kAck) << command;
  std::string settings = Ask(engine_, "&V");
  EXPECT_EQ(settings,
            "TRACK 1 W:a2 R:q2 D:75 S:% TRACK 2 W:b3 R:r3 D:210 S:; TRACK 3 W:c1 R:s1 D:75 S:; "
            "L:85 W:12 R:10 CO:LOW\x06");
  // The markers the encoder tab looks for.
  EXPECT_NE(settings.find("TRACK 1 W:a2 R:q2 D:75"), std::string::npos);
  EXPECT_NE(settings.find("TRACK 2 W:b3 R:r3 D:210"), std::string::npos);
  EXPECT_NE(settings.find("CO:LOW"), std::string::npos);
  EXPECT_EQ(settings.find("CO:HIGH"), std::string::npos);
  Ask(engine_, "&C 1");
  EXPECT_NE(Ask(engine_, "&V").find("CO:HIGH\x06"), std::string::npos);
}

TEST_F(PrinterEngineTest, AnEncodedCardIsReadBackTrackByTrack) {
  // One write, as the tool sends it, with track 2 left empty.
  engine_.Feed(Framed("&B 1 %HELLO^WORLD?") + Framed("&B 2 ") + Framed("&B 3 ;987654?") + Framed("&E*"));
  EXPECT_EQ(Ask(engine_, "&L1"), "%HELLO^WORLD?\r");
  EXPECT_EQ(Ask(engine_, "&L2"), Error("03"));
  EXPECT_EQ(Ask(engine_, "&L3"), ";987654?\r");
  PrinterProfile state = engine_.State();
  EXPECT_EQ(state.cardTrack[0], "%HELLO^WORLD?");
  EXPECT_EQ(state.cardTrack[1], "");
  // Buffered data reaches the card only with "&E*".
  Ask(engine_, "&B 1 NEW");
  EXPECT_EQ(Ask(engine_, "&L1"), "%HELLO^WORLD?\r");
}

TEST_F(PrinterEngineTest, APrinterWithoutEncoderRefusesEncoderCommands) {
  PrinterProfile profile;
  profile.hasEncoder = false;
  PrinterEngine engine{profile};
  for (const char* command : {"&V", "&B 1 X", "&E*", "&L1", "&CDEW 1 A", "&D 1 210", "&W 0", "&C 1"})
    EXPECT_EQ(Ask(engine, command), Error("04")) << command;
  EXPECT_EQ(Ask(engine, "V"), "VKT32-M V1.02.03.016");
}

TEST_F(PrinterEngineTest, ProfileValuesShapeTheReplies) {
  PrinterProfile profile;
  std::string error;
  ASSERT_TRUE(ParsePrinterProfile("firmware = VKTS3CEM V1.02.0345\nribbon_code = 62\nribbon_remaining = 0\n"
                                  "ribbon_capacity = 1000\npanels_printed = 77\nprinter_errors = 3\n"
                                  "card_track2 = ;1234?\nreply_terminator = \\x06\nfirmware_terminator = \\r\n",
                                  &profile, &error))
      << error;
  PrinterEngine engine{profile};
  EXPECT_EQ(Ask(engine, "V"), "VKTS3CEM V1.02.0345\r");
  EXPECT_EQ(Ask(engine, "!RIBBON"), "62\x06");
  EXPECT_EQ(Ask(engine, "!RIBLEN"), "0,1000\x06");
  EXPECT_EQ(Ask(engine, "!NL"), "!77 3\x06");
  EXPECT_EQ(Ask(engine, "&L2"), ";1234?\x06");
}

// --- reset and firmware -----------------------------------------------------------

TEST_F(PrinterEngineTest, ResetDropsTheConnectionAndRefusesForTheProfileTime) {
  PrinterProfile profile;
  profile.resetRefuseMs = 1500;
  PrinterEngine engine{profile};
  auto outputs = engine.Feed(Framed("R") + Framed("V") + kReplyRequest);
  ASSERT_EQ(outputs.size(), 1u);
  EXPECT_EQ(outputs[0].bytes, "");
  EXPECT_TRUE(outputs[0].closeConnection);
  EXPECT_EQ(outputs[0].refuseConnectionsMs, 1500);
  EXPECT_EQ(engine.ResetCount(), 1);
  // The dropped connection hears nothing more; a new one works.
  EXPECT_TRUE(engine.Feed(kReplyRequest).empty());
  engine.BeginConnection();
  EXPECT_EQ(Ask(engine, "V"), "VKT32-M V1.02.03.016");
}

std::string FirmwareStream(const std::string& body) {
  std::string stream = "\x1b" "DC ";
  uint32_t size = static_cast<uint32_t>(body.size());
  for (int shift = 24; shift >= 0; shift -= 8) stream += static_cast<char>((size >> shift) & 0xff);
  return stream + body + "\xff\x0d";
}

TEST_F(PrinterEngineTest, AFirmwareStreamIsCapturedThenThePrinterResets) {
  // A body full of bytes that would mean something outside the stream.
  std::string body;
  for (int i = 0; i < 10000; ++i) body += static_cast<char>((i * 7) & 0xff);
  body.replace(100, 6, "\x1b" "R\r\x00\xff\x0d", 6);
  std::string stream = FirmwareStream(body);
  ASSERT_EQ(stream.substr(4, 4), std::string("\x00\x00\x27\x10", 4));

  std::vector<PrinterEngine::Output> outputs;
  // The tool writes the header, 4096-byte blocks, then the trailer.
  for (const std::string& piece : {stream.substr(0, 8), stream.substr(8, 4096), stream.substr(4104, 4096),
                                   stream.substr(8200, 1808), stream.substr(10008)}) {
    for (auto& output : engine_.Feed(piece)) outputs.push_back(output);
  }
  ASSERT_EQ(outputs.size(), 1u);
  EXPECT_TRUE(outputs[0].closeConnection);
  EXPECT_EQ(outputs[0].refuseConnectionsMs, 500);
  auto captures = engine_.Captures();
  ASSERT_EQ(captures.size(), 1u);
  EXPECT_EQ(captures[0].kind, "firmware");
  EXPECT_EQ(captures[0].bytes, body);
  EXPECT_EQ(engine_.ResetCount(), 1);
  EXPECT_EQ(engine_.Commands(), std::vector<std::string>{});
}

TEST_F(PrinterEngineTest, AnEmptyFirmwareIsHeaderAndTrailerOnly) {
  auto outputs = engine_.Feed(FirmwareStream(""));
  ASSERT_EQ(outputs.size(), 1u);
  EXPECT_TRUE(outputs[0].closeConnection);
  ASSERT_EQ(engine_.CapturedData().size(), 1u);
  EXPECT_EQ(engine_.CapturedData()[0], "");
}

TEST_F(PrinterEngineTest, AFirmwareWithoutItsTrailerIsRefusedWithoutAReset) {
  std::string stream = FirmwareStream("ABCDEF");
  stream.replace(stream.size() - 2, 2, "\x1b\r");
  EXPECT_TRUE(engine_.Feed(stream).empty());
  EXPECT_EQ(Bytes(engine_.Feed(kReplyRequest)), Error("05"));
  EXPECT_EQ(engine_.ResetCount(), 0);
  EXPECT_EQ(Ask(engine_, "!RIBBON"), "43\r");
}

// --- raw data ----------------------------------------------------------------------

TEST_F(PrinterEngineTest, AConnectionThatStartsWithDataIsAJobUntilItCloses) {
  int job = engine_.OpenConnection();
  std::string pdf = "%PDF-1.4\n" + Framed("V") + kReplyRequest + std::string("\0\x1b\xff", 3) + "\n%%EOF\n";
  EXPECT_TRUE(engine_.Feed(job, pdf.substr(0, 10)).empty());
  EXPECT_TRUE(engine_.Feed(job, pdf.substr(10)).empty());
  EXPECT_TRUE(engine_.InRawData(job));
  // A quiet line does not end a job connection.
  engine_.EndRawData(job);
  EXPECT_TRUE(engine_.CapturedData().empty());
  engine_.CloseConnection(job);
  auto captures = engine_.Captures();
  ASSERT_EQ(captures.size(), 1u);
  EXPECT_EQ(captures[0].kind, "raw");
  EXPECT_EQ(captures[0].connection, job);
  EXPECT_EQ(captures[0].bytes, pdf);
  EXPECT_TRUE(engine_.Commands().empty());
}

TEST_F(PrinterEngineTest, DataOnTheCommandConnectionEndsWhenTheLineGoesQuiet) {
  int c = engine_.OpenConnection();
  EXPECT_EQ(Bytes(engine_.Feed(c, Framed("V") + kReplyRequest)), "VKT32-M V1.02.03.016");
  std::string prn = "PRN\x01\x02" + Framed("CLEAN") + "tail";
  EXPECT_TRUE(engine_.Feed(c, prn).empty());
  EXPECT_TRUE(engine_.InRawData(c));
  engine_.EndRawData(c);
  EXPECT_FALSE(engine_.InRawData(c));
  EXPECT_EQ(engine_.CapturedData(), std::vector<std::string>{prn});
  EXPECT_EQ(Bytes(engine_.Feed(c, Framed("!RIBBON") + kReplyRequest)), "43\r");
}

TEST_F(PrinterEngineTest, EscapeFollowedByBinaryIsDataNotACommand) {
  int c = engine_.OpenConnection();
  std::string prn = "\x1bP\x01\x80 image bytes\r more";
  EXPECT_TRUE(engine_.Feed(c, prn).empty());
  engine_.CloseConnection(c);
  EXPECT_EQ(engine_.CapturedData(), std::vector<std::string>{prn});
}

TEST_F(PrinterEngineTest, CapturesAreWrittenToTheCaptureDirectory) {
  auto dir = std::filesystem::temp_directory_path() / ("vkt-emu-capture-" + std::to_string(getpid()));
  std::filesystem::remove_all(dir);
  engine_.SetCaptureDirectory(dir.string());
  int job = engine_.OpenConnection();
  engine_.Feed(job, "%PDF-1.7 body");
  engine_.CloseConnection(job);
  engine_.Feed(FirmwareStream("FW"));
  auto captures = engine_.Captures();
  ASSERT_EQ(captures.size(), 2u);
  EXPECT_EQ(std::filesystem::path(captures[0].path).extension(), ".pdf");
  EXPECT_EQ(std::filesystem::path(captures[1].path).extension(), ".bin");
  for (const auto& capture : captures) {
    std::ifstream file(capture.path, std::ios::binary);
    std::stringstream content;
    content << file.rdbuf();
    EXPECT_EQ(content.str(), capture.bytes) << capture.path;
  }
  size_t files = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir)) ++files;
  EXPECT_EQ(files, 2u);  // no partial files left behind
  std::filesystem::remove_all(dir);
}

}  // namespace
