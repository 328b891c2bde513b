// Card-setup tab behaviour. Every list selection made here notifies the same
// handlers as the user's would (VktComboBox), so selecting a ribbon rebuilds
// the combination list, and a combination rebuilds the monochrome list.
#include "CardSetupController.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <cstdlib>

#include "AppDelegate.h"
#include "Log.h"
#include "ui_MainWindow.h"

namespace {

constexpr char kRibbonAlertHeader[] = "Orvex VKTS3S1 Printer Properties";
constexpr char kNoRibbon[] = "There is no ribbon or unable to communicate to printer";
constexpr char kMonochromeChosen[] =
    "Ribbon changed to Monochrome Ribbon. Please choose the type of Monochrome ribbon installed in your printer";
constexpr char kRibbonChanged[] = "Ribbon Changed to %s";
constexpr char kSaveHeader[] = "Save Printer Settings";
constexpr char kSaveFailed[] = "Authentication Error. Printer Settings are not saved";
constexpr char kUnknownRibbon[] = "Unknown";

std::optional<std::string> Text(const QString& text) {
  if (text.isNull()) return std::nullopt;
  return text.toStdString();
}

QStringList Items(const std::vector<std::string>& texts) {
  QStringList items;
  for (const std::string& text : texts) items << QString::fromStdString(text);
  return items;
}

// A selection by the program, as the platform's lists take it: a position
// the list does not hold is ignored (the stored combination of a pair without
// a position, a monochrome ribbon index beyond the Series 1 list), and
// choosing the item already chosen changes nothing and notifies nobody (so
// showing the stored combination keeps the monochrome choice just loaded).
void Select(VktComboBox* list, int position) {
  if (position < 0 || position >= list->NumberOfItems() || position == list->IndexOfSelectedItem()) return;
  list->SelectItemAtIndex(position);
}

// A field's integer value the way the original reads text fields: leading
// blanks, a sign and digits; 0 when there are none.
int IntValue(const QLineEdit* field) { return std::atoi(field->text().toUtf8().constData()); }

}  // namespace

CardSetupController::CardSetupController(AppDelegate& app) : app_(app) {
  Ui::MainWindow& ui = app_.ui();
  QObject::connect(ui.ApplySettingsBtn, &QPushButton::clicked, &app_, [this] { SaveSettings(); });
  QObject::connect(ui.CardSetupRestoreDefaultsBtn, &QPushButton::clicked, &app_, [this] { CardSetupRestoreDefaults(); });
  // clicked, not toggled: only the user's clicks count as a change to apply.
  QObject::connect(ui.chBoxAutoDetect, &QCheckBox::clicked, &app_, [this] { chBoxAutoDetectClicked(); });
}

// ---------------------------------------------------------------- catalog

void CardSetupController::FillRibbonTypeComboBox() {
  VktComboBox* ribbons = app_.ui().TypeOfRibbon;
  ribbons->RemoveAllItems();
  PPDHelper* helper = app_.objPPDHelper();
  if (helper) {
    catalog_.Fill(helper->GetAllSupportedRibbonTypes(), helper->GetAllRibbonCombination());
  } else {
    catalog_.Fill(std::nullopt, std::nullopt);
  }
  ribbons->AddItems(Items(catalog_.ArrayAvailableRibbons));
}

int CardSetupController::ComboIndexToPPDRibbonIndex(const QString& text) const {
  return catalog_.ComboIndexToPPDRibbonIndex(Text(text));
}

int CardSetupController::ComboIndexToPPDRibbonCombiIndex(const QString& text) const {
  return catalog_.ComboIndexToPPDRibbonCombiIndex(Text(text));
}

int CardSetupController::RibbonStringToPPDIndex(const QString& printerRibbon) const {
  return catalog_.RibbonStringToPPDIndex(printerRibbon.toStdString());
}

bool CardSetupController::Contains(const QString& a, const QString& b) {
  return RibbonCatalog::Contains(a.toStdString(), b.toStdString());
}

int CardSetupController::LookupArrayIndex(const QString& text) const {
  return catalog_.LookupArrayIndex(text.toStdString());
}

