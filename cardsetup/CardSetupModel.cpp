// Card-setup behaviour. Every list selection made here notifies the same
// handlers as the user's would (ListControl), so selecting a ribbon rebuilds
// the combination list, and a combination rebuilds the monochrome list.
#include "CardSetupModel.h"

#include "DeviceCommunication.h"
#include "Log.h"
#include "PPDHelper.h"
#include "PpdTextValues.h"

namespace {

constexpr char kRibbonAlertHeader[] = "Orvex VKTS3S1 Printer Properties";
constexpr char kNoRibbon[] = "There is no ribbon or unable to communicate to printer";
constexpr char kMonochromeChosen[] =
    "Ribbon changed to Monochrome Ribbon. Please choose the type of Monochrome ribbon installed in your printer";
constexpr char kRibbonChanged[] = "Ribbon Changed to %s";
constexpr char kSaveHeader[] = "Save Printer Settings";
constexpr char kSaveFailed[] = "Authentication Error. Printer Settings are not saved";
constexpr char kUnknownRibbon[] = "Unknown";

// A selection by the program, as the platform's lists take it: a position
// the list does not hold is ignored (the stored combination of a pair without
// a position, a monochrome ribbon index beyond the Series 1 list), and
// choosing the item already chosen changes nothing and notifies nobody (so
// showing the stored combination keeps the monochrome choice just loaded).
void Select(ListControl& list, int position) {
  if (position < 0 || position >= list.NumberOfItems() || position == list.IndexOfSelectedItem()) return;
  list.SelectItemAtIndex(position);
}

}  // namespace

// Both answers are offered from the start, with none chosen.
CardSetupModel::CardSetupModel() {
  PrintOnBothside.AddItems({"No", "Yes"});
  ListControl* const tracked[kTrackedLists] = {&PrintOnBothside, &TypeOfRibbon, &RibbonCombinatioin,
                                               &MonoChromeConv,  &Rotate,       &PrintingMode};
  for (int list = 0; list < kTrackedLists; ++list)
    tracked[list]->OnSelectionChange([this, list] { changed_[static_cast<size_t>(list)] |= !loading_; });
}

void CardSetupModel::RegisterListHandlers() {
  PrintOnBothside.OnSelectionChange([this] { CardSetup_PrintOnBothSide(); });
  TypeOfRibbon.OnSelectionChange([this] { RibbonTypeChanged(); });
  RibbonCombinatioin.OnSelectionChange([this] { RibbonCombinatioinGotFocus(); });
  for (ListControl* list : {&MonoChromeConv, &Rotate, &PrintingMode, &TypeOfRibbon})
    list->OnSelectionChange([this] { EnableApplyButton(); });
}

void CardSetupModel::FillOptionLists() {
  Rotate.RemoveAllItems();
  Rotate.AddItems({"None", "Front", "Back", "Both"});
  MonoChromeConv.RemoveAllItems();
  MonoChromeConv.AddItems({"Diffusion", "Halftone", "Barcode", "Text"});
}

void CardSetupModel::StartUp(bool withPrinter) {
  if (withPrinter) {
    RegisterListHandlers();
    RibbonCombinatioin.AddItem("Front K");
  }
  FillOptionLists();
  bChangeMonoChromeConvIndex = false;
  FillRibbonTypeComboBox();
  LoadPPDDefaultValues();
  bChangeMonoChromeConvIndex = true;
}

// ---------------------------------------------------------------- catalog

void CardSetupModel::FillRibbonTypeComboBox() {
  TypeOfRibbon.RemoveAllItems();
  if (PPDHelper* helper = context_.driverSettings) {
    catalog_.Fill(helper->GetAllSupportedRibbonTypes(), helper->GetAllRibbonCombination());
  } else {
    catalog_.Fill(std::nullopt, std::nullopt);
  }
  TypeOfRibbon.AddItems(catalog_.ArrayAvailableRibbons);
}

int CardSetupModel::ComboIndexToPPDRibbonIndex(const std::optional<std::string>& text) const {
  return catalog_.ComboIndexToPPDRibbonIndex(text);
}

int CardSetupModel::ComboIndexToPPDRibbonCombiIndex(const std::optional<std::string>& text) const {
  return catalog_.ComboIndexToPPDRibbonCombiIndex(text);
}

int CardSetupModel::RibbonStringToPPDIndex(const std::string& printerRibbon) const {
  return catalog_.RibbonStringToPPDIndex(printerRibbon);
}

