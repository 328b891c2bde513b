// list and info: the card queues, and what the information tab shows of them.
#include <string>
#include <thread>

#include "CardQueues.h"
#include "Cli.h"
#include "CliInfo.h"

namespace cli {
namespace {

int List(Io& io, const Args& args) {
  const std::vector<std::string> queues = card_queues::List();
  if (args.json) {
    std::string out = "[";
    for (size_t i = 0; i < queues.size(); ++i) out += (i ? ", " : "") + JsonString(queues[i]);
    std::fprintf(io.out, "%s]\n", out.c_str());
  } else {
    for (const std::string& queue : queues) std::fprintf(io.out, "%s\n", queue.c_str());
  }
  return kDone;
}

int Info(Io& io, const Args& args) {
  // Every queue is asked at once, each through its own session.
  std::vector<QueueInfo> infos(args.positional.size());
  std::vector<std::thread> askers;
  for (size_t i = 0; i < args.positional.size(); ++i)
    askers.emplace_back([&infos, &args, i] { infos[i] = ReadQueueInfo(args.positional[i]); });
  for (std::thread& asker : askers) asker.join();
  const std::string out = args.json ? FormatQueueInfoJson(infos) : FormatQueueInfoText(infos);
  std::fwrite(out.data(), 1, out.size(), io.out);
  for (const QueueInfo& info : infos)
    if (info.status != "online") return kFailed;
  return kDone;
}

}  // namespace

void AddInfoCommands(std::vector<Command>& commands) {
  commands.push_back(
      {"list",
       "[--json]",
       "Prints the CUPS queues that are card printers this tool can reach, in the order CUPS gives them.",
       {},
       List,
       0,
       0});
  commands.push_back({"info",
                      "QUEUE... [--json]",
                      "Asks each printer what the information tab shows; all queues are asked at once. Exit status 1 "
                      "when a queue is offline or unavailable.",
                      {},
                      Info,
                      1,
                      -1});
}

}  // namespace cli