int CardSetupController::PPDIndexToRibbonIndex(int ppdRibbonIndex) const {
  return catalog_.PPDIndexToRibbonIndex(ppdRibbonIndex);
}

int CardSetupController::GetRibbonCombinationIndex(int ppdRibbonIndex, int ppdCombinationIndex) {
  return RibbonCatalog::GetRibbonCombinationIndex(ppdRibbonIndex, ppdCombinationIndex);
}

void CardSetupController::ChangeRibbonCombination(int ppdRibbonIndex) {
  Ui::MainWindow& ui = app_.ui();
  const bool twoSided = TwoSided();
  ui.RibbonCombinatioin->RemoveAllItems();
  ui.chBoxAutoDetect->setEnabled(false);
  ui.chBoxAutoDetect->setChecked(false);
  RibbonCatalog::Combinations list = RibbonCatalog::CombinationsFor(ppdRibbonIndex, twoSided);
  if (list.halfPanel) {
    ui.chBoxAutoDetect->setEnabled(true);
    ui.chBoxAutoDetect->setChecked(true);
  }
  ui.RibbonCombinatioin->AddItems(Items(list.items));
  if (ppdRibbonIndex != -1) {
    Select(ui.RibbonCombinatioin, 0);
    ChangeMonoOption();
  }
}

// ---------------------------------------------------------- ribbon change

void CardSetupController::NotifyRibbonChange(const QString& driverRibbon) {
  Ui::MainWindow& ui = app_.ui();
  const std::optional<std::string>& reported = app_.strRibbonType;

  if (reported && (*reported == "None" || *reported == "N/A" || *reported == "No Ribbon")) {
    ui.TypeOfRibbon->RemoveAllItems();
    ui.TypeOfRibbon->AddItem(kUnknownRibbon);
    ui.TypeOfRibbon->setEnabled(false);
    Select(ui.TypeOfRibbon, 0);
    ui.RibbonCombinatioin->RemoveAllItems();
    ui.RibbonCombinatioin->AddItem("None");
    ui.RibbonCombinatioin->setEnabled(false);
    Select(ui.RibbonCombinatioin, 0);
    ui.ApplySettingsBtn->setEnabled(false);
    app_.prompter().Show(kRibbonAlertHeader, kNoRibbon, {"OK"}, Prompter::Level::kNote, app_.urlIcon);
    return;
  }

  if (reported && *reported == "Monochrome") {
    // The printer cannot tell which monochrome ribbon it holds: the user picks it.
    ui.TypeOfRibbon->RemoveAllItems();
    ui.TypeOfRibbon->setEnabled(true);
    ui.ApplySettingsBtn->setEnabled(true);
    ui.TypeOfRibbon->AddItems(Items(RibbonCatalog::MonochromeRibbonNames(app_.PrinterType)));
    if (nPPDCurrentRibbonIndex >= 11 && nPPDCurrentRibbonIndex <= 14) {
      // Indices 11 to 14 map straight onto the list; on the two-item Series 1
      // list 13 and 14 fall off its end and select nothing.
      Select(ui.TypeOfRibbon, nPPDCurrentRibbonIndex - 11);
      Select(ui.MonoChromeConv, g_nMonoOption);
    } else {
      Select(ui.TypeOfRibbon, 0);
      Select(ui.MonoChromeConv, 0);
      app_.prompter().Show(kRibbonAlertHeader, kMonochromeChosen, {"OK"}, Prompter::Level::kNote, app_.urlIcon);
    }
    return;
  }

  // A ribbon code without a name is reported as no text at all: it never
  // counts as the same ribbon.
  if (reported && Contains(QString::fromStdString(*reported), driverRibbon)) {
    ui.ApplySettingsBtn->setEnabled(false);
    return;
  }

  const std::string name = reported.value_or("(null)");
  const int ppdIndex = reported ? RibbonStringToPPDIndex(QString::fromStdString(*reported)) : 0;
  Select(ui.TypeOfRibbon, PPDIndexToRibbonIndex(ppdIndex));
  ui.ApplySettingsBtn->setEnabled(false);
  Select(ui.MonoChromeConv, 0);
  app_.prompter().Show(kRibbonAlertHeader, StringPrintf(kRibbonChanged, name.c_str()), {"OK"},
                       Prompter::Level::kNote, app_.urlIcon);
}