int CardSetupModel::PPDIndexToRibbonIndex(int ppdRibbonIndex) const {
  return catalog_.PPDIndexToRibbonIndex(ppdRibbonIndex);
}

void CardSetupModel::ChangeRibbonCombination(int ppdRibbonIndex) {
  const bool twoSided = TwoSided();
  RibbonCombinatioin.RemoveAllItems();
  chBoxAutoDetect.SetEnabled(false);
  chBoxAutoDetect.SetChecked(false);
  RibbonCatalog::Combinations list = RibbonCatalog::CombinationsFor(ppdRibbonIndex, twoSided);
  if (list.halfPanel) {
    chBoxAutoDetect.SetEnabled(true);
    chBoxAutoDetect.SetChecked(true);
  }
  RibbonCombinatioin.AddItems(list.items);
  if (ppdRibbonIndex != -1) {
    Select(RibbonCombinatioin, 0);
    ChangeMonoOption();
  }
}

// ---------------------------------------------------------- ribbon change

void CardSetupModel::NotifyRibbonChange(const std::string& driverRibbon) {
  const std::optional<std::string>& reported = context_.reportedRibbon;
  Prompter* prompter = context_.prompter;

  if (reported && (*reported == "None" || *reported == "N/A" || *reported == "No Ribbon")) {
    TypeOfRibbon.RemoveAllItems();
    TypeOfRibbon.AddItem(kUnknownRibbon);
    TypeOfRibbon.SetEnabled(false);
    Select(TypeOfRibbon, 0);
    RibbonCombinatioin.RemoveAllItems();
    RibbonCombinatioin.AddItem("None");
    RibbonCombinatioin.SetEnabled(false);
    Select(RibbonCombinatioin, 0);
    ApplySettingsBtn.SetEnabled(false);
    if (prompter) prompter->Show(kRibbonAlertHeader, kNoRibbon, {"OK"}, Prompter::Level::kNote, context_.icon);
    return;
  }

  if (reported && *reported == "Monochrome") {
    // The printer cannot tell which monochrome ribbon it holds: the user picks it.
    TypeOfRibbon.RemoveAllItems();
    TypeOfRibbon.SetEnabled(true);
    ApplySettingsBtn.SetEnabled(true);
    TypeOfRibbon.AddItems(RibbonCatalog::MonochromeRibbonNames(context_.printerType));
    if (nPPDCurrentRibbonIndex >= 11 && nPPDCurrentRibbonIndex <= 14) {
      // Indices 11 to 14 map straight onto the list; on the two-item Series 1
      // list 13 and 14 fall off its end and select nothing.
      Select(TypeOfRibbon, nPPDCurrentRibbonIndex - 11);
      Select(MonoChromeConv, g_nMonoOption);
    } else {
      Select(TypeOfRibbon, 0);
      Select(MonoChromeConv, 0);
      if (prompter)
        prompter->Show(kRibbonAlertHeader, kMonochromeChosen, {"OK"}, Prompter::Level::kNote, context_.icon);
    }
    return;
  }

  // A ribbon code without a name is reported as no text at all: it never
  // counts as the same ribbon.
  if (reported && RibbonCatalog::Contains(*reported, driverRibbon)) {
    ApplySettingsBtn.SetEnabled(false);
    return;
  }

  const std::string name = reported.value_or("(null)");
  const int ppdIndex = reported ? RibbonStringToPPDIndex(*reported) : 0;
  Select(TypeOfRibbon, PPDIndexToRibbonIndex(ppdIndex));
  Select(MonoChromeConv, 0);
  // A ribbon change the user has been told about can be saved with Apply,
  // whatever the ribbon (Close would store it too).
  ApplySettingsBtn.SetEnabled(true);
  if (prompter)
    prompter->Show(kRibbonAlertHeader, StringPrintf(kRibbonChanged, name.c_str()), {"OK"}, Prompter::Level::kNote,
                   context_.icon);
}

void CardSetupModel::RibbonTypeChanged() {
  const std::optional<std::string> ribbon = TypeOfRibbon.ObjectValueOfSelectedItem();
  if (!ribbon || *ribbon == kUnknownRibbon) return;
  ChangeRibbonCombination(ComboIndexToPPDRibbonIndex(ribbon));
}

void CardSetupModel::RibbonCombinatioinGotFocus() {
  if (RibbonCombinatioin.NumberOfItems() == 1) Select(RibbonCombinatioin, 0);
  ChangeMonoOption();
}

