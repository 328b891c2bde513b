// test-card: draws and prints a test card through CUPS, as the tools tab does.
#include <QGuiApplication>
#include <cstdlib>
#include <string>

#include "Cli.h"
#include "TestCardPrinter.h"
#include "TestCardRenderer.h"

namespace cli {
namespace {

int TestCard(Io& io, const Args& args) {
  const std::string& queue = args.positional[0];
  const std::string& kindName = args.positional[1];
  static const char* const kKinds[] = {"standard", "parameter", "encoder"};
  int kind = -1;
  for (int i = 0; i < 3; ++i)
    if (kindName == kKinds[i]) kind = i;
  if (kind < 0) return Fail(io, "the test card is standard, parameter or encoder, not " + kindName);

  // The cards are drawn with Qt's painter, which needs a GUI application
  // even without a screen.
  if (!std::getenv("QT_QPA_PLATFORM")) ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
  static int argc = 1;
  static char name[] = "vkts3-cli";
  static char* argv[] = {name, nullptr};
  QGuiApplication application(argc, argv);

  // The card shows what the window would have shown, and is printed in the
  // colours of the card setup's combination.
  std::unique_ptr<CardSetupSession> setup = OpenCardSetup(io, queue);
  if (!setup) return kFailed;
  const PrinterInformation& info = setup->info;
  TestCardFacts facts;
  facts.frmVersion = info.FwVersion;
  facts.SerialNum = info.SerialNum;
  facts.HeadResis = info.HeadResis;
  facts.PannelPrinted = info.PannelPrinted;
  facts.FwVersion = info.FwVersion;
  facts.RibbonTypes = info.RibbonType.value_or("");
  for (size_t i = 0; i < 4; ++i) facts.pOffset[i] = std::atoi(setup->offsets[i].c_str());
  const int ribbonIndex =
      setup->model.ComboIndexToPPDRibbonCombiIndex(setup->model.RibbonCombinatioin.ObjectValueOfSelectedItem());
  TestCardRenderer renderer(setup->session.get(), facts);
  TestCardPrinter printer(setup->session.get(), queue);
  switch (printer.ProcessTestCard(renderer, kind, ribbonIndex, info.Model().bDualSide)) {
    case TestCardPrinter::Result::kPrinted:
      std::fprintf(io.out, "job %d printed\n", printer.LastJobId());
      return kDone;
    case TestCardPrinter::Result::kUnknownQueue:
      return Fail(io, TestCardPrinter::UnknownQueueMessage(queue));
    default:
      return Fail(io, "the test card could not be printed");
  }
}

}  // namespace

void AddTestCardCommands(std::vector<Command>& commands) {
  commands.push_back({"test-card",
                      "QUEUE standard|parameter|encoder",
                      "Draws the test card as the tools tab does (with the printer's facts and offsets, in the colours "
                      "of the card setup's ribbon combination), prints it through CUPS and waits for the job to end.",
                      {},
                      TestCard,
                      2,
                      2});
}

}  // namespace cli
