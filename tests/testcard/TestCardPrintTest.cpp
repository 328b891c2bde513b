// Test cards printed through the sandbox's private cupsd: the job travels
// cupsd -> vkt3socket backend -> the queue's emulator, which captures it.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include "DeviceCommunication.h"
#include "RecordingWaits.h"
#include "SandboxEnv.h"
#include "TestCardPrinter.h"
#include "TestCardRenderer.h"
#include "TestCardSupport.h"

namespace {

using namespace testcard_support;

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::set<std::string> FilesIn(const std::string& dir) {
  std::set<std::string> names;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(dir, ec)) names.insert(entry.path().string());
  return names;
}

class TestCardPrint : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(vkt_sandbox::Require());
    ASSERT_FALSE(tmp_.Path().empty());
    // The card PDFs go to the user's private temporary directory.
    setenv("XDG_RUNTIME_DIR", tmp_.Path().c_str(), 1);
  }

  // The printer facts as the main window reads them from the session.
  static TestCardFacts FactsFrom(DeviceCommunication& session) {
    TestCardFacts facts;
    facts.frmVersion = session.GetFirmwareVersion();
    facts.FwVersion = facts.frmVersion;
    facts.SerialNum = session.GetSerialNumber();
    facts.HeadResis = session.GetHeadResistance();
    facts.PannelPrinted = session.GetPanelsPrinted();
    facts.RibbonTypes = session.GetRibbonType().value_or("");
    facts.pOffset = {1, 2, 3, 4};
    return facts;
  }

  // The file the queue's emulator captured that is not in `before`, waiting
  // up to about 10 s for the emulator to finish writing it.
  static std::string NewCapture(const std::string& queue, const std::set<std::string>& before,
                                size_t expectedSize) {
    const std::string dir = vkt_sandbox::Var("VKT_EMU_CAPTURE_" + queue);
    for (int round = 0; round < 200; ++round) {
      for (const std::string& file : FilesIn(dir)) {
        std::error_code ec;
        if (!before.count(file) && std::filesystem::file_size(file, ec) == expectedSize) return file;
      }
      usleep(50 * 1000);
    }
    return {};
  }

  // Prints card `kind` with driver ribbon `ribbon` on `queue` and returns
  // the captured job, checked to be the PDF the tool wrote.
  std::string PrintAndCapture(const std::string& queue, int kind, int ribbon, bool dualSide,
                              const std::string& printedFile) {
    DeviceCommunication session(queue);
    EXPECT_NE(session.Transport(), nullptr) << queue;
    if (session.Transport() == nullptr) return {};
    const std::set<std::string> before = FilesIn(vkt_sandbox::Var("VKT_EMU_CAPTURE_" + queue));
    TestCardRenderer renderer(&session, FactsFrom(session));
    TestCardPrinter printer(&session, queue);
    RecordingWaits waits;
    EXPECT_EQ(printer.ProcessTestCard(renderer, kind, ribbon, dualSide), TestCardPrinter::Result::kPrinted);
    EXPECT_GT(printer.LastJobId(), 0);
    // The queue is given three seconds after it was enabled, before the job
    // is submitted (waits after it are CheckJobStatus's polling pauses).
    EXPECT_FALSE(waits.entries.empty());
    if (!waits.entries.empty()) {
      EXPECT_EQ(waits.entries.front(),
                (RecordingWaits::Entry{RecordingWaits::Entry::kSleep, std::chrono::seconds(3)}));
    }
    // The direct connection is back: the printer answers the session again.
    EXPECT_FALSE(renderer.Facts().SerialNum.empty());
    EXPECT_EQ(renderer.QueryPrinter("%SERIE"), renderer.Facts().SerialNum);

    const std::string printed = ReadAll(tmp_.Path() + printedFile);
    EXPECT_FALSE(printed.empty()) << printedFile;
    const std::string capture = NewCapture(queue, before, printed.size());
    EXPECT_FALSE(capture.empty()) << "no job reached the emulator of " << queue;
    if (capture.empty()) return {};
    EXPECT_TRUE(ReadAll(capture) == printed) << "the emulator got other bytes than " << printedFile;
    return capture;
  }

  static void ExpectCardPages(const std::string& pdf, size_t count) {
    const std::vector<PdfPageInfo> pages = PdfPages(pdf);
    ASSERT_EQ(pages.size(), count);
    for (const PdfPageInfo& page : pages) {
      EXPECT_EQ(page.mediaBox, "[ 0 0 245.8 153.6 ]");
      EXPECT_DOUBLE_EQ(page.width, 245.8);
      EXPECT_DOUBLE_EQ(page.height, 153.6);
    }
  }

  static bool PageInColour(const std::string& pdf, int page) {
    const QImage image = RenderPdfPage(pdf, page, 72);
    EXPECT_FALSE(image.isNull()) << pdf << " page " << page;
    return ColouredPixels(image, image.rect()) > 1000;
  }

  bool Exists(const std::string& name) const { return std::filesystem::exists(tmp_.Path() + name); }

  ScopedTemporaryDirectory tmp_;
};

