// vkt-usb-printer: runs a program with emulated USB card printers attached,
// so the tool can be tried on a "USB" printer without hardware.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "PrinterProfile.h"
#include "UsbPrinterTestbed.h"

#ifndef kPrinterUsbVendorId
#error "kPrinterUsbVendorId (the printers' USB vendor id) must be supplied by the build"
#endif

namespace {

const char kUsage[] =
    "Usage: vkt-usb-printer [--printer SERIAL[=PROFILE]]... [--busy SERIAL] -- COMMAND [ARGS...]\n"
    "\n"
    "Runs COMMAND with emulated USB card printers attached (through umockdev).\n"
    "Each printer answers with the same engine as vkt-emulator.\n"
    "\n"
    "  --printer SERIAL[=PROFILE]  a printer with this serial number, optionally\n"
    "                              from a profile file (repeatable; default one\n"
    "                              printer VKT0000123 with the built-in profile)\n"
    "  --busy SERIAL               a printer whose interface another client holds\n"
    "  --transcript                print every printer's received bytes at the end\n"
    "  --help                      this text\n"
    "\n"
    "The exit status is COMMAND's.\n";

int Fail(const std::string& message) {
  std::fprintf(stderr, "vkt-usb-printer: %s\n%s", message.c_str(), kUsage);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  struct Wanted {
    std::string serial, profilePath;
    bool busy = false;
  };
  std::vector<Wanted> printers;
  bool transcript = false;
  int i = 1;
  for (; i < argc; ++i) {
    std::string option = argv[i];
    if (option == "--") {
      ++i;
      break;
    }
    if (option == "--help" || option == "-h") {
      std::fputs(kUsage, stdout);
      return 0;
    }
    if (option == "--transcript") {
      transcript = true;
    } else if ((option == "--printer" || option == "--busy") && i + 1 < argc) {
      std::string value = argv[++i];
      size_t equals = value.find('=');
      Wanted wanted{value.substr(0, equals), equals == std::string::npos ? "" : value.substr(equals + 1),
                    option == "--busy"};
      printers.push_back(wanted);
    } else {
      return Fail("unknown option " + option);
    }
  }
  if (i >= argc) return Fail("no command given");
  if (printers.empty()) printers.push_back({"VKT0000123", "", false});

  UsbPrinterTestbed testbed;
  for (const Wanted& wanted : printers) {
    PrinterProfile profile;
    std::string error;
    if (!wanted.profilePath.empty() && !LoadPrinterProfile(wanted.profilePath, &profile, &error)) {
      return Fail(wanted.profilePath + ": " + error);
    }
    profile.serial = wanted.serial;
    testbed.AddPrinter(static_cast<uint16_t>(kPrinterUsbVendorId), wanted.serial, profile, wanted.busy);
  }

  // The testbed serves the devices from this process; the command reaches
  // them through the preload library and the testbed's UMOCKDEV_DIR.
  std::string preload = "libumockdev-preload.so.0";
  if (const char* existing = std::getenv("LD_PRELOAD"); existing != nullptr && *existing != '\0') {
    preload += ":" + std::string(existing);
  }
  pid_t child = fork();
  if (child < 0) return Fail(std::string("fork failed: ") + std::strerror(errno));
  if (child == 0) {
    setenv("LD_PRELOAD", preload.c_str(), 1);
    execvp(argv[i], argv + i);
    std::fprintf(stderr, "vkt-usb-printer: cannot run %s: %s\n", argv[i], std::strerror(errno));
    _exit(127);
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (transcript) {
    for (int p = 0; p < testbed.PrinterCount(); ++p) {
      std::printf("%s: %s\n", printers[static_cast<size_t>(p)].serial.c_str(),
                  EncodeEscapes(testbed.Transcript(p)).c_str());
    }
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
