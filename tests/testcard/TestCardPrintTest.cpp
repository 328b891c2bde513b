// Test cards printed through the sandbox's private cupsd: the job travels
// cupsd -> vkt3socket backend -> the queue's emulator.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "DeviceCommunication.h"
#include "PpdTestSupport.h"
#include "RecordingWaits.h"
#include "SandboxEnv.h"
#include "TestCardPrinter.h"
#include "TestCardRenderer.h"
#include "TestCardSupport.h"

namespace {

using namespace testcard_support;

class TestCardPrint : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(vkt_sandbox::Require());
    setenv("XDG_RUNTIME_DIR", tmp_.path().c_str(), 1);  // the card PDFs go here
  }
  bool Exists(const std::string& name) const { return std::filesystem::exists(tmp_.path() / name); }
  ppd_test::ScratchDir tmp_;
};

TEST_F(TestCardPrint, RibbonAndSidesDecideTheColourOfEachPrintedPage) {
  const struct {
    std::string queue;
    int kind, ribbon;
    bool dualSide;
    std::string file;
    std::vector<bool> colour;  // per page
  } cases[] = {{"Card", 0, 14, true, "TestCardPrint.pdf", {true, true}},
               {"Card", 1, 9, true, "TestCardPrint.pdf", {false, false}},
               {"Card", 2, 0, true, "TestCardPrint.pdf", {true, false}},
               {"VKTS31Socket", 0, 14, false, "FrontImage.pdf", {true}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.queue + " ribbon " + std::to_string(c.ribbon));
    DeviceCommunication session(c.queue);
    ASSERT_NE(session.Transport(), nullptr);
    TestCardFacts facts = FixedFacts();
    facts.SerialNum = session.GetSerialNumber();
    TestCardRenderer renderer(&session, facts);
    TestCardPrinter printer(&session, c.queue);
    RecordingWaits waits;
    EXPECT_EQ(printer.ProcessTestCard(renderer, c.kind, c.ribbon, c.dualSide), TestCardPrinter::Result::kPrinted);
    EXPECT_GT(printer.LastJobId(), 0);
    // The queue is given three seconds after it was enabled, before the job
    // is submitted (waits after it are the job wait's polling pauses).
    ASSERT_FALSE(waits.entries.empty());
    EXPECT_EQ(waits.entries[0], (RecordingWaits::Entry{RecordingWaits::Entry::kSleep, std::chrono::seconds(3)}));
    // The direct connection is back: the printer answers the session again.
    EXPECT_EQ(renderer.QueryPrinter("%SERIE"), facts.SerialNum);
    EXPECT_EQ(Exists("BackImage.pdf"), c.dualSide);

    // The PDF the job printed: a page of the card size per side.
    const std::string printed = (tmp_.path() / c.file).string();
    for (size_t page = 1; page <= c.colour.size(); ++page) {
      const QImage image = RenderPdfPage(printed, static_cast<int>(page), 72);
      EXPECT_EQ(image.size(), QSize(246, 154)) << page;
      EXPECT_EQ(ColouredPixels(image) > 1000, c.colour[page - 1]) << page;
    }
    EXPECT_TRUE(RenderPdfPage(printed, static_cast<int>(c.colour.size()) + 1, 72).isNull());
    std::filesystem::remove(tmp_.path() / "BackImage.pdf");
  }
}

TEST_F(TestCardPrint, UnknownQueueOrCardKindPrintsNothing) {
  DeviceCommunication session("Card");
  ASSERT_NE(session.Transport(), nullptr);
  const std::string transcript = vkt_sandbox::Var("VKT_EMU_TRANSCRIPT_Card");
  const size_t transcriptBefore = ppd_test::ReadFile(transcript).size();
  TestCardRenderer renderer(&session, FixedFacts());
  TestCardPrinter unknown(&session, "NoSuchQueue"), card(&session, "Card");
  RecordingWaits waits;
  EXPECT_EQ(unknown.ProcessTestCard(renderer, 0, 14, true), TestCardPrinter::Result::kUnknownQueue);
  EXPECT_EQ(unknown.LastJobId(), 0);
  EXPECT_EQ(card.ProcessTestCard(renderer, 3, 14, true), TestCardPrinter::Result::kNoCard);
  EXPECT_EQ(card.ProcessTestCard(renderer, -1, 14, true), TestCardPrinter::Result::kNoCard);
  EXPECT_TRUE(waits.entries.empty());
  for (const char* file : {"FrontImage.pdf", "BackImage.pdf", "TestCardPrint.pdf"}) EXPECT_FALSE(Exists(file));
  // Neither queried nor disconnected: the session's connection still works.
  EXPECT_FALSE(session.GetSerialNumber().empty());
  EXPECT_EQ(ppd_test::ReadFile(transcript).substr(transcriptBefore).find("+EC"), std::string::npos);
  // Sending directly to the unknown queue is refused the same way.
  const QImage image = renderer.DrawStandaredTestCard(1);
  EXPECT_EQ(unknown.SendTestCardToPrinter(&image, nullptr), TestCardPrinter::Result::kUnknownQueue);
  EXPECT_EQ(unknown.LastJobId(), 0);
}

}  // namespace
