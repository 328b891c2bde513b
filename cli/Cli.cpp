// Shared pieces of the commands: failures, sessions, JSON, progress.
#include "Cli.h"

#include <unistd.h>

#include "DeviceCommunication.h"

namespace cli {

std::string Args::Value(const std::string& name, const std::string& fallback) const {
  auto found = values.find(name);
  return found == values.end() || found->second.empty() ? fallback : found->second.back();
}

int Fail(Io& io, const std::string& reason) {
  std::fprintf(io.err, "vkts3-cli: %s\n", reason.c_str());
  return kFailed;
}

std::unique_ptr<DeviceCommunication> OpenSession(Io& io, const std::string& queue) {
  auto session = std::make_unique<DeviceCommunication>(queue);
  if (!session->Transport()) {
    Fail(io, queue + ": Not able to launch printer properties.");
    return nullptr;
  }
  if (session->GetDeviceStatusInfo() < 1) {
    Fail(io, queue +
                 ": The Printer is offline. Check the network / USB cable connection to the printer, that is "
                 "powered on, and that it is online.");
    return nullptr;
  }
  return session;
}

std::string JsonString(const std::string& text) {
  std::string out = "\"";
  for (unsigned char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
      out += escaped;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out + "\"";
}

std::string ChooseSettings(const std::vector<std::optional<std::string>>& wanted,
                           const std::function<std::string(size_t index, const std::string& value)>& set,
                           bool& changing) {
  changing = false;
  for (size_t i = 0; i < wanted.size(); ++i) {
    if (!wanted[i]) continue;
    changing = true;
    if (std::string problem = set(i, *wanted[i]); !problem.empty()) return problem;
  }
  return {};
}

std::string ParseSettings(const Args& args, const std::vector<std::string>& names,
                          std::vector<std::optional<std::string>>& values) {
  values.assign(names.size(), std::nullopt);
  auto given = args.values.find("set");
  if (given == args.values.end()) return {};
  for (const std::string& pair : given->second) {
    const size_t equals = pair.find('=');
    bool known = false;
    for (size_t i = 0; i < names.size() && equals != std::string::npos; ++i) {
      if (pair.compare(0, equals, names[i]) == 0 && equals == names[i].size()) {
        values[i] = pair.substr(equals + 1);
        known = true;
      }
    }
    if (!known) {
      std::string list;
      for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
      return "--set takes NAME=VALUE with NAME one of " + list + "; not " + pair;
    }
  }
  return {};
}

void PrintFields(Io& io, const Args& args, const std::string& queue,
                 const std::vector<std::pair<std::string, std::string>>& fields) {
  if (args.json) {
    std::string out = "{\"queue\": " + JsonString(queue);
    for (const auto& [name, value] : fields) out += ", " + JsonString(name) + ": " + JsonString(value);
    std::fprintf(io.out, "%s}\n", out.c_str());
  } else {
    for (const auto& [name, value] : fields) std::fprintf(io.out, "%s: %s\n", name.c_str(), value.c_str());
  }
}

void ShowProgress(Io& io, long long sent, long long total) {
  if (!::isatty(::fileno(io.err))) return;
  constexpr int kWidth = 30;
  const int filled = total > 0 ? static_cast<int>(sent * kWidth / total) : kWidth;
  std::fprintf(io.err, "\r[%s%s] %lld of %lld bytes", std::string(static_cast<size_t>(filled), '#').c_str(),
               std::string(static_cast<size_t>(kWidth - filled), ' ').c_str(), sent, total);
  std::fflush(io.err);
}

void EndProgress(Io& io) {
  if (::isatty(::fileno(io.err))) std::fprintf(io.err, "\n");
}

const std::vector<Command>& Commands() {
  static const std::vector<Command> commands = [] {
    std::vector<Command> all;
    AddInfoCommands(all);
    AddCardSetupCommands(all);
    AddToolsCommands(all);
    AddEncoderCommands(all);
    AddTestCardCommands(all);
    AddJobLogCommands(all);
    AddArchiveCommands(all);
    return all;
  }();
  return commands;
}

}  // namespace cli
