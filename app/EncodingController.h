// The magnetic-encoding tab: encoder settings, track fields, encode and read.
#pragma once

class AppDelegate;
class QLineEdit;

class EncodingController {
 public:
  explicit EncodingController(AppDelegate& app) : app_(app) {}

  void SetMagUIAdvSettings();
  // Filters an edited track or offset field.
  void SetValidationToTrack(QLineEdit* field);

 private:
  AppDelegate& app_;
};
