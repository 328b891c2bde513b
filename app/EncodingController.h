// The magnetic-encoding tab: encoder settings (format, density, coercivity),
// the track fields and their filter, encoding and reading a card.
#pragma once

#include <QObject>
#include <QString>
#include <array>
#include <string>

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
  // The field's text cut before its first refused character; the alert is
  // raised for track fields only.
  QString validateTrack(QLineEdit* field, const char* pattern);

  // ---- cards ----
  void EncodeBtn();
  void EncodeReadBtn();

  // What goes to the printer for a track's text. The printer's track buffers
  // take printable ASCII only, and a control byte would break the command's
  // framing, so every character outside 0x20..0x7E is sent as '?'.
  static std::string TrackTextForPrinter(const QString& text);

 private:
  void DisableTrackLine(int track);
  // Sends ESC text CR, then the reply request, and reads (and drops) one reply.
  void SendSetting(const std::string& text);
  // The card question; true only when the user answered "Yes".
  bool AskForCard();
  void RebuildIcon();
  bool IsOffsetField(const QLineEdit* field) const;
  static void WriteBack(QLineEdit* field, const QString& text);

  AppDelegate& app_;
  std::array<VktComboBox*, 3> modes_;
  std::array<VktComboBox*, 3> densities_;
  std::array<QCheckBox*, 3> checks_;
  std::array<QLineEdit*, 3> tracks_;
  std::array<QLineEdit*, 4> offsets_;
};