void CardSetupController::RibbonTypeChanged() {
  QString ribbon = app_.ui().TypeOfRibbon->ObjectValueOfSelectedItem();
  if (ribbon.isNull() || ribbon == kUnknownRibbon) return;
  ChangeRibbonCombination(ComboIndexToPPDRibbonIndex(ribbon));
}

void CardSetupController::RibbonCombinatioinGotFocus() {
  VktComboBox* combinations = app_.ui().RibbonCombinatioin;
  if (combinations->NumberOfItems() == 1) Select(combinations, 0);
  ChangeMonoOption();
}

// ---------------------------------------------------------------- options

void CardSetupController::LoadPPDDefaultValues() {
  PPDHelper* helper = app_.objPPDHelper();
  if (!helper) return;  // start-up went on without driver settings: nothing to show
  Ui::MainWindow& ui = app_.ui();
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
  Select(ui.TypeOfRibbon, ribbonPosition);  // rebuilds the combination list

  const int combinationPosition = GetRibbonCombinationIndex(ribbon, combination);

  Select(ui.PrintOnBothside, dualSide);
  Select(ui.PrintingMode, printingMode);

  // A stored 2 or 3 shown on the two-item "Barcode", "Text" list.
  const int monoItems = ui.MonoChromeConv->NumberOfItems();
  if (mono >= monoItems) mono -= monoItems;
  Select(ui.MonoChromeConv, mono);
  g_nMonoOption = mono;

  Select(ui.Rotate, rotation);
  Select(ui.RibbonCombinatioin, combinationPosition);

  app_.bChangeMonoChromeConvIndex = false;
  // The ribbon follows the printer; a monochrome ribbon enables the list again.
  ui.TypeOfRibbon->setEnabled(false);

  if (halfPanel == 0) {
    ui.chBoxAutoDetect->setEnabled(RibbonCatalog::IsHalfPanelRibbon(ribbon));
    ui.chBoxAutoDetect->setChecked(false);
  } else {
    ui.chBoxAutoDetect->setEnabled(true);
    ui.chBoxAutoDetect->setChecked(true);
  }

  NotifyRibbonChange(ui.TypeOfRibbon->ItemAt(ribbonPosition));
}

void CardSetupController::ChangeMonoOption() {
  Ui::MainWindow& ui = app_.ui();
  if (ui.PrintOnBothside->IndexOfSelectedItem() < 0 || ui.RibbonCombinatioin->IndexOfSelectedItem() < 0) return;
  ui.MonoChromeConv->RemoveAllItems();
  const int combination = ComboIndexToPPDRibbonCombiIndex(ui.RibbonCombinatioin->ObjectValueOfSelectedItem());
  const int ribbon = ComboIndexToPPDRibbonIndex(ui.TypeOfRibbon->ObjectValueOfSelectedItem());
  VktLog("RibbonCombi %d", combination);

  RibbonCatalog::MonoConversions list = RibbonCatalog::MonoConversionsFor(combination, TwoSided());
  ui.MonoChromeConv->AddItems(Items(list.items));
  if (list.selectFirst) Select(ui.MonoChromeConv, 0);

  if (app_.bChangeMonoChromeConvIndex) {
    Select(ui.MonoChromeConv, 0);
    // White ribbons print text best.
    if (ribbon == 13 || ribbon == 14) Select(ui.MonoChromeConv, 3);
  }
}

void CardSetupController::ChangeRotationOption() {
  VktComboBox* rotate = app_.ui().Rotate;
  rotate->RemoveAllItems();
  rotate->AddItems(TwoSided() ? QStringList{"None", "Front", "Back", "Both"} : QStringList{"None", "Front"});
  Select(rotate, 0);
}