TEST_F(TestCardPrint, DualSidedRibbon14PrintsBothSidesInColour) {
  const std::string capture = PrintAndCapture("Card", 0, 14, true, "TestCardPrint.pdf");
  ASSERT_FALSE(capture.empty());
  ExpectCardPages(capture, 2);
  EXPECT_TRUE(PageInColour(capture, 1));
  EXPECT_TRUE(PageInColour(capture, 2));
}

TEST_F(TestCardPrint, DualSidedRibbon9PrintsBothSidesMonochrome) {
  const std::string capture = PrintAndCapture("Card", 1, 9, true, "TestCardPrint.pdf");
  ASSERT_FALSE(capture.empty());
  ExpectCardPages(capture, 2);
  EXPECT_FALSE(PageInColour(capture, 1));
  EXPECT_FALSE(PageInColour(capture, 2));
}

TEST_F(TestCardPrint, DualSidedRibbon0PrintsTheFrontOnlyInColour) {
  const std::string capture = PrintAndCapture("Card", 2, 0, true, "TestCardPrint.pdf");
  ASSERT_FALSE(capture.empty());
  ExpectCardPages(capture, 2);
  EXPECT_TRUE(PageInColour(capture, 1));
  EXPECT_FALSE(PageInColour(capture, 2));
}

TEST_F(TestCardPrint, SingleSidedQueuePrintsTheFrontPdf) {
  const std::string capture = PrintAndCapture("VKTS31Socket", 0, 14, false, "FrontImage.pdf");
  ASSERT_FALSE(capture.empty());
  ExpectCardPages(capture, 1);
  EXPECT_TRUE(PageInColour(capture, 1));
  EXPECT_FALSE(Exists("BackImage.pdf"));
  EXPECT_FALSE(Exists("TestCardPrint.pdf"));
}

TEST_F(TestCardPrint, QueriesOfTheCardsReachTheQueuesPrinter) {
  // Both sides of a standard card ask for the edge count once each, on the
  // session's connection, before the job.
  const std::string transcript = vkt_sandbox::Var("VKT_EMU_TRANSCRIPT_Card");
  const size_t before = ReadAll(transcript).size();
  ASSERT_FALSE(PrintAndCapture("Card", 0, 1, true, "TestCardPrint.pdf").empty());
  const std::string added = ReadAll(transcript).substr(before);
  // The transcript writes ESC and CR as \x1b and \x0d.
  const std::string query = "\\x1b+EC\\x0d";
  size_t count = 0;
  for (size_t at = added.find(query); at != std::string::npos; at = added.find(query, at + 1)) ++count;
  EXPECT_EQ(count, 2u) << added.substr(0, 2000);
}

TEST_F(TestCardPrint, UnknownQueuePrintsNothing) {
  DeviceCommunication session("Card");
  ASSERT_NE(session.Transport(), nullptr);
  const std::string captureDir = vkt_sandbox::Var("VKT_EMU_CAPTURE_Card");
  const std::set<std::string> before = FilesIn(captureDir);
  const std::string transcript = vkt_sandbox::Var("VKT_EMU_TRANSCRIPT_Card");
  const size_t transcriptBefore = ReadAll(transcript).size();

  TestCardRenderer renderer(&session, FixedFacts());
  TestCardPrinter printer(&session, "NoSuchQueue");
  RecordingWaits waits;
  EXPECT_EQ(printer.ProcessTestCard(renderer, 0, 14, true), TestCardPrinter::Result::kUnknownQueue);
  EXPECT_EQ(printer.LastJobId(), 0);
  EXPECT_TRUE(waits.entries.empty());
  EXPECT_FALSE(Exists("FrontImage.pdf"));
  EXPECT_FALSE(Exists("BackImage.pdf"));
  EXPECT_FALSE(Exists("TestCardPrint.pdf"));
  // Neither queried nor disconnected: the session's connection still works.
  EXPECT_EQ(session.GetSerialNumber().empty(), false);
  usleep(300 * 1000);  // let the emulator write anything it might have got
  EXPECT_EQ(FilesIn(captureDir), before);
  const std::string added = ReadAll(transcript).substr(transcriptBefore);
  EXPECT_EQ(added.find("+EC"), std::string::npos) << added;

  // Sending directly to the unknown queue is refused the same way.
  const QImage card = renderer.DrawStandaredTestCard(1);
  EXPECT_EQ(printer.SendTestCardToPrinter(&card, nullptr), TestCardPrinter::Result::kUnknownQueue);
  EXPECT_EQ(printer.LastJobId(), 0);
}

TEST_F(TestCardPrint, CardKindOutsideTheListDrawsAndPrintsNothing) {
  DeviceCommunication session("Card");
  TestCardRenderer renderer(&session, FixedFacts());
  TestCardPrinter printer(&session, "Card");
  RecordingWaits waits;
  EXPECT_EQ(printer.ProcessTestCard(renderer, 3, 14, true), TestCardPrinter::Result::kNoCard);
  EXPECT_EQ(printer.ProcessTestCard(renderer, -1, 14, true), TestCardPrinter::Result::kNoCard);
  EXPECT_TRUE(waits.entries.empty());
  EXPECT_FALSE(Exists("FrontImage.pdf"));
}

}  // namespace
