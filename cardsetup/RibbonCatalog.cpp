// The ribbon catalog: list texts, PPD indices and the combinations each
// ribbon family allows.
#include "RibbonCatalog.h"

#include <QString>
#include <algorithm>
#include <cstdlib>

#include "Log.h"

namespace {

// Combination texts of the list. The irregular spaces are the tool's own and
// are kept: matching against the PPD ignores spaces anyway.
constexpr char kYmcoK[] = "Front YMCO , Back K";
constexpr char kYmckoYmcko[] = "Front YMCKO , Back YMCKO";
constexpr char kYmcKo[] = "Front YMC , Back KO";
constexpr char kYmckK[] = "Front YMCK , Back K";
constexpr char kYmckoK[] = "Front YMCKO , Back K";
constexpr char kYmckoKo[] = "Front YMCKO , Back KO";
constexpr char kYmcoKo[] = "Front YMCO , Back KO";
constexpr char kYmckKo[] = "Front YMCK , Back KO";
constexpr char kKrOKrO[] = "Front KrO ,  Back KrO";
constexpr char kKdOKdO[] = "Front KdO , Back KdO";
constexpr char kKK[] = "Front K , Back K";
constexpr char kKKNoSpace[] = "Front K ,Back K";
constexpr char kKrO[] = "Front KrO";
constexpr char kKdO[] = "Front KdO";
constexpr char kK[] = "Front K";
constexpr char kYmcko[] = "Front YMCKO";

std::string WithoutSpaces(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
  return text;
}

}  // namespace

void RibbonCatalog::Fill(std::optional<Table> ribbonTypes, std::optional<Table> ribbonCombinations) {
  DictRibbonTypes = ribbonTypes.value_or(Table{});
  DictRibbonCombi = ribbonCombinations.value_or(Table{});
  ArrayAvailableRibbons.clear();
  for (const auto& entry : DictRibbonTypes) ArrayAvailableRibbons.push_back(entry.second);
  std::sort(ArrayAvailableRibbons.begin(), ArrayAvailableRibbons.end());
}

int RibbonCatalog::ComboIndexToPPDRibbonIndex(const std::optional<std::string>& text) const {
  if (!text) return -1;
  for (const auto& [key, value] : DictRibbonTypes) {
    if (value == *text) {
      VktLog("key: %s, value: %s", key.c_str(), value.c_str());
      return std::atoi(key.c_str());
    }
  }
  return -1;
}

int RibbonCatalog::ComboIndexToPPDRibbonCombiIndex(const std::optional<std::string>& text) const {
  if (!text) return -1;
  const std::string wanted = WithoutSpaces(*text);
  for (const auto& [key, value] : DictRibbonCombi) {
    if (WithoutSpaces(value) == wanted) {
      VktLog("key: %s, value: %s", key.c_str(), value.c_str());
      return std::atoi(key.c_str());
    }
  }
  return -1;
}

int RibbonCatalog::RibbonStringToPPDIndex(const std::string& printerRibbon) const {
  for (const auto& [key, value] : DictRibbonTypes) {
    VktLog("###key: %s, value: %s", key.c_str(), value.c_str());
    if (Contains(printerRibbon, value)) {
      VktLog("key: %s, value: %s", key.c_str(), value.c_str());
      return std::atoi(key.c_str());
    }
  }
  return 0;
}

bool RibbonCatalog::Contains(const std::string& a, const std::string& b) {
  return QString::fromStdString(b).contains(QString::fromStdString(a), Qt::CaseInsensitive);
}

int RibbonCatalog::LookupArrayIndex(const std::string& text) const {
  auto found = std::find(ArrayAvailableRibbons.begin(), ArrayAvailableRibbons.end(), text);
  return found == ArrayAvailableRibbons.end() ? 0 : static_cast<int>(found - ArrayAvailableRibbons.begin());
}

int RibbonCatalog::PPDIndexToRibbonIndex(int ppdRibbonIndex) const {
  for (const auto& [key, value] : DictRibbonTypes) {
    if (std::atoi(key.c_str()) != ppdRibbonIndex) continue;
    VktLog("key: %s, value: %s", key.c_str(), value.c_str());
    const int position = LookupArrayIndex(value);
    VktLog("nRibbonIndex: %d", position);
    return position;
  }
  return 0;
}

