// The magnetic-encoding tab: the widgets' side of the encoder models
// (encoder/): settings, the track and offset fields' filter, encoding and
// reading a card.
#pragma once

#include <QObject>
#include <array>

#include "EncoderContext.h"
#include "EncoderSettings.h"

class AppDelegate;
class QCheckBox;
class QLineEdit;
class VktComboBox;

class EncodingController : public QObject {
  Q_OBJECT
 public:
  // Connects the tab's buttons and check boxes to the actions below.
  explicit EncodingController(AppDelegate& app);

  // ---- encoder settings ----
  // Sets the controls from the printer's encoder settings reply.
  void SetMagUIAdvSettings();
  // Sends the chosen settings, then shows the caution notice.
  void EncodeApplyButton();
  // Puts the controls back to the factory choice; sends nothing.
  void EncodeRestoreBtn();

  // ---- track fields ----
  // Check box actions: a ticked track's field is editable, an unticked one empty.
  void DisableTrackLine1() { DisableTrackLine(0); }
  void DisableTrackLine2() { DisableTrackLine(1); }
  void DisableTrackLine3() { DisableTrackLine(2); }
  // Filters a track or print-offset field after the user edited it.
  void SetValidationToTrack(QLineEdit* field);

  // ---- cards ----
  void EncodeBtn();
  void EncodeReadBtn();

 private:
  void DisableTrackLine(int track);
  EncoderContext Context();
  // The alert icon is made again before the tab's alerts (the session's end clears it).
  void RebuildIcon();
  EncoderSettings::State ChosenSettings() const;
  void ShowSettings(const EncoderSettings::State& state);

  AppDelegate& app_;
  std::array<VktComboBox*, 3> modes_;
  std::array<VktComboBox*, 3> densities_;
  std::array<QCheckBox*, 3> checks_;
  std::array<QLineEdit*, 3> tracks_;
  std::array<QLineEdit*, 4> offsets_;
};