void CardSetupController::ChangePrintingMode() {
  VktComboBox* modes = app_.ui().PrintingMode;
  modes->RemoveAllItems();
  modes->AddItems(TwoSided() ? QStringList{"Print", "Encode Only"}
                             : QStringList{"Print", "Encode Only", "Print and Encode on same side"});
  Select(modes, 0);
}

void CardSetupController::CardSetup_PrintOnBothSide() {
  ChangePrintingMode();
  ChangeRotationOption();
  RibbonTypeChanged();
}

void CardSetupController::EnableApplyButton() {
  // A ribbon the printer could not name cannot be applied.
  app_.ui().ApplySettingsBtn->setEnabled(app_.ui().TypeOfRibbon->ObjectValueOfSelectedItem() != kUnknownRibbon);
}

void CardSetupController::chBoxAutoDetectClicked() { app_.ui().ApplySettingsBtn->setEnabled(true); }

void CardSetupController::CardSetupRestoreDefaults() {
  Ui::MainWindow& ui = app_.ui();
  Select(ui.PrintOnBothside, app_.PrinterType == 0 ? 1 : 0);
  Select(ui.PrintingMode, 0);
  Select(ui.Rotate, 0);
  Select(ui.MonoChromeConv, 0);
  Select(ui.RibbonCombinatioin, 0);
  if (ui.TypeOfRibbon->isEnabled()) Select(ui.TypeOfRibbon, 0);
  if (ui.chBoxAutoDetect->isEnabled()) ui.chBoxAutoDetect->setChecked(true);
  ui.ApplySettingsBtn->setEnabled(true);
}

void CardSetupController::SaveSettings() {
  Ui::MainWindow& ui = app_.ui();
  // Set even when the save fails: Close must not store the ribbon on its own then.
  app_.bSettingSaved = true;

  PPDInformation values;
  values.Rotation = ui.Rotate->IndexOfSelectedItem();
  const int monoPosition = ui.MonoChromeConv->IndexOfSelectedItem();
  values.PrintingMode = ui.PrintingMode->IndexOfSelectedItem();
  values.DualSide = ui.PrintOnBothside->IndexOfSelectedItem();
  values.RibbonType = ComboIndexToPPDRibbonIndex(ui.TypeOfRibbon->ObjectValueOfSelectedItem());
  values.AutoHalf = ui.chBoxAutoDetect->isChecked() ? 1 : 0;
  values.RibbonCombination = ComboIndexToPPDRibbonCombiIndex(ui.RibbonCombinatioin->ObjectValueOfSelectedItem());
  values.MonoOption = RibbonCatalog::MonoOptionForDriver(monoPosition, values.RibbonCombination);

  values.FrontX = IntValue(ui.leFrontX);
  values.FrontY = IntValue(ui.leFrontY);
  values.BackX = IntValue(ui.leBackX);
  values.BackY = IntValue(ui.leBackY);

  // The label holds the printer's reply with its terminator; an empty label saves an empty text.
  QString serial = ui.SerialNum->text();
  serial.chop(1);
  values.SerialNo = serial.toStdString();

  DeviceCommunication* session = app_.objDev();
  if (session && session->IsNetworkPrinter()) {
    values.IPAddress = session->GetPrinterIPAddress().value_or("");
    VktLog("Printer IP Address is %s", values.IPAddress.c_str());
  }

  ui.ApplySettingsBtn->setEnabled(false);
  PPDHelper* helper = app_.objPPDHelper();
  const int result = helper ? helper->SavePPDInformation(values) : -1;
  if (result < 0) {
    app_.prompter().Show(kSaveHeader, kSaveFailed, {"Ok"}, Prompter::Level::kStop, app_.urlIcon);
    ui.ApplySettingsBtn->setEnabled(true);
  }
}

void CardSetupController::StoreRibbonOnClose() {
  PPDHelper* helper = app_.objPPDHelper();
  if (!helper) return;
  helper->SaveRibbonType(ComboIndexToPPDRibbonIndex(app_.ui().TypeOfRibbon->ObjectValueOfSelectedItem()));
}

bool CardSetupController::TwoSided() const { return app_.ui().PrintOnBothside->IndexOfSelectedItem() == 1; }
