// RibbonCatalog: the card-setup tab's tables that tie together the driver's
// ribbon and combination choices (PPD indices), the texts of the lists and the
// ribbon names the printer reports. No widgets: the tab's controller feeds it
// the PPD's choice texts and asks it for positions and list contents.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

class RibbonCatalog {
 public:
  // Choice display texts keyed by the decimal text of the PPD index ("3").
  using Table = std::map<std::string, std::string>;

  // The combination list of one ribbon on one side choice.
  struct Combinations {
    bool halfPanel = false;  // the automatic half-panel check box is enabled and checked
    std::vector<std::string> items;
  };

  // The monochrome-conversion list that follows a combination.
  struct MonoConversions {
    std::vector<std::string> items;
    bool selectFirst = false;  // the "None" list selects its only item
  };

  // Replaces both tables (a missing table counts as empty) and sorts the
  // ribbon texts by plain comparison into ArrayAvailableRibbons.
  void Fill(std::optional<Table> ribbonTypes, std::optional<Table> ribbonCombinations);

  // PPD ribbon index whose text equals `text` exactly; -1 for no text or no match.
  int ComboIndexToPPDRibbonIndex(const std::optional<std::string>& text) const;
  // PPD combination index whose text equals `text` once every space is gone
  // from both; -1 for no text or no match.
  int ComboIndexToPPDRibbonCombiIndex(const std::optional<std::string>& text) const;
  // PPD ribbon index whose text contains the printer's ribbon name, ignoring
  // case; 0 (the first colour ribbon) when none does.
  int RibbonStringToPPDIndex(const std::string& printerRibbon) const;
  // True when `b` contains `a`, ignoring case.
  static bool Contains(const std::string& a, const std::string& b);
  // Position of `text` in ArrayAvailableRibbons; 0 when absent.
  int LookupArrayIndex(const std::string& text) const;
  // Position in the ribbon list of the ribbon with this PPD index; 0 when the
  // PPD does not offer it.
  int PPDIndexToRibbonIndex(int ppdRibbonIndex) const;

  // List position of a stored combination in the two-sided list of a ribbon;
  // -1 when the pair has none.
  static int GetRibbonCombinationIndex(int ppdRibbonIndex, int ppdCombinationIndex);
  // What the combination list offers for a ribbon (empty for an unknown index).
  static Combinations CombinationsFor(int ppdRibbonIndex, bool twoSided);
  // True for the half-panel ribbons (3, 4, 8, 9).
  static bool IsHalfPanelRibbon(int ppdRibbonIndex);
  // The monochrome ribbon names offered when the printer says "Monochrome".
  static std::vector<std::string> MonochromeRibbonNames(long printerType);
  // The monochrome conversions allowed for a PPD combination.
  static MonoConversions MonoConversionsFor(int ppdCombinationIndex, bool twoSided);
  // The list position M of the monochrome list in the driver's numbering:
  // the two-item list of combinations 1 and 14 starts at "Barcode" (M + 2),
  // and the KdO combinations 9 and 12 send 5, a value the driver has no line
  // for, so that line is left as it is.
  static int MonoOptionForDriver(int listPosition, int ppdCombinationIndex);

  Table DictRibbonTypes;
  Table DictRibbonCombi;
  std::vector<std::string> ArrayAvailableRibbons;
};
