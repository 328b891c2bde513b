// Magnetic-encoding tab behaviour: moves values between the tab's widgets
// and the encoder models, which talk to the printer and raise the alerts.
#include "EncodingController.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <algorithm>
#include <string>

#include "AppDelegate.h"
#include "CardEncoder.h"
#include "RadioPair.h"
#include "TrackValidator.h"
#include "VktComboBox.h"
#include "ui_MainWindow.h"

namespace {

std::u16string Utf16(const QString& text) {
  return {reinterpret_cast<const char16_t*>(text.utf16()), static_cast<size_t>(text.size())};
}

QString FromUtf16(const std::u16string& text) {
  return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

EncodingController::EncodingController(AppDelegate& app) : app_(app) {
  Ui::MainWindow& ui = app_.ui();
  modes_ = {ui.BoxT1Mode, ui.BoxT2Mode, ui.BoxT3Mode};
  densities_ = {ui.BoxT1Density, ui.BoxT2Density, ui.BoxT3Density};
  checks_ = {ui.chTrack1, ui.chTrack2, ui.chTrack3};
  tracks_ = {ui.leTrack1, ui.leTrack2, ui.leTrack3};
  offsets_ = {ui.leFrontX, ui.leFrontY, ui.leBackX, ui.leBackY};

  connect(ui.EncodeApplyBtn, &QPushButton::clicked, this, [this] { EncodeApplyButton(); });
  connect(ui.RestoreDefaultBtn, &QPushButton::clicked, this, [this] { EncodeRestoreBtn(); });
  connect(ui.EncodeBtn, &QPushButton::clicked, this, [this] { EncodeBtn(); });
  connect(ui.EncodeReadBtn, &QPushButton::clicked, this, [this] { EncodeReadBtn(); });
  // clicked, not toggled: like the system's check-box action it answers the
  // user only; the program's own ticks (restore) look after the field themselves.
  for (int track = 0; track < 3; ++track) {
    connect(checks_[track], &QCheckBox::clicked, this, [this, track] { DisableTrackLine(track); });
  }
}

EncoderContext EncodingController::Context() {
  return {app_.objDev(), app_.prompter(), app_.urlIcon, app_.printerNameRef};
}

void EncodingController::RebuildIcon() { app_.urlIcon = app_.IcongPath; }

// ---- encoder settings ----------------------------------------------------

EncoderSettings::State EncodingController::ChosenSettings() const {
  EncoderSettings::State state;
  for (size_t track = 0; track < 3; ++track) {
    state.modes[track] = modes_[track]->IndexOfSelectedItem();
    state.densities[track] = densities_[track]->IndexOfSelectedItem();
  }
  state.high = app_.HiLoCo().FirstOn();
  state.low = app_.HiLoCo().SecondOn();
  return state;
}

void EncodingController::ShowSettings(const EncoderSettings::State& state) {
  for (size_t track = 0; track < 3; ++track) {
    densities_[track]->SelectItemAtIndex(state.densities[track]);
    modes_[track]->SelectItemAtIndex(state.modes[track]);
  }
  app_.HiLoCo().SetStates(state.high, state.low);
}

void EncodingController::SetMagUIAdvSettings() {
  EncoderSettings::State state = ChosenSettings();
  // Without a session the controls stay as they are.
  if (EncoderSettings(Context()).SetMagUIAdvSettings(state)) ShowSettings(state);
}

void EncodingController::EncodeApplyButton() {
  RebuildIcon();
  EncoderSettings(Context()).EncodeApplyButton(ChosenSettings());
  app_.ui().EncodeApplyBtn->setEnabled(true);
}

void EncodingController::EncodeRestoreBtn() {
  ShowSettings(EncoderSettings::Factory());
  for (int track = 0; track < 3; ++track) {
    checks_[track]->setChecked(false);
    tracks_[track]->setText(QString());
    tracks_[track]->setEnabled(false);
  }
}

// ---- track fields ----------------------------------------------------------

void EncodingController::DisableTrackLine(int track) {
  QLineEdit* field = tracks_[track];
  if (checks_[track]->isChecked()) {
    field->setEnabled(true);
    field->setFocus();
    field->selectAll();
  } else {
    field->setEnabled(false);
    field->setText(QString());
  }
}

void EncodingController::SetValidationToTrack(QLineEdit* field) {
  using Field = TrackValidator::Field;
  RebuildIcon();
  const auto track = std::find(tracks_.begin(), tracks_.end(), field);
  const auto offset = std::find(offsets_.begin(), offsets_.end(), field);
  Field which;
  if (track != tracks_.end()) {
    which = static_cast<Field>(track - tracks_.begin());
  } else if (offset != offsets_.end()) {
    which = static_cast<Field>(static_cast<int>(Field::kFrontX) + (offset - offsets_.begin()));
  } else {
    return;
  }
  const QString text =
      FromUtf16(TrackValidator(Context()).SetValidationToTrack(which, Utf16(field->text()), ChosenSettings().modes));
  // setText never emits textEdited, so writing back does not re-enter the
  // filter. An unchanged text is left alone to keep the cursor and undo.
  if (field->text() == text) return;
  const int cursor = field->cursorPosition();
  field->setText(text);
  field->setCursorPosition(std::min(cursor, static_cast<int>(text.size())));
}

// ---- cards -------------------------------------------------------------

void EncodingController::EncodeBtn() {
  std::array<CardEncoder::Track, 3> tracks;
  for (size_t track = 0; track < 3; ++track)
    tracks[track] = {checks_[track]->isChecked(), Utf16(tracks_[track]->text())};
  RebuildIcon();
  CardEncoder(Context()).EncodeBtn(tracks);
}

void EncodingController::EncodeReadBtn() {
  RebuildIcon();
  CardEncoder encoder(Context());
  const bool yes = encoder.AskForCard();
  // The fields are emptied whatever the answer, before it is looked at.
  for (QLineEdit* field : tracks_) field->setText(QString());
  if (!yes) return;
  const CardEncoder::CardRead read =
      encoder.ReadTracks({checks_[0]->isChecked(), checks_[1]->isChecked(), checks_[2]->isChecked()});
  for (size_t track = 0; track < 3; ++track) {
    if (const auto& text = read.tracks[track])
      tracks_[track]->setText(QString::fromLatin1(text->data(), static_cast<qsizetype>(text->size())));
  }
}
