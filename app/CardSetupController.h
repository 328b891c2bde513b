// The card-setup tab: the ribbon and combination lists, the ribbon-change
// check against the printer, the dependent option lists and Apply, which
// writes the driver defaults through PPDHelper.
#pragma once

#include <QString>
#include <cstdint>

#include "RibbonCatalog.h"

class AppDelegate;

class CardSetupController {
 public:
  // Connects the tab's buttons (Apply, Restore Defaults, the half-panel check box).
  explicit CardSetupController(AppDelegate& app);

  // ---- ribbon catalog ----
  void FillRibbonTypeComboBox();
  int ComboIndexToPPDRibbonIndex(const QString& text) const;
  int ComboIndexToPPDRibbonCombiIndex(const QString& text) const;
  int RibbonStringToPPDIndex(const QString& printerRibbon) const;
  static bool Contains(const QString& a, const QString& b);
  int LookupArrayIndex(const QString& text) const;
  int PPDIndexToRibbonIndex(int ppdRibbonIndex) const;
  static int GetRibbonCombinationIndex(int ppdRibbonIndex, int ppdCombinationIndex);
  void ChangeRibbonCombination(int ppdRibbonIndex);

  // ---- ribbon change ----
  void NotifyRibbonChange(const QString& driverRibbon);

  // ---- options ----
  void LoadPPDDefaultValues();
  void ChangeMonoOption();
  void ChangeRotationOption();
  void ChangePrintingMode();
  void CardSetupRestoreDefaults();
  void SaveSettings();
  // Close without Apply: the ribbon now shown (perhaps confirmed in the
  // ribbon-change alert) still reaches the driver.
  void StoreRibbonOnClose();

  // ---- list and button handlers ----
  void CardSetup_PrintOnBothSide();
  void RibbonTypeChanged();
  void RibbonCombinatioinGotFocus();
  void EnableApplyButton();
  void chBoxAutoDetectClicked();

  const RibbonCatalog& Catalog() const { return catalog_; }

  // The loaded driver ribbon index and monochrome position.
  int32_t nPPDCurrentRibbonIndex = 0;
  int32_t g_nMonoOption = 0;

 private:
  bool TwoSided() const;

  AppDelegate& app_;
  RibbonCatalog catalog_;
};