int RibbonCatalog::GetRibbonCombinationIndex(int ribbon, int combination) {
  if (ribbon < 0 || ribbon > 18) return -1;
  if (ribbon >= 10) return 0;
  if (ribbon <= 4) return combination >= 0 && combination <= 2 ? combination : -1;
  if (ribbon <= 6) {
    static const std::map<int, int> kYmckok = {{1, 2}, {2, 1}, {3, 3}, {4, 0}};
    auto found = kYmckok.find(combination);
    return found == kYmckok.end() ? -1 : found->second;
  }
  if (ribbon <= 8) {
    static const std::map<int, int> kYmckoko = {{0, 3}, {1, 7}, {2, 6}, {3, 5}, {4, 1}, {5, 0}, {6, 2}, {7, 4}};
    auto found = kYmckoko.find(combination);
    return found == kYmckoko.end() ? -1 : found->second;
  }
  static const std::map<int, int> kOneThird = {{0, 1}, {1, 4}, {2, 3}, {3, 2}, {4, 0}};
  auto found = kOneThird.find(combination);
  return found == kOneThird.end() ? -1 : found->second;
}

bool RibbonCatalog::IsHalfPanelRibbon(int ribbon) { return ribbon == 3 || ribbon == 4 || ribbon == 8 || ribbon == 9; }

RibbonCatalog::Combinations RibbonCatalog::CombinationsFor(int ribbon, bool twoSided) {
  Combinations list;
  list.halfPanel = IsHalfPanelRibbon(ribbon);
  switch (ribbon) {
    case 0: case 1: case 2: case 3: case 4:
      list.items = twoSided ? std::vector<std::string>{kYmcoK, kYmckoYmcko, kYmcKo} : std::vector<std::string>{kYmcko};
      break;
    case 5: case 6:
      list.items = twoSided ? std::vector<std::string>{kYmckoK, kYmcKo, kYmckoYmcko, kYmckK}
                            : std::vector<std::string>{kYmcko};
      break;
    case 7: case 8:
      list.items = twoSided ? std::vector<std::string>{kYmckoKo, kYmckoK, kYmcoKo, kYmcoK, kYmckKo, kYmckK, kYmcKo,
                                                       kYmckoYmcko}
                            : std::vector<std::string>{kYmcko};
      break;
    case 9:
      // The one-third panel ribbon also offers black on both sides behind its own list.
      list.items = twoSided ? std::vector<std::string>{kYmckoK, kYmcoK, kYmckK, kYmcKo, kYmckoYmcko, kKKNoSpace}
                            : std::vector<std::string>{kYmcko, kK};
      break;
    case 10: case 11: case 12:
      list.items = {twoSided ? kKKNoSpace : kK};
      break;
    case 13: case 14:
      list.items = {twoSided ? kKK : kK};
      break;
    case 15: case 16:
      list.items = {twoSided ? kKdOKdO : kKdO};
      break;
    case 17: case 18:
      list.items = {twoSided ? kKrOKrO : kKrO};
      break;
    default:
      break;
  }
  return list;
}

std::vector<std::string> RibbonCatalog::MonochromeRibbonNames(long printerType) {
  if (printerType == 2) return {"Standard Monochrome", "Standard White Monochrome"};
  return {"Standard Monochrome", "High Capacity Monochrome", "Standard White Monochrome",
          "High Capacity White Monochrome"};
}

RibbonCatalog::MonoConversions RibbonCatalog::MonoConversionsFor(int combination, bool twoSided) {
  // Colour on both sides limits the list to the black-panel conversions only
  // when two sides are printed.
  if ((twoSided && (combination == 14 || combination == 1)) || (!twoSided && combination == 14)) {
    return {{"Barcode", "Text"}, false};
  }
  if (combination == 12 || combination == 9) return {{"None"}, true};
  return {{"Diffusion", "Halftone", "Barcode", "Text"}, false};
}

int RibbonCatalog::MonoOptionForDriver(int listPosition, int combination) {
  int mono = listPosition;
  if (combination == 1 || combination == 14) mono += 2;
  if (combination == 9 || combination == 12) mono = 5;
  return mono;
}
