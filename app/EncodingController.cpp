// Magnetic-encoding tab behaviour: the encoder's settings as the printer
// reports them, the commands that change them, the track filter, and
// encoding and reading the three tracks of a card.
#include "EncodingController.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <algorithm>
#include <chrono>

#include "AppDelegate.h"
#include "Log.h"
#include "RadioPair.h"
#include "ReplyCleanup.h"
#include "TrackValidator.h"
#include "VktComboBox.h"
#include "Waits.h"
#include "ui_MainWindow.h"

namespace {

constexpr char kReplyRequest[] = "\x1b" "E 2\r";
constexpr int kReplyRequestLength = 5;

constexpr char kSettingsTitle[] = "Orvex Printer Settings";
constexpr char kApplyingNotice[] = "Applying printer settings please wait ....";
constexpr int kApplyingNoticeSeconds = 5;
constexpr char kCardQuestion[] = "Please put the appropriate card in the feeder.";
constexpr char kInvalidCharacter[] = "Invalid Character for Encoding.";
constexpr char kTooLongForTrack[] = "Exceeding number of characters that could be encoded on the track.";
constexpr char kOffsetTooLong[] = "Exceeding maximum length.";
// 31 itself is accepted although the text says "less than".
constexpr char kOffsetTooLarge[] = "Exceeding maximum value.\nValue should be less than 31";

// Write (W) and read (R) format codes by track and by format index: a
// track's own format is its bare capital letter.
constexpr const char* kWriteCodes[3][3] = {{"A", "a2", "a3"}, {"b1", "B", "b3"}, {"c1", "c2", "C"}};
constexpr const char* kReadCodes[3][3] = {{"Q", "q2", "q3"}, {"r1", "R", "r3"}, {"s1", "s2", "S"}};

// Density items: 0 = 210 bits per inch, 1 = 75.
constexpr const char* kDensities[2] = {"210", "75"};

// Factory choice: each track in its own format; 210, 75, 210 bits per inch.
constexpr int kFactoryModes[3] = {0, 1, 2};
constexpr int kFactoryDensities[3] = {0, 1, 0};

std::u16string_view View(const QString& text) {
  return {reinterpret_cast<const char16_t*>(text.utf16()), static_cast<size_t>(text.size())};
}

bool Contains(const std::string& text, const char* marker) { return text.find(marker) != std::string::npos; }

bool ContainsAny(const std::string& text, std::initializer_list<const char*> markers) {
  return std::any_of(markers.begin(), markers.end(), [&](const char* m) { return Contains(text, m); });
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

// ---- encoder settings ----------------------------------------------------

void EncodingController::SetMagUIAdvSettings() {
  DeviceCommunication* dev = app_.objDev();
  if (!dev) return;
  const std::string reply = dev->GetMagAdvancedSettings();

  // Plain substring tests in a fixed order; a later match overwrites an
  // earlier one. Nothing is tokenised.
  if (Contains(reply, "TRACK 1 W:A")) modes_[0]->SelectItemAtIndex(0);
  if (Contains(reply, "TRACK 1 W:a3")) modes_[0]->SelectItemAtIndex(2);
  if (Contains(reply, "TRACK 1 W:a2")) modes_[0]->SelectItemAtIndex(1);

  if (Contains(reply, "TRACK 2 W:b1")) modes_[1]->SelectItemAtIndex(0);
  if (Contains(reply, "TRACK 2 W:B")) modes_[1]->SelectItemAtIndex(1);
  if (Contains(reply, "TRACK 2 W:b3")) modes_[1]->SelectItemAtIndex(2);

  if (Contains(reply, "TRACK 3 W:c1")) modes_[2]->SelectItemAtIndex(0);
  if (Contains(reply, "TRACK 3 W:c2")) modes_[2]->SelectItemAtIndex(1);
  if (Contains(reply, "TRACK 3 W:C")) modes_[2]->SelectItemAtIndex(2);

  // A density counts only when the track's write and read codes form one of
  // the matched pairs; a mixed pair leaves the density as it was.
  if (ContainsAny(reply, {"TRACK 1 W:A R:Q D:75", "TRACK 1 W:a2 R:q2 D:75", "TRACK 1 W:a3 R:q3 D:75"})) {
    densities_[0]->SelectItemAtIndex(1);
  }
  if (ContainsAny(reply, {"TRACK 1 W:A R:Q D:210", "TRACK 1 W:a2 R:q2 D:210", "TRACK 1 W:a3 R:q3 D:210"})) {
    densities_[0]->SelectItemAtIndex(0);
  }
  if (ContainsAny(reply, {"TRACK 2 W:b1 R:r1 D:75", "TRACK 2 W:B R:R D:75", "TRACK 2 W:b3 R:r3 D:75"})) {
    densities_[1]->SelectItemAtIndex(1);
  }
  if (ContainsAny(reply, {"TRACK 2 W:b1 R:r1 D:210", "TRACK 2 W:B R:R D:210", "TRACK 2 W:b3 R:r3 D:210"})) {
    densities_[1]->SelectItemAtIndex(0);
  }
  if (ContainsAny(reply, {"TRACK 3 W:c1 R:s1 D:75", "TRACK 3 W:c2 R:s2 D:75", "TRACK 3 W:C R:S D:75"})) {
    densities_[2]->SelectItemAtIndex(1);
  }
  // The first 210 marker of track 3 pairs c1 with "R:Q", not "R:s1": the
  // product has always matched it so, and a c1/s1 track at 210 keeps its
  // density control unchanged.
  if (ContainsAny(reply, {"TRACK 3 W:c1 R:Q D:210", "TRACK 3 W:c2 R:s2 D:210", "TRACK 3 W:C R:S D:210"})) {
    densities_[2]->SelectItemAtIndex(0);
  }

  // Each button follows its own word, so a reply naming neither leaves both off.
  app_.HiLoCo().SetStates(Contains(reply, "CO:HIGH"), Contains(reply, "CO:LOW"));
}

void EncodingController::SendSetting(const std::string& text) {
  DeviceCommunication* dev = app_.objDev();
  if (!dev) return;
  const std::string command = "\x1b" + text + "\r";
  dev->WriteToPrinter(command.data(), static_cast<int>(command.size()));
  dev->WriteToPrinter(kReplyRequest, kReplyRequestLength);
  // The answer carries nothing to act on; a failed step does not stop the rest.
  dev->ReadFromPrinter();
}

void EncodingController::EncodeApplyButton() {
  RebuildIcon();
  for (int track = 0; track < 3; ++track) {
    const int mode = modes_[track]->IndexOfSelectedItem();
    if (mode < 0 || mode > 2) continue;  // no selection: nothing for this track
    SendSetting(StringPrintf("&CDEW %d %s", track + 1, kWriteCodes[track][mode]));
    SendSetting(StringPrintf("&CDER %d %s", track + 1, kReadCodes[track][mode]));
  }
  for (int track = 0; track < 3; ++track) {
    const int density = densities_[track]->IndexOfSelectedItem();
    if (density < 0 || density > 1) continue;
    SendSetting(StringPrintf("&D %d %s", track + 1, kDensities[density]));
  }
  SendSetting("&W 0");
  // Independent tests: both radios off sends neither command.
  if (app_.HiLoCo().FirstOn()) SendSetting("&C 1");
  if (app_.HiLoCo().SecondOn()) SendSetting("&C 0");

  // The notice comes after every command was sent; it closes by itself.
  app_.prompter().Show(kSettingsTitle, kApplyingNotice, {"OK", ""}, Prompter::Level::kCaution, app_.urlIcon,
                       kApplyingNoticeSeconds);
  app_.ui().EncodeApplyBtn->setEnabled(true);
}

void EncodingController::EncodeRestoreBtn() {
  for (int track = 0; track < 3; ++track) {
    densities_[track]->SelectItemAtIndex(kFactoryDensities[track]);
  }
  for (int track = 0; track < 3; ++track) {
    modes_[track]->SelectItemAtIndex(kFactoryModes[track]);
  }
  app_.HiLoCo().SetStates(true, false);
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
  // Each track takes the limit and characters of the format chosen for it
  // (track 3 in track-1 format takes 76 letters and digits). A track with no
  // format selected keeps the previous track's rule; before track 1 that is
  // no rule at all, which refuses every character.
  int limit = 0;
  const char* pattern = nullptr;
  for (int track = 0; track < 3; ++track) {
    RebuildIcon();
    if (auto rule = TrackValidator::RuleForMode(modes_[track]->IndexOfSelectedItem())) {
      limit = rule->limit;
      pattern = rule->pattern;
    }
    if (field != tracks_[track]) continue;
    QString text = validateTrack(field, pattern);
    if (text.size() > limit) {
      app_.prompter().Show(app_.printerNameRef, kTooLongForTrack, {"OK"}, Prompter::Level::kNote, app_.urlIcon);
      text.truncate(limit);
    }
    WriteBack(field, text);
  }

  if (IsOffsetField(field)) {
    QString text = validateTrack(field, TrackValidator::kOffsetPattern);
    if (text.size() > TrackValidator::kOffsetMaximumLength) {
      app_.prompter().Show(kSettingsTitle, kOffsetTooLong, {"OK"}, Prompter::Level::kNote, app_.urlIcon);
      text.clear();
    }
    if (TrackValidator::LeadingValue(View(text)) > TrackValidator::kOffsetMaximum) {
      app_.prompter().Show(kSettingsTitle, kOffsetTooLarge, {"OK"}, Prompter::Level::kNote, app_.urlIcon);
      text.clear();
    }
    WriteBack(field, text);
  }
}

QString EncodingController::validateTrack(QLineEdit* field, const char* pattern) {
  QString text = field->text();
  const int accepted = TrackValidator::AcceptedLength(View(text), pattern);
  if (accepted >= text.size()) return text;
  // Everything from the first refused character on goes, so a pasted text
  // stops there.
  text.truncate(accepted);
  RebuildIcon();
  if (!IsOffsetField(field)) {
    app_.prompter().Show(app_.printerNameRef, kInvalidCharacter, {"OK"}, Prompter::Level::kStop, app_.urlIcon);
  }
  return text;
}

void EncodingController::WriteBack(QLineEdit* field, const QString& text) {
  // setText never emits textEdited, so writing back does not re-enter the
  // filter. An unchanged text is left alone to keep the cursor and undo.
  if (field->text() == text) return;
  const int cursor = field->cursorPosition();
  field->setText(text);
  field->setCursorPosition(std::min(cursor, static_cast<int>(text.size())));
}

bool EncodingController::IsOffsetField(const QLineEdit* field) const {
  return std::find(offsets_.begin(), offsets_.end(), field) != offsets_.end();
}

// ---- cards -------------------------------------------------------------

std::string EncodingController::TrackTextForPrinter(const QString& text) {
  std::string bytes;
  bytes.reserve(static_cast<size_t>(text.size()));
  for (QChar c : text) {
    const char16_t u = c.unicode();
    bytes.push_back(u >= 0x20 && u <= 0x7E ? static_cast<char>(u) : '?');
  }
  return bytes;
}

void EncodingController::RebuildIcon() { app_.urlIcon = app_.IcongPath; }

bool EncodingController::AskForCard() {
  RebuildIcon();
  const int answer = app_.prompter().Show(app_.printerNameRef, kCardQuestion, {"Yes", "No"},
                                          Prompter::Level::kNote, app_.urlIcon);
  // Only "Yes" goes on: "No", and a question closed without an answer, stop.
  return answer == 0;
}

void EncodingController::EncodeBtn() {
  if (!AskForCard()) return;
  for (int track = 0; track < 3; ++track) {
    if (checks_[track]->isChecked() && tracks_[track]->text().isEmpty()) {
      app_.prompter().Show("", StringPrintf("No data in Track %d !", track + 1), {"OK"}, Prompter::Level::kNote);
      return;
    }
  }
  // All three fields, ticked or not: an unticked field is empty and encodes nothing.
  const std::string track1 = TrackTextForPrinter(tracks_[0]->text());
  const std::string track2 = TrackTextForPrinter(tracks_[1]->text());
  const std::string track3 = TrackTextForPrinter(tracks_[2]->text());
  if (DeviceCommunication* dev = app_.objDev()) {
    dev->MagWriteBtnClicked(track1.c_str(), track2.c_str(), track3.c_str());
  }
}

void EncodingController::EncodeReadBtn() {
  const bool yes = AskForCard();
  // The fields are emptied whatever the answer, before it is looked at.
  for (QLineEdit* field : tracks_) field->setText(QString());
  if (!yes) return;

  // The card is being fed: keep the window alive meanwhile.
  Waits::Current().RunEventLoop(std::chrono::milliseconds(1000));

  DeviceCommunication* dev = app_.objDev();
  if (!dev) return;
  for (int track = 0; track < 3; ++track) {
    if (!checks_[track]->isChecked()) continue;
    const std::string command = StringPrintf("\x1b&L%d\r", track + 1);
    dev->WriteToPrinter(command.data(), static_cast<int>(command.size()));
    dev->WriteToPrinter(kReplyRequest, kReplyRequestLength);
    std::optional<std::string> reply = dev->ReadFromPrinter();
    // No answer at all: the rest is not read and nothing is said.
    if (!reply) return;
    std::string text = *reply;
    ClearErrorInBuffer(text);
    VktLog("Track %d is %s", track + 1, text.c_str());
    tracks_[track]->setText(QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size())));
  }
}
