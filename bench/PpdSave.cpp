// vkt-bench-ppd-save QUEUE: times one SavePPDInformation that changes seven
// card-setup options of QUEUE's PPD through the PPD service, and checks that
// the installed PPD then holds the seven new defaults.
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "BenchSamples.h"
#include "PPDHelper.h"
#include "Paths.h"

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: vkt-bench-ppd-save QUEUE\n");
    return 2;
  }
  const std::string path = vkt_paths::PpdPathForQueue(argv[1]);
  PPDHelper helper;
  helper.InitPPD(path);
  const std::string model = helper.GetPrinterModelString();
  // Each value differs from the fixture's default, so every line is rewritten.
  PPDInformation values;
  values.Rotation = 1;           // 1Front
  values.MonoOption = 1;         // 1HalfTone
  values.PrintingMode = 1;       // 1EncodeOnly
  values.DualSide = 0;           // 0false
  values.RibbonCombination = 1;  // 1FrontYmckoBackYmcko
  values.RibbonType = 1;         // 1YMCKO200
  values.AutoHalf = 1;           // 1true
  values.FrontX = helper.PPD_nFrontX;
  values.FrontY = helper.PPD_nFrontY;
  values.BackX = helper.PPD_nBackX;
  values.BackY = helper.PPD_nBackY;
  values.SerialNo = helper.PPD_strPrinterSerialNo;
  values.IPAddress = helper.PPD_strIPAddress;

  BenchSamples samples;
  auto start = BenchSamples::Clock::now();
  int result = helper.SavePPDInformation(values);
  samples.Add(start, BenchSamples::Clock::now());

  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  int changed = 0;
  for (const char* line : {"Rotation: 1Front", "MonoConversion: 1HalfTone", "PrintingMode: 1EncodeOnly",
                           "DualSidePrinting: 0false", "RibbonCombination: 1FrontYmckoBackYmcko",
                           "RibbonName: 1YMCKO200", "AutoHalfPanel: 1true"}) {
    if (text.str().find("*Default" + model + line) != std::string::npos) ++changed;
  }
  samples.Note("result", result);
  samples.Note("changed", changed);
  samples.Print();
  return result == 1 && changed == 7 ? 0 : 1;
}
