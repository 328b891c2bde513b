// vkt-bench-list [REPETITIONS]: times the printer chooser's listing of the
// CUPS queues (PrinterLauncher::ListAvailablePrinter) in the running
// scheduler. Needs a Qt platform; scripts/bench runs it offscreen.
#include <QApplication>
#include <cstdlib>

#include "BenchSamples.h"
#include "PrinterLauncher.h"
#include "ScriptedPrompter.h"

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  int repetitions = argc > 1 ? std::atoi(argv[1]) : 5;
  ScriptedPrompter prompter;
  // The constructor lists once: that first listing is the warm-up.
  PrinterLauncher launcher(prompter);
  BenchSamples samples;
  for (int i = 0; i < repetitions; ++i) {
    auto start = BenchSamples::Clock::now();
    launcher.ListAvailablePrinter();
    samples.Add(start, BenchSamples::Clock::now());
  }
  samples.Note("listed", static_cast<double>(launcher.PrinterNames().size()));
  samples.Print();
  return launcher.PrinterNames().empty() ? 1 : 0;
}