// ---------------------------------------------------------------- options

void CardSetupModel::LoadPPDDefaultValues() {
  PPDHelper* helper = context_.driverSettings;
  changed_.fill(false);
  if (!helper) return;  // start-up went on without driver settings: nothing to show
  loading_ = true;
  const std::array<int, 7> stored = helper->GetPPDDefaultValues();
  const int rotation = stored[0];
  int mono = stored[1];
  const int printingMode = stored[2];
  const int dualSide = stored[3];
  const int combination = stored[4];
  const int ribbon = stored[5];
  const int halfPanel = stored[6];

  // The KdO combinations have no monochrome conversion.
  if (combination == 9 || combination == 12) mono = 0;

  nPPDCurrentRibbonIndex = ribbon;
  const int ribbonPosition = PPDIndexToRibbonIndex(ribbon);
  VktLog("New Index is %d", ribbonPosition);
  Select(TypeOfRibbon, ribbonPosition);  // rebuilds the combination list

  const int combinationPosition = RibbonCatalog::GetRibbonCombinationIndex(ribbon, combination);

  Select(PrintOnBothside, dualSide);
  Select(PrintingMode, printingMode);
  Select(Rotate, rotation);
  // The combination first: choosing it rebuilds the monochrome list.
  Select(RibbonCombinatioin, combinationPosition);

  // A stored 2 or 3 shown on the two-item "Barcode", "Text" list.
  const int monoItems = MonoChromeConv.NumberOfItems();
  if (mono >= monoItems) mono -= monoItems;
  Select(MonoChromeConv, mono);
  g_nMonoOption = mono;

  bChangeMonoChromeConvIndex = false;
  // The ribbon follows the printer; a monochrome ribbon enables the list again.
  TypeOfRibbon.SetEnabled(false);

  if (halfPanel == 0) {
    chBoxAutoDetect.SetEnabled(RibbonCatalog::IsHalfPanelRibbon(ribbon));
    chBoxAutoDetect.SetChecked(false);
  } else {
    chBoxAutoDetect.SetEnabled(true);
    chBoxAutoDetect.SetChecked(true);
  }

  // What the ribbon-change check selects is a change Apply writes.
  loading_ = false;
  NotifyRibbonChange(TypeOfRibbon.ItemAt(ribbonPosition));
}

void CardSetupModel::ChangeMonoOption() {
  if (PrintOnBothside.IndexOfSelectedItem() < 0 || RibbonCombinatioin.IndexOfSelectedItem() < 0) return;
  MonoChromeConv.RemoveAllItems();
  const int combination = ComboIndexToPPDRibbonCombiIndex(RibbonCombinatioin.ObjectValueOfSelectedItem());
  const int ribbon = ComboIndexToPPDRibbonIndex(TypeOfRibbon.ObjectValueOfSelectedItem());
  VktLog("RibbonCombi %d", combination);

  RibbonCatalog::MonoConversions list = RibbonCatalog::MonoConversionsFor(combination, TwoSided());
  MonoChromeConv.AddItems(list.items);
  if (list.selectFirst) Select(MonoChromeConv, 0);

  if (bChangeMonoChromeConvIndex) {
    Select(MonoChromeConv, 0);
    // White ribbons print text best.
    if (ribbon == 13 || ribbon == 14) Select(MonoChromeConv, 3);
  }
}

void CardSetupModel::ChangeRotationOption() {
  Rotate.RemoveAllItems();
  Rotate.AddItems(TwoSided() ? std::vector<std::string>{"None", "Front", "Back", "Both"}
                             : std::vector<std::string>{"None", "Front"});
  Select(Rotate, 0);
}

void CardSetupModel::ChangePrintingMode() {
  PrintingMode.RemoveAllItems();
  PrintingMode.AddItems(TwoSided() ? std::vector<std::string>{"Print", "Encode Only"}
                                   : std::vector<std::string>{"Print", "Encode Only", "Print and Encode on same side"});
  Select(PrintingMode, 0);
}

void CardSetupModel::CardSetup_PrintOnBothSide() {
  ChangePrintingMode();
  ChangeRotationOption();
  RibbonTypeChanged();
}

void CardSetupModel::EnableApplyButton() {
  // A ribbon the printer could not name cannot be applied.
  ApplySettingsBtn.SetEnabled(TypeOfRibbon.ObjectValueOfSelectedItem() != kUnknownRibbon);
}

