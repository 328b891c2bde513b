// Magnetic-encoding tab behaviour.
#include "EncodingController.h"

#include "AppDelegate.h"

void EncodingController::SetMagUIAdvSettings() {
  // Filled in with the encoder settings of the encoding tab.
}

void EncodingController::SetValidationToTrack(QLineEdit*) {
  // Filled in with the track-data validation of the encoding tab.
}
