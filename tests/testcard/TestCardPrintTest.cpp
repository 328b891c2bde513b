// Test cards printed through the sandbox's private cupsd: the job travels
// cupsd -> vkt3socket backend -> the queue's emulator.
#include <gtest/gtest.h>

#include <filesystem>

#include "DeviceCommunication.h"
#include "PpdTestSupport.h"
#include "RecordingWaits.h"
#include "SandboxEnv.h"
#include "TestCardPrinter.h"
#include "TestCardRenderer.h"
#include "TestCardSupport.h"

namespace {

using namespace testcard_support;

TEST(TestCardPrint, UnknownQueueOrCardKindPrintsNothingAndRibbonAndSidesDecideTheColourOfEachPage) {
  ASSERT_TRUE(vkt_sandbox::Require());
  ppd_test::ScratchDir tmp;
  setenv("XDG_RUNTIME_DIR", tmp.path().c_str(), 1);  // the card PDFs go here
  auto exists = [&](const char* name) { return std::filesystem::exists(tmp.path() / name); };
  {
    DeviceCommunication session("Card");
    ASSERT_NE(session.Transport(), nullptr);
    TestCardRenderer renderer(&session, FixedFacts());
    TestCardPrinter unknown(&session, "NoSuchQueue"), card(&session, "Card");
    RecordingWaits waits;
    EXPECT_EQ(unknown.ProcessTestCard(renderer, 0, 14, true), TestCardPrinter::Result::kUnknownQueue);
    EXPECT_EQ(card.ProcessTestCard(renderer, 3, 14, true), TestCardPrinter::Result::kNoCard);
    EXPECT_EQ(card.ProcessTestCard(renderer, -1, 14, true), TestCardPrinter::Result::kNoCard);
    EXPECT_TRUE(waits.entries.empty());
    EXPECT_FALSE(exists("FrontImage.pdf") || exists("BackImage.pdf") || exists("TestCardPrint.pdf"));
    // Neither queried nor disconnected: the session's connection still works.
    EXPECT_FALSE(session.GetSerialNumber().empty());
    EXPECT_EQ(unknown.LastJobId(), 0);
  }
  const struct {
    std::string queue;
    int kind, ribbon;
    std::string file, colour;  // per page: '+' coloured, '-' not
  } cases[] = {{"Card", 0, 14, "TestCardPrint.pdf", "++"},
               {"Card", 1, 9, "TestCardPrint.pdf", "--"},
               {"Card", 2, 0, "TestCardPrint.pdf", "+-"},
               {"VKTS31Socket", 0, 14, "FrontImage.pdf", "+"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.queue + " ribbon " + std::to_string(c.ribbon));
    std::filesystem::remove(tmp.path() / "BackImage.pdf");
    const bool dualSide = c.colour.size() == 2;
    DeviceCommunication session(c.queue);
    ASSERT_NE(session.Transport(), nullptr);
    TestCardFacts facts = FixedFacts();
    facts.SerialNum = session.GetSerialNumber();
    TestCardRenderer renderer(&session, facts);
    TestCardPrinter printer(&session, c.queue);
    RecordingWaits waits;
    EXPECT_EQ(printer.ProcessTestCard(renderer, c.kind, c.ribbon, dualSide), TestCardPrinter::Result::kPrinted);
    EXPECT_GT(printer.LastJobId(), 0);
    // The queue is given three seconds after it was enabled, before the job
    // is submitted (waits after it are the job wait's polling pauses).
    EXPECT_EQ(waits.entries.at(0), (RecordingWaits::Entry{RecordingWaits::Entry::kSleep, std::chrono::seconds(3)}));
    // The direct connection is back: the printer answers the session again.
    EXPECT_EQ(renderer.QueryPrinter("%SERIE"), facts.SerialNum);
    EXPECT_EQ(exists("BackImage.pdf"), dualSide);
    // The PDF the job printed: a page of the card size per side.
    std::string colour;
    for (int page = 1; page <= 3; ++page) {
      const QImage image = RenderPdfPage((tmp.path() / c.file).string(), page, 72);
      EXPECT_EQ(image.size(), image.isNull() ? QSize(0, 0) : QSize(246, 154)) << page;
      colour += image.isNull() ? "" : ColouredPixels(image) > 1000 ? "+" : "-";
    }
    EXPECT_EQ(colour, c.colour);
  }
}

}  // namespace