void CardSetupModel::chBoxAutoDetectClicked() { ApplySettingsBtn.SetEnabled(true); }

void CardSetupModel::CardSetupRestoreDefaults() {
  Select(PrintOnBothside, context_.printerType == 0 ? 1 : 0);
  Select(PrintingMode, 0);
  Select(Rotate, 0);
  Select(MonoChromeConv, 0);
  Select(RibbonCombinatioin, 0);
  if (TypeOfRibbon.IsEnabled()) Select(TypeOfRibbon, 0);
  if (chBoxAutoDetect.IsEnabled()) chBoxAutoDetect.SetChecked(true);
  ApplySettingsBtn.SetEnabled(true);
}

int CardSetupModel::SaveSettings() {
  // Set even when the save fails: Close must not store the ribbon on its own then.
  bSettingSaved = true;

  // A list nobody changed since loading keeps its stored line (-1 leaves a
  // line alone): what was loaded is what Apply writes back, even where the
  // list can only show it approximately (Diffusion stored for a combination
  // that offers Barcode and Text).
  const auto ifChanged = [this](TrackedList list, int value) { return changed_[list] ? value : -1; };
  PPDInformation values;
  values.Rotation = ifChanged(kRotation, Rotate.IndexOfSelectedItem());
  values.PrintingMode = ifChanged(kMode, PrintingMode.IndexOfSelectedItem());
  values.DualSide = ifChanged(kBothSides, PrintOnBothside.IndexOfSelectedItem());
  values.RibbonType = ifChanged(kRibbon, ComboIndexToPPDRibbonIndex(TypeOfRibbon.ObjectValueOfSelectedItem()));
  values.AutoHalf = chBoxAutoDetect.IsChecked() ? 1 : 0;
  const int combination = ComboIndexToPPDRibbonCombiIndex(RibbonCombinatioin.ObjectValueOfSelectedItem());
  values.RibbonCombination = ifChanged(kCombination, combination);
  values.MonoOption =
      ifChanged(kMono, RibbonCatalog::MonoOptionForDriver(MonoChromeConv.IndexOfSelectedItem(), combination));

  const CardSetupApplyExtras extras = context_.applyExtras ? context_.applyExtras() : CardSetupApplyExtras{};
  values.FrontX = extras.offsets[0];
  values.FrontY = extras.offsets[1];
  values.BackX = extras.offsets[2];
  values.BackY = extras.offsets[3];

  // The label holds the printer's reply with its terminator; an empty label saves an empty text.
  std::string serial = extras.serialLabel;
  if (!serial.empty()) serial.pop_back();
  PPDHelper* helper = context_.driverSettings;
  // A garbled reply must not cost the whole Apply: the PPD service refuses a
  // serial number or address outside its rules, so the stored ones stay.
  if (const auto problem = ppd_text_values::Problem("PrinterSerialNo", serial)) {
    VktLog("Serial number not saved: %s", problem->c_str());
    serial = helper ? helper->PPD_strPrinterSerialNo : "";
  }
  values.SerialNo = serial;

  DeviceCommunication* session = context_.session;
  if (session && session->IsNetworkPrinter()) {
    values.IPAddress = session->GetPrinterIPAddress().value_or("");
    VktLog("Printer IP Address is %s", values.IPAddress.c_str());
    const auto problem =
        values.IPAddress.empty() ? std::nullopt : ppd_text_values::Problem("PrinterIPAddress", values.IPAddress);
    if (problem) {
      VktLog("Printer IP Address not saved: %s", problem->c_str());
      values.IPAddress.clear();  // an empty address keeps the stored one
    }
  }

  ApplySettingsBtn.SetEnabled(false);
  const int result = helper ? helper->SavePPDInformation(values) : -1;
  if (result > 0) changed_.fill(false);  // the file holds what the lists show
  if (result < 0) {
    if (context_.prompter)
      context_.prompter->Show(kSaveHeader, kSaveFailed, {"Ok"}, Prompter::Level::kStop, context_.icon);
    ApplySettingsBtn.SetEnabled(true);
  }
  return result;
}

void CardSetupModel::StoreRibbonOnClose() {
  PPDHelper* helper = context_.driverSettings;
  if (!helper) return;
  helper->SaveRibbonType(ComboIndexToPPDRibbonIndex(TypeOfRibbon.ObjectValueOfSelectedItem()));
}

bool CardSetupModel::TwoSided() const { return PrintOnBothside.IndexOfSelectedItem() == 1; }
