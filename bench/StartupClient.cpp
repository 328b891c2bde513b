// vkt-bench-startup-client QUEUE [--no-ppd] EXCHANGE...: the floor the
// start-up and `vkts3-cli info` benchmarks are measured against. It does only
// what the tool needs from the outside world: the queue's device URI from
// CUPS, the printer exchanges it is given, over a plain socket and in the
// given order, and (unless --no-ppd) one read of the queue's PPD defaults.
//
// An EXCHANGE is bytes in the emulator transcript's escape form (\x1b, \\);
// the runner takes them from the transcript of what the tool itself sent.
// They are written in one go; when they end with the reply request
// ESC "E 2" CR, one reply is read before the next exchange. "--connect" closes
// the connection and opens a new one, where the tool opened a second one.
#include <cups/cups.h>
#include <cups/ppd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "PlainPrinterSocket.h"
#include "PrinterProfile.h"
#include "QueueDeviceUri.h"

// libcups marks its PPD calls deprecated; start-up reads the PPD with them all the same.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace {

struct PpdCloser {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};

const std::string kReplyRequest = "\033E 2\r";  // ESC "E 2" CR

// The PPD defaults and choices start-up shows on the card-setup tab.
const char* const kOptionSuffixes[] = {"Rotation",          "MonoConversion", "PrintingMode",  "DualSidePrinting",
                                       "RibbonCombination", "RibbonName",     "AutoHalfPanel", "Orientation"};

bool EndsWith(const std::string& text, const std::string& suffix) {
  return text.size() >= suffix.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// How many of the start-up options the queue's PPD offers.
int ReadPpdOptions(const char* queue) {
  const char* root = std::getenv("CUPS_SERVERROOT");
  std::string path = std::string(root ? root : "/etc/cups") + "/ppd/" + queue + ".ppd";
  std::unique_ptr<ppd_file_t, PpdCloser> ppd(ppdOpenFile(path.c_str()));
  if (!ppd) return 0;
  int options = 0;
  std::string model = ppd->pcfilename ? ppd->pcfilename : "";
  model = model.substr(0, model.find('.'));
  for (const char* suffix : kOptionSuffixes) {
    ppd_option_t* option = ppdFindOption(ppd.get(), (model + suffix).c_str());
    if (option && option->num_choices > 0) ++options;
  }
  for (const char* name : {"FrontX", "FrontY", "BackX", "BackY", "PrinterSerialNo", "PrinterIPAddress"}) {
    (void)ppdFindAttr(ppd.get(), name, nullptr);
  }
  return options;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: vkt-bench-startup-client QUEUE [--no-ppd] EXCHANGE|--connect...\n");
    return 2;
  }
  const char* queue = argv[1];
  int first = 2;
  const bool readPpd = std::strcmp(argv[first], "--no-ppd") != 0;
  if (!readPpd) ++first;

  const std::string deviceUri = QueueDeviceUri(queue);
  std::string host;
  int port = 0;
  if (!PlainPrinterSocket::SplitDeviceUri(deviceUri, &host, &port)) {
    std::fprintf(stderr, "no socket device URI for %s\n", queue);
    return 1;
  }

  PlainPrinterSocket printer;
  if (!printer.Connect(host, port)) {
    std::fprintf(stderr, "cannot connect to %s:%d\n", host.c_str(), port);
    return 1;
  }
  int asked = 0, answered = 0;
  for (int i = first; i < argc; ++i) {
    if (std::strcmp(argv[i], "--connect") == 0) {
      if (!printer.Connect(host, port)) {
        std::fprintf(stderr, "cannot connect again to %s:%d\n", host.c_str(), port);
        return 1;
      }
      continue;
    }
    std::string bytes;
    if (!DecodeEscapes(argv[i], &bytes)) {
      std::fprintf(stderr, "bad escape in exchange %s\n", argv[i]);
      return 2;
    }
    if (!printer.WriteAll(bytes)) {
      std::fprintf(stderr, "write failed in exchange %s\n", argv[i]);
      return 1;
    }
    if (EndsWith(bytes, kReplyRequest)) {
      ++asked;
      if (!printer.ReadReply().empty()) ++answered;
    }
  }
  printer.Close();

  const int options = readPpd ? ReadPpdOptions(queue) : 0;
  std::printf("answers %d of %d, options %d\n", answered, asked, options);
  return answered == asked && (!readPpd || options > 0) ? 0 : 1;
}
