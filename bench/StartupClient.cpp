// vkt-bench-startup-client QUEUE: the baseline of the start-up benchmark. It
// does only what start-up needs from the outside world, in the tool's order:
// the queue's device URI from CUPS, the flush handshake, every start-up query
// over a plain socket, and one read of the queue's PPD defaults.
#include <cups/cups.h>
#include <cups/ppd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "PlainPrinterSocket.h"
#include "QueueDeviceUri.h"

// libcups marks its PPD calls deprecated; start-up reads the PPD with them all the same.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace {

struct PpdCloser {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};

const std::string kReplyRequest = "\x1b" "E 2\r";

// The queries start-up sends after the handshake, in its order: the printer
// information, the encoder settings, the feeder mode and the four offsets.
const char* const kStartupQueries[] = {
    "%SERIE", "V", "!V 15", "!RIBBON", "!NL", "!RIBLEN", "&V", "ATM 1 1", "+O", "+OY", "+OB", "+OYB",
};

// The PPD defaults and choices start-up shows on the card-setup tab.
const char* const kOptionSuffixes[] = {"Rotation",    "MonoConversion", "PrintingMode",   "DualSidePrinting",
                                       "RibbonCombination", "RibbonName", "AutoHalfPanel", "Orientation"};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: vkt-bench-startup-client QUEUE [QUERY...]\n");
    return 2;
  }
  const char* queue = argv[1];
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
  printer.WriteAll(std::string("\x1b.\r"));
  printer.WriteAll(kReplyRequest);
  printer.ReadReply();
  int answered = 0;
  auto ask = [&](const std::string& query) {
    printer.WriteAll("\x1b" + query + "\r");
    printer.WriteAll(kReplyRequest);
    if (!printer.ReadReply().empty()) ++answered;
  };
  if (argc > 2) {
    for (int i = 2; i < argc; ++i) ask(argv[i]);
  } else {
    for (const char* query : kStartupQueries) ask(query);
  }
  printer.Close();

  const char* root = std::getenv("CUPS_SERVERROOT");
  std::string path = std::string(root ? root : "/etc/cups") + "/ppd/" + queue + ".ppd";
  std::unique_ptr<ppd_file_t, PpdCloser> ppd(ppdOpenFile(path.c_str()));
  int options = 0;
  if (ppd) {
    std::string model = ppd->pcfilename ? ppd->pcfilename : "";
    model = model.substr(0, model.find('.'));
    for (const char* suffix : kOptionSuffixes) {
      ppd_option_t* option = ppdFindOption(ppd.get(), (model + suffix).c_str());
      if (option && option->num_choices > 0) ++options;
    }
    for (const char* name : {"FrontX", "FrontY", "BackX", "BackY", "PrinterSerialNo", "PrinterIPAddress"}) {
      (void)ppdFindAttr(ppd.get(), name, nullptr);
    }
  }
  std::printf("answers %d, options %d\n", answered, options);
  return answered > 0 && options > 0 ? 0 : 1;
}
