// The card-setup tab: ribbon and combination lists, driver defaults, Apply.
#pragma once

class AppDelegate;

class CardSetupController {
 public:
  explicit CardSetupController(AppDelegate& app) : app_(app) {}

  void FillRibbonTypeComboBox();
  void LoadPPDDefaultValues();
  // List handlers.
  void CardSetup_PrintOnBothSide();
  void RibbonTypeChanged();
  void RibbonCombinatioinGotFocus();
  void EnableApplyButton();

 private:
  AppDelegate& app_;
};
