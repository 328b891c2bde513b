// The printer's ribbon codes and the capability flags of the user
// interface's ribbon list.
#include <map>
#include <optional>
#include <string>

#include "DeviceCommunication.h"
#include "Log.h"

std::optional<std::string> GetRibbonName(int code) {
  // Keyed by the decimal text of the code, as the printer reports it.
  static const std::map<std::string, std::string> kRibbonNames = {
      {"0", "No Ribbon"},
      {"1", "Monochrome"},
      {"31", "YMCKOKO"},
      {"32", "1/2 YMCKOKO 250 image"},
      {"33", "1/3 YMCKOK 310 image"},
      {"34", "WrKr 600 image"},
      {"43", "YMCKO"},
      {"44", "1/2 YMCKO 400"},
      {"47", "KRO"},
      {"50", "YMCKO 200"},
      {"51", "YMCKOK 165"},
      {"52", "1/2 YMCKO 250 image"},
      {"53", "KrO 500"},
      {"54", "KdO 500"},
      {"57", "Black Monochrome 2000"},
      {"58", "Black Monochrome 1000"},
      {"62", "YMCKOO"},
      {"63", "White Mono 1400 image"},
      {"64", "1/2 YMCKO 400 image"},
      {"65", "YMCKO 280 image"},
      {"66", "YMCKOK 230 image"},
      {"67", "KrO 700"},
      {"68", "KdO 700"},
      {"70", "YMCKO 100"},
      {"71", "1/2 YMCKO 400 image"},  // shares its name with 64
  };
  std::optional<std::string> name;
  if (auto it = kRibbonNames.find(StringPrintf("%i", code)); it != kRibbonNames.end()) name = it->second;
  VktLog("!!!value: %s", name ? name->c_str() : "(null)");
  return name;
}

void GetRibbonDetails(int ribbonIndex, int* firstFlag, int* secondFlag) {
  int first = 0;
  int second = 0;
  switch (ribbonIndex) {
    case 0:
    case 2:
    case 3:
    case 4:
    case 5:
    case 6:
    case 7:
      first = 1;
      break;
    case 1:
    case 14:
      first = 1;
      second = 1;
      break;
    default:  // 8 to 13 and every other index
      break;
  }
  if (firstFlag) *firstFlag = first;
  if (secondFlag) *secondFlag = second;
}
