// vkt-bench-testcards: Google Benchmark of the test cards, per card kind:
// drawing the front (colour) and the back (monochrome), writing each as a
// card-size PDF and merging the two into the file that is printed.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <QGuiApplication>
#include <string>

#include "TestCardPrinter.h"
#include "TestCardRenderer.h"

namespace {

TestCardFacts BenchFacts() {
  TestCardFacts facts;
  facts.frmVersion = "VKTS32 V1.4.2";
  facts.SerialNum = "VKT0000123";
  facts.HeadResis = "1250";
  facts.PannelPrinted = "4711";
  facts.FwVersion = "V1.4.2";
  facts.RibbonTypes = "YMCKO 200 Prints";
  return facts;
}

void BM_TestCard(benchmark::State& state) {
  const int kind = static_cast<int>(state.range(0));
  TestCardRenderer renderer(nullptr, BenchFacts());
  const std::string folder = "/tmp/vkt-bench-cards-" + std::to_string(getpid()) + "-";
  const std::string front = folder + "front.pdf", back = folder + "back.pdf", merged = folder + "card.pdf";
  for (auto _ : state) {
    QImage frontImage = renderer.DrawTestCard(kind, 1);
    QImage backImage = renderer.DrawTestCard(kind, 0);
    bool ok = TestCardPrinter::SaveImageAsPdf(frontImage, front) && TestCardPrinter::SaveImageAsPdf(backImage, back) &&
              TestCardPrinter::MergePdf(front, back, merged);
    if (!ok) state.SkipWithError("writing the card PDF failed");
  }
  for (const std::string& path : {front, back, merged}) unlink(path.c_str());
}

}  // namespace

BENCHMARK(BM_TestCard)->ArgName("kind")->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  QGuiApplication app(argc, argv);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
