// Card-setup tab behaviour.
#include "CardSetupController.h"

#include <QPushButton>

#include "AppDelegate.h"
#include "ui_MainWindow.h"

void CardSetupController::FillRibbonTypeComboBox() {
  // Filled in with the ribbon catalog of the card-setup tab.
}

void CardSetupController::LoadPPDDefaultValues() {
  // Filled in with the card-setup options and the ribbon-change check.
}

void CardSetupController::CardSetup_PrintOnBothSide() {
  // Filled in with the card-setup options.
}

void CardSetupController::RibbonTypeChanged() {
  // Filled in with the ribbon catalog of the card-setup tab.
}

void CardSetupController::RibbonCombinatioinGotFocus() {
  // Filled in with the ribbon catalog of the card-setup tab.
}

void CardSetupController::EnableApplyButton() {
  // A ribbon the printer could not name cannot be applied.
  app_.ui().ApplySettingsBtn->setEnabled(app_.ui().TypeOfRibbon->ObjectValueOfSelectedItem() != "Unknown");
}
