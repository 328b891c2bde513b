// Line-by-line comparison of an installed PPD with its edited copy.
#include "PpdEditCheck.h"

#include <array>
#include <map>
#include <set>
#include <vector>

#include "Log.h"
#include "PpdTextValues.h"

namespace {

// Model prefixes of the option keywords; the empty prefix is the PPD of an
// unknown model, whose keywords are the bare option names.
constexpr std::array<std::string_view, 5> kModelPrefixes = {"VKTS32", "VKTS31", "VKTS1", "VKTS3C", ""};

constexpr std::array<std::string_view, 8> kModelOptions = {"DualSidePrinting", "Orientation", "MonoConversion",
                                                           "PrintingMode",     "RibbonName",  "RibbonCombination",
                                                           "AutoHalfPanel",    "Rotation"};

// Attributes whose value the tool writes with "%d".
constexpr std::array<std::string_view, 15> kNumberAttributes = {
    "FrontX",       "BackX",     "FrontY",   "BackY", "EnableLog", "EachDayLogFile", "Time",   "Date",
    "SerialNumber", "IPAddress", "UserName", "JobID", "MTrack1",   "MTrack2",        "MTrack3"};

// Attributes whose value is free text.
constexpr std::array<std::string_view, 5> kTextAttributes = {"PrinterIPAddress", "PrinterSerialNo", "Separator",
                                                             "FileName", "StaticText"};

template <size_t N>
bool OneOf(std::string_view word, const std::array<std::string_view, N>& words) {
  for (std::string_view w : words)
    if (w == word) return true;
  return false;
}

std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  size_t pos = 0;
  while (true) {
    size_t end = text.find('\n', pos);
    if (end == std::string_view::npos) {
      lines.push_back(text.substr(pos));
      return lines;
    }
    lines.push_back(text.substr(pos, end - pos));
    pos = end + 1;
  }
}

bool IsModelOption(std::string_view keyword) {
  for (std::string_view prefix : kModelPrefixes) {
    if (keyword.substr(0, prefix.size()) != prefix) continue;
    if (OneOf(keyword.substr(prefix.size()), kModelOptions)) return true;
  }
  return false;
}

// " 12", " -3": what "%d" after "Name: " produces.
bool IsFormattedNumber(std::string_view value) {
  if (value.size() < 2 || value[0] != ' ') return false;
  value.remove_prefix(1);
  if (value[0] == '-') value.remove_prefix(1);
  if (value.empty() || value.size() > 10) return false;
  for (char c : value)
    if (c < '0' || c > '9') return false;
  return true;
}

// The choice keywords of one option: "*<keyword> <choice>/<text>: ..." lines
// inside its "*OpenUI *<keyword>" ... "*CloseUI: *<keyword>" block.
std::set<std::string, std::less<>> ChoicesOf(const std::vector<std::string_view>& lines, std::string_view keyword) {
  std::set<std::string, std::less<>> choices;
  const std::string open = "*OpenUI *" + std::string(keyword);
  const std::string close = "*CloseUI: *" + std::string(keyword);
  const std::string choicePrefix = "*" + std::string(keyword) + " ";
  bool inBlock = false;
  for (std::string_view line : lines) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (!inBlock) {
      inBlock = line.substr(0, open.size()) == open && line.size() > open.size() &&
                (line[open.size()] == '/' || line[open.size()] == ':');
      continue;
    }
    if (line.substr(0, close.size()) == close) {
      inBlock = false;
      continue;
    }
    if (line.substr(0, choicePrefix.size()) != choicePrefix) continue;
    std::string_view rest = line.substr(choicePrefix.size());
    size_t end = rest.find_first_of("/:");
    if (end == std::string_view::npos) continue;
    std::string_view choice = rest.substr(0, end);
    while (!choice.empty() && (choice.back() == ' ' || choice.back() == '\t')) choice.remove_suffix(1);
    if (!choice.empty()) choices.emplace(choice);
  }
  return choices;
}

class LineJudge {
 public:
  explicit LineJudge(const std::vector<std::string_view>& installedLines) : installedLines_(installedLines) {}

  std::optional<std::string> Judge(std::string_view installed, std::string_view proposed) {
    if (!installed.empty() && installed.back() == '\r') {
      if (proposed.empty() || proposed.back() != '\r') return "the line ending changed";
      installed.remove_suffix(1);
      proposed.remove_suffix(1);
    }
    size_t colon = installed.find(':');
    if (installed.empty() || installed[0] != '*' || colon == std::string_view::npos) return "this line may not change";
    std::string_view keyword = installed.substr(1, colon - 1);
    std::string_view head = installed.substr(0, colon + 1);  // "*Keyword:"
    if (proposed.substr(0, head.size()) != head) return "the keyword of this line may not change";
    std::string_view value = proposed.substr(head.size());

    if (keyword.substr(0, 7) == "Default" && IsModelOption(keyword.substr(7)))
      return JudgeDefault(installed, keyword.substr(7), head, value);
    if (OneOf(keyword, kNumberAttributes)) {
      if (!IsFormattedNumber(value)) return "the value of " + std::string(keyword) + " is not a number";
      return std::nullopt;
    }
    if (OneOf(keyword, kTextAttributes)) {
      // The tool writes the printer's address and serial number after a
      // blank ("*PrinterSerialNo: S32-000123"), the job-log texts without.
      if (keyword.substr(0, 7) == "Printer" && value.substr(0, 1) == " ") value.remove_prefix(1);
      return ppd_text_values::Problem(keyword, value);
    }
    return "this line may not change";
  }

 private:
  std::optional<std::string> JudgeDefault(std::string_view installed, std::string_view option, std::string_view head,
                                          std::string_view value) {
    // The blank(s) between the colon and the choice stay as installed.
    std::string_view installedValue = installed.substr(head.size());
    size_t blanks = installedValue.find_first_not_of(" \t");
    if (blanks == std::string_view::npos) blanks = installedValue.size();
    std::string_view separator = installedValue.substr(0, blanks);
    if (value.substr(0, separator.size()) != separator)
      return "the default line of " + std::string(option) + " is malformed";
    std::string_view choice = value.substr(separator.size());
    auto known = choices_.find(option);
    if (known == choices_.end())
      known = choices_.emplace(std::string(option), ChoicesOf(installedLines_, option)).first;
    if (!known->second.contains(choice)) return std::string(option) + " has no choice \"" + SafeText(choice) + "\"";
    return std::nullopt;
  }

  static std::string SafeText(std::string_view text) {
    std::string safe;
    for (unsigned char c : text.substr(0, 64)) safe += (c < 0x20 || c == 0x7F || c == '"') ? '?' : static_cast<char>(c);
    return safe;
  }

  const std::vector<std::string_view>& installedLines_;
  std::map<std::string, std::set<std::string, std::less<>>, std::less<>> choices_;
};

}  // namespace

std::optional<std::string> PpdEditCheck::FindForbiddenChange(std::string_view installed, std::string_view proposed) {
  const std::vector<std::string_view> before = SplitLines(installed);
  const std::vector<std::string_view> after = SplitLines(proposed);
  if (before.size() != after.size())
    return StringPrintf("the edited PPD has %zu lines, the installed one %zu", after.size(), before.size());
  LineJudge judge(before);
  for (size_t i = 0; i < before.size(); ++i) {
    if (before[i] == after[i]) continue;
    if (std::optional<std::string> reason = judge.Judge(before[i], after[i]))
      return StringPrintf("line %zu: %s", i + 1, reason->c_str());
  }
  return std::nullopt;
}
