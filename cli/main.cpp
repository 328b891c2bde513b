// vkts3-cli: the printer-properties tool from a terminal.
//   vkts3-cli list [--json]
//   vkts3-cli info QUEUE... [--json]
// The diagnostic log goes to standard error only with --verbose.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "CardQueues.h"
#include "CliInfo.h"
#include "CupsPasswordPolicy.h"

namespace {

int Usage(FILE* out) {
  std::fprintf(out,
               "usage: vkts3-cli [--verbose] list [--json]\n"
               "       vkts3-cli [--verbose] info QUEUE... [--json]   (the queues are asked at once)\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  NeverAskForCupsPassword();
  bool json = false, verbose = false;
  std::vector<std::string> words;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--json") {
      json = true;
    } else if (arg == "--verbose") {
      verbose = true;
    } else if (arg == "--help" || arg == "-h") {
      Usage(stdout);
      return 0;
    } else if (arg.rfind("--", 0) == 0) {
      std::fprintf(stderr, "vkts3-cli: unknown option %s\n", arg.c_str());
      return Usage(stderr);
    } else {
      words.push_back(arg);
    }
  }
  const bool listing = !words.empty() && words[0] == "list" && words.size() == 1;
  const bool asking = !words.empty() && words[0] == "info" && words.size() >= 2;
  if (!listing && !asking) return Usage(stderr);

  // The session and the PPD code log every exchange on standard error; a
  // terminal user wants the answer, so the log goes only where asked.
  if (!verbose) {
    const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (null >= 0) {
      ::dup2(null, STDERR_FILENO);
      ::close(null);
    }
  }

  if (listing) {
    const std::vector<std::string> queues = card_queues::List();
    if (json) {
      std::string out = "[";
      for (size_t i = 0; i < queues.size(); ++i) out += (i ? ", " : "") + JsonString(queues[i]);
      std::printf("%s]\n", out.c_str());
    } else {
      for (const std::string& queue : queues) std::printf("%s\n", queue.c_str());
    }
    return 0;
  }
  // info: every queue is asked at once, each through its own session.
  std::vector<QueueInfo> infos(words.size() - 1);
  std::vector<std::thread> askers;
  for (size_t i = 1; i < words.size(); ++i)
    askers.emplace_back([&infos, &words, i] { infos[i - 1] = ReadQueueInfo(words[i]); });
  for (std::thread& asker : askers) asker.join();
  const std::string out = json ? FormatQueueInfoJson(infos) : FormatQueueInfoText(infos);
  std::fwrite(out.data(), 1, out.size(), stdout);
  for (const QueueInfo& info : infos)
    if (info.status != "online") return 1;
  return 0;
}
