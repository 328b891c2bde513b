// The card-setup rules without a window: the ribbon and combination lists,
// the ribbon-change check against the printer, the dependent option lists and
// Apply, which writes the driver defaults through PPDHelper. The window binds
// each control to the widget of the same name; the command line sets them.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "ListControl.h"
#include "Prompter.h"
#include "RibbonCatalog.h"

class DeviceCommunication;
class PPDHelper;

// What Apply writes besides the card-setup lists: the offsets of the device
// settings (front X, front Y, back X, back Y) and the serial-number label as
// shown (the printer's reply with its terminator).
struct CardSetupApplyExtras {
  std::array<int, 4> offsets{};
  std::string serialLabel;
};

// What the card setup needs from the program that runs it, decided at
// start-up.
struct CardSetupContext {
  PPDHelper* driverSettings = nullptr;     // null: start-up went on without driver settings
  DeviceCommunication* session = nullptr;  // null: no printer
  Prompter* prompter = nullptr;
  std::string icon;                                   // the icon of alerts
  long printerType = 0;                               // 0 Series 32/3, 1 Series 31, 2 Series 1
  std::optional<std::string> reportedRibbon;          // the printer's ribbon name (nullopt: a code without a name)
  std::function<CardSetupApplyExtras()> applyExtras;  // asked at each Apply
};

class CardSetupModel {
 public:
  CardSetupModel();
  CardSetupModel(const CardSetupModel&) = delete;
  CardSetupModel& operator=(const CardSetupModel&) = delete;

  void SetContext(CardSetupContext context) { context_ = std::move(context); }
  const CardSetupContext& Context() const { return context_; }

  // Registers the list rules, one each, in this order: PrintOnBothside ->
  // CardSetup_PrintOnBothSide; TypeOfRibbon -> RibbonTypeChanged;
  // RibbonCombinatioin -> RibbonCombinatioinGotFocus; MonoChromeConv, Rotate,
  // PrintingMode and TypeOfRibbon -> EnableApplyButton. A ribbon selection
  // thus rebuilds the combinations before Apply is enabled.
  void RegisterListHandlers();

  // The fixed lists of a fresh card setup: rotations and conversions.
  void FillOptionLists();

  // Start-up's part of the card setup, with the context set: with a printer,
  // the list rules and the "Front K" item; in every case the option lists,
  // the ribbon catalog and the stored defaults (whose loading ends with the
  // ribbon-change check), filled without the lists' handlers rewriting the
  // monochrome choice.
  void StartUp(bool withPrinter);

  // ---- ribbon catalog ----
  void FillRibbonTypeComboBox();
  int ComboIndexToPPDRibbonIndex(const std::optional<std::string>& text) const;
  int ComboIndexToPPDRibbonCombiIndex(const std::optional<std::string>& text) const;
  int RibbonStringToPPDIndex(const std::string& printerRibbon) const;
  int PPDIndexToRibbonIndex(int ppdRibbonIndex) const;
  void ChangeRibbonCombination(int ppdRibbonIndex);

  // ---- ribbon change ----
  void NotifyRibbonChange(const std::string& driverRibbon);

  // ---- options ----
  // Shows the stored defaults (the lists' handlers do not rewrite the
  // monochrome choice meanwhile), then checks the printer's ribbon.
  void LoadPPDDefaultValues();
  void ChangeMonoOption();
  void ChangeRotationOption();
  void ChangePrintingMode();
  void CardSetupRestoreDefaults();
  // Apply: -1 (after the "not saved" alert) when the driver defaults could
  // not be written, 0 when nothing changed, 1 when they were written.
  int SaveSettings();
  // Close without Apply: the ribbon now shown (perhaps confirmed in the
  // ribbon-change alert) still reaches the driver.
  void StoreRibbonOnClose();

  // ---- list and button handlers ----
  void CardSetup_PrintOnBothSide();
  void RibbonTypeChanged();
  void RibbonCombinatioinGotFocus();
  void EnableApplyButton();
  void chBoxAutoDetectClicked();

  // The controls, named as the window's outlets.
  ListControl PrintOnBothside;
  ListControl TypeOfRibbon;
  ListControl RibbonCombinatioin;
  ListControl MonoChromeConv;
  ListControl Rotate;
  ListControl PrintingMode;
  ToggleControl chBoxAutoDetect;
  ToggleControl ApplySettingsBtn{false};

  // The loaded driver ribbon index and monochrome position.
  int32_t nPPDCurrentRibbonIndex = 0;
  int32_t g_nMonoOption = 0;
  // Apply was pressed (even when its save failed): Close then stores nothing.
  bool bSettingSaved = false;
  // False while start-up fills the lists, so their handlers leave the
  // monochrome choice alone.
  bool bChangeMonoChromeConvIndex = true;

 private:
  bool TwoSided() const;

  // The lists whose selection changed since the stored defaults were shown;
  // Apply writes only these.
  enum TrackedList { kBothSides, kRibbon, kCombination, kMono, kRotation, kMode, kTrackedLists };
  std::array<bool, kTrackedLists> changed_{};
  bool loading_ = false;

  CardSetupContext context_;
  RibbonCatalog catalog_;
};
