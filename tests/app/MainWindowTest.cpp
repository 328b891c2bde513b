// The main window against in-process emulators (offscreen): start-up, the
// printer information and tabs of each model, the binding of the model
// controls to the widgets, what the card-setup, encoding, device-settings and
// tools tabs hand to their models and show of their answers, the log file,
// the child windows and the window's size. What the models send and their
// rules are tested in tests/cardsetup, tests/encoder and tests/tools.
// The card-setup tests come first: the driver's value tables keep the first
// model they see in the process, and this is VKTS32.
#include <gtest/gtest.h>

#include <QDialog>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <thread>

#include "AppTestSupport.h"
#include "EncodingController.h"
#include "EthernetCommunication.h"
#include "FakePpdService.h"
#include "PpdTestSupport.h"
#include "ToolsController.h"

namespace {

namespace fs = std::filesystem;
using Result = AppDelegate::StartupResult;

std::string WithReplyRequest(const std::string& command) { return "\x1b" + command + "\r\x1b" + "E 2\r"; }

QStringList Items(const VktComboBox* list) {
  QStringList items;
  for (int i = 0; i < list->NumberOfItems(); ++i) items << list->ItemAt(i);
  return items;
}

// `text` with each `from` replaced by its `to`; every `from` must be there.
std::string Edited(std::string text, const std::vector<std::pair<std::string, std::string>>& edits) {
  for (const auto& [from, to] : edits) {
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << "not in the PPD: " << from;
    if (at != std::string::npos) text.replace(at, from.size(), to);
  }
  return text;
}

// A transport that reaches nothing: the printer of an unplugged cable.
class DeadTransport : public VKTS3Communication {
 public:
  int GetDataFromPrinter(ReplyBuffer*) override { return -1; }
  int SendDataToPrinter(const char*, int) override { return -1; }
  void FlushPrinterEndPoint() override {}
  void ClosePrinterHandle() override {}
  int GetPrinterHandle() override { return -1; }
  uint32_t GetDeviceStatus() override { return 0; }
  std::optional<std::string> GetIPAddress() override { return std::nullopt; }
};

// Waits that also act during the next second of drawing: what a user can do
// while the window is still drawn but busy.
class ActingWaits : public RecordingWaits {
 public:
  void RunEventLoop(std::chrono::milliseconds duration) override {
    RecordingWaits::RunEventLoop(duration);
    if (auto act = std::exchange(onLoop, {})) act();
  }
  std::function<void()> onLoop;
};

// The shared window with a stand-in for the PPD service.
class Window : public app_test::WindowTest {
 protected:
  // Start-up with a printer that never answers, or without a transport.
  Result StartWithout(bool transport = true) {
    return Relaunch([transport](AppDelegate::Seams& seams) {
      seams.makeSession = [transport](const std::string& queue) {
        return std::make_unique<DeviceCommunication>(queue, transport ? std::make_unique<DeadTransport>() : nullptr,
                                                     transport ? 1 : 0);
      };
    });
  }
  // The Series 32 window with `profileLines`, its start-up forgotten, on `tab`.
  void Begin(const std::string& profileLines = {}, QWidget* Ui::MainWindow::*tab = nullptr) {
    ASSERT_EQ(Start("VKTS32", "VKTS32.ppd", profileLines), Result::kReady);
    if (tab) ui().tabview->setCurrentWidget(ui().*tab);
    prompter_.prompts.clear(), sent_.clear();
    // The progress bar's values as a file goes out (negative: hidden).
    QObject::connect(ui().SendProgress, &QProgressBar::valueChanged, ui().SendProgress,
                     [this](int value) { progress_.push_back(ui().SendProgress->isHidden() ? -value : value); });
  }
  std::string Tabs() {
    QStringList names;
    for (int i = 0; i < ui().tabview->count(); ++i) names << ui().tabview->widget(i)->objectName();
    return names.join(",").toStdString();
  }
  // The information tab and the model facts on one line.
  std::string Facts() {
    std::string text;
    for (QLabel* label : {ui().modelname, ui().FwVersion, ui().SerialNum, ui().HeadResis, ui().PannelPrinted,
                          ui().RibbonTypes, ui().RemainingCount, ui().MagEncoder, ui().SmartCard})
      text += label->text().toStdString() + "|";
    return text + "type " + std::to_string(app_->PrinterType) + (app_->bDualSide ? " two-sided" : " one-sided") +
           (ui().PrintOnBothside->isEnabled() ? " both-on" : " both-off") + " tabs " + Tabs();
  }
  // The prompts so far as "header: message;" (with the tool's icon: "[icon]"), then forgotten.
  std::string Prompts() {
    std::string text;
    for (const auto& p : prompter_.prompts)
      text += p.header + ": " + p.message + (p.icon == ":/images/Orvex_Logo_Stacked_K.png" ? " [icon];" : ";");
    return prompter_.prompts.clear(), text;
  }
  std::string Status() { return ui().PrintStatus->text().toStdString(); }
  QLineEdit* Track(int n) { return std::array{ui().leTrack1, ui().leTrack2, ui().leTrack3}[n - 1]; }
  QCheckBox* Check(int n) { return std::array{ui().chTrack1, ui().chTrack2, ui().chTrack3}[n - 1]; }
  // The user clicks a check box on its box and types into a field, key by key.
  static void Click(QCheckBox* box) { QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2)); }
  void Tick(int n, const QString& text) { Click(Check(n)), QTest::keyClicks(Track(n), text); }
  // Chooses a file of `bytes` (or none) through `button`'s open panel.
  void Choose(QPushButton* button, const std::string& name, const std::string& bytes = {}) {
    if (!bytes.empty()) std::ofstream(Root() + "/" + name, std::ios::binary) << bytes;
    prompter_.paths = {name.empty() ? "" : Root() + "/" + name};
    button->click();
  }
  // A firmware image of the printer (kind 0x12) or of another kind, `size` bytes long.
  static std::string Firmware(size_t size, char kind = '\x12') {
    return std::string(14, '\x01') + kind + "\xff" + std::string(size - 16, '\x01');
  }
  std::string Labels() { return (ui().lblFirmwareType->text() + " " + ui().lblCheckSum->text()).toStdString(); }
  std::string Ppd() { return app_test::ReadFile(PpdPath()); }
  std::string Original() { return app_test::ReadFile(app_test::FixturePpd("VKTS32.ppd")); }
  FakePpdService service_;
  ppd_test::ScopedEnv port_{"VKT_PPD_SERVICE_PORT", std::to_string(service_.port())};
  std::vector<int> progress_;
};

// ---- card setup: Apply and Close through a stand-in for the PPD service (a
// save the real service refuses is tested through vkts3-cli in tests/cli).

// What each list's choice writes is the model's (tests/cardsetup); the window
// adds the auto-detect box, the offsets of the device-settings tab and the
// identity lines every first Apply writes: the printer's serial number (the
// label without its terminator) and the address of a network printer.
TEST_F(Window, ApplyWritesExactlyTheChangedLinesAndThenNothing) {
  Begin();
  ui().Rotate->SelectItemAtIndex(3);
  ui().leFrontX->setText("12");
  ui().leBackY->setText("-4");
  ui().chBoxAutoDetect->setEnabled(true);
  ui().chBoxAutoDetect->click();
  ui().ApplySettingsBtn->click();
  EXPECT_TRUE(prompter_.prompts.empty() && !ui().ApplySettingsBtn->isEnabled() && app_->CardSetup().bSettingSaved);
  const std::string expected =
      Edited(Original(), {{"*PrinterSerialNo: VKT3200001", "*PrinterSerialNo: S32000001"},
                          {"*PrinterIPAddress: 203.0.113.10", "*PrinterIPAddress: 127.0.0.1"},
                          {"*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 3Both"},
                          {"*DefaultVKTS32AutoHalfPanel: 0false", "*DefaultVKTS32AutoHalfPanel: 1true"},
                          {"*FrontX: 0", "*FrontX: 12"},
                          {"*BackY: 0", "*BackY: -4"}});
  EXPECT_EQ(Ppd(), expected);
  // Nothing differs from the file any more: no request, no change, no message;
  // Close after Apply does not store the ribbon again.
  const size_t requests = service_.Requests().size();
  app_->CardSetup().SaveSettings();
  app_->OnClickCloseButton();
  EXPECT_EQ(Ppd(), expected);
  EXPECT_TRUE(prompter_.prompts.empty() && !ui().ApplySettingsBtn->isEnabled());
  EXPECT_EQ(service_.Requests().size() * 10 + quits_, requests * 10 + 1);
}

// Close stores a ribbon confirmed in the ribbon-change alert even without
// Apply; Close, Cancel and the last window's close each end the session.
TEST_F(Window, CloseWithoutApplyStoresTheChangedRibbonAndEveryWayOutEndsTheSession) {
  ASSERT_EQ(Start("VKTS32", "VKTS32.ppd", "ribbon_code = 54"), Result::kReady);  // "KdO 500"
  EXPECT_EQ(Prompts(), "Orvex VKTS3S1 Printer Properties: Ribbon Changed to KdO 500 [icon];");
  const auto ended = [this] {
    return std::to_string(quits_) + (app_->objDev() || !app_->printerNameRef.empty() ? "open;" : "ended;");
  };
  ui().CloseBtn->click();
  std::string ways = ended();
  EXPECT_EQ(service_.Requests().size(), 1u);
  EXPECT_EQ(Ppd(), Edited(Original(), {{"*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 15KDO500"}}));
  ASSERT_EQ(Start(), Result::kReady);
  ui().CancelBtn->click();
  ways += ended();
  ASSERT_EQ(Start(), Result::kReady);
  ways += app_->applicationShouldTerminateAfterLastWindowClosed() ? "quit " : "stay ";
  ways += ended();
  EXPECT_EQ(ways, "1ended;2ended;quit 2ended;");
}

// ---- start-up

TEST_F(Window, EachModelShowsItsInformationAndTabs) {
  const std::string all = "tabs CardSetupTab,EncodingTab,DeviceSettingTab,ToolsTab,AboutTab";
  const std::string noEncoder = "tabs CardSetupTab,DeviceSettingTab,ToolsTab,AboutTab";
  const struct {
    const char *profile, *ppd, *extra;
    std::string facts;
  } cases[] = {
      // clang-format off
      {"VKTS32", "VKTS32.ppd", "",
       "Orvex VKT Series 32|VKT32-M V1.02.03.016|S32000001\r|2950\r|1234|YMCKO|120|Yes|No|type 0 two-sided both-on " +
           all},
      {"VKTS1-both-names", "VKTS1.ppd", "",
       "Orvex VKT Series 1|VKT11 VKT31 V1.00.01|S01000002\r|2950\r|1234|Monochrome|500|No|No|"
       "type 2 one-sided both-off " +
           noEncoder},
      {"VKTS3C-21", "VKTS32C.ppd", "", "|Yes|PS/SC Contact encoder + Contactless Mifare|"},
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.profile) + " " + c.extra);
    ASSERT_EQ(Start(c.profile, c.ppd, c.extra), Result::kReady);
    EXPECT_NE(Facts().find(c.facts), std::string::npos) << Facts();
  }
}

TEST_F(Window, Series32AsksInTheOrderOfTheInformationAndBindsTheLists) {
  ASSERT_EQ(Start(), Result::kReady);
  // Each question with its reply request; the second feeder question comes from the feeder list's own handler.
  std::string want;
  for (const char* question :
       {"%SERIE", "V", "!V 15", "!RIBBON", "!NL", "!RIBLEN", "&V", "ATM 1 1", "ATM 1 1", "+O", "+OY", "+OB", "+OYB"})
    want += WithReplyRequest(question);
  EXPECT_EQ(Sent(), want);
  std::string state = app_->window()->windowTitle().toStdString() + "|" + app_->PPDFileName + "|" +
                      app_->objPPDHelper()->PrinterModel + "|" + Items(ui().FeederOption).join(",").toStdString() +
                      std::to_string(ui().FeederOption->IndexOfSelectedItem()) + "|on:";
  for (QWidget* w : std::initializer_list<QWidget*>{ui().leTrack1, ui().leTrack2, ui().leTrack3, ui().FWDownloadBtn,
                                                    ui().prnSendBtn, ui().PrinterFeedOptionApplyBtn})
    state += w->isEnabled() ? "+" : "-";
  state += std::string(ui().rdHighCo->isChecked() ? "H" : "") + (ui().rdLowCo->isChecked() ? "L" : "") +
           (app_->CardSetup().bChangeMonoChromeConvIndex ? " mono" : "") +
           (app_->CardSetup().bSettingSaved ? " saved" : "") + (ui().orveximage->pixmap().isNull() ? "" : " logo");
  EXPECT_EQ(state, "Card Printer Properties|" + PpdPath() +
                       "|VKTS32|Card feeder,Single feeder slot,Auto feed0|on:------H mono logo");
  ui().mnuAbout->trigger();
  EXPECT_EQ(ui().tabview->currentWidget(), ui().AboutTab);

  // Each card-setup list shows its model's items, selection and state, and a choice on the widget reaches the model
  // (a list's rules may refill the lists before it: those come first).
  CardSetupModel& model = app_->CardSetup();
  for (auto [control, widget] : std::initializer_list<std::pair<ListControl*, VktComboBox*>>{
           {&model.PrintingMode, ui().PrintingMode},
           {&model.Rotate, ui().Rotate},
           {&model.MonoChromeConv, ui().MonoChromeConv},
           {&model.RibbonCombinatioin, ui().RibbonCombinatioin},
           {&model.TypeOfRibbon, ui().TypeOfRibbon},
           {&model.PrintOnBothside, ui().PrintOnBothside}}) {
    QStringList items;
    for (const std::string& item : control->Items()) items << QString::fromStdString(item);
    const int other = control->IndexOfSelectedItem() == 1 ? 0 : 1;
    EXPECT_TRUE(items.size() > 1 && Items(widget) == items && widget->isEnabled() == control->IsEnabled() &&
                widget->IndexOfSelectedItem() == control->IndexOfSelectedItem())
        << widget->objectName().toStdString();
    widget->SelectItemAtIndex(other);
    EXPECT_EQ(control->IndexOfSelectedItem(), other) << widget->objectName().toStdString();
  }
}

TEST_F(Window, WithoutAnAnsweringPrinterATransportOrAPpd) {
  ASSERT_EQ(StartWithout(), Result::kOffline);
  EXPECT_EQ(Prompts(),
            "Card: The Printer is offline. Check the network / USB cable connection to the printer, that is powered "
            "on, and that it is online. [icon];");
  EXPECT_EQ(Tabs() + "|" + Facts().substr(0, 9), "AboutTab||||||||||");
  EXPECT_TRUE(app_->window()->isVisible() && !app_->objPPDHelper());
  EXPECT_EQ(
      ui().txtVersionInfo->text(),
      "Orvex VKT Series 3/1 CardPrinter\n\nVersion QR7HM.1.00.02 (dt. Apr 15 2016)\n\nPrinter Properties for Linux");
  // The alert closed without OK: start-up goes on to the lists.
  prompter_.answers = {Prompter::kNoButton};
  ASSERT_EQ(StartWithout(), Result::kReady);
  EXPECT_EQ(Tabs() + "|" + Items(ui().Rotate).join(",").toStdString() + "|" +
                std::to_string(ui().FeederOption->NumberOfItems()),
            "CardSetupTab,EncodingTab,DeviceSettingTab,ToolsTab,AboutTab|None,Front,Back,Both|0");
  Prompts();
  ASSERT_EQ(StartWithout(false), Result::kStopped);
  EXPECT_FALSE(app_->window()->isVisible());
  // A PPD neither readable nor served by a scheduler.
  ASSERT_EQ(Start(), Result::kReady);
  fs::remove(PpdPath());
  setenv("CUPS_SERVER", (Root() + "/no-scheduler.sock").c_str(), 1);
  EXPECT_EQ(Relaunch(), Result::kStopped);
  unsetenv("CUPS_SERVER");
  EXPECT_EQ(Prompts(), ": Not able to launch printer properties.;: Not able to launch printer properties.;");

  // The operating system's version: its pretty name once, else its name and version.
  for (const auto& [release, shown] : std::initializer_list<std::pair<const char*, const char*>>{
           {"PRETTY_NAME='Debian 12'\nVERSION=\"12\"\n", "Debian 12"},
           {"NAME=\"Fedora Linux\"\nVERSION=\"40 (Workstation)\"\n", "Fedora Linux Version 40 (Workstation)"},
           {"NAME=Arch\n", "Arch"},
           {"", "Linux"}}) {
    std::ofstream(Root() + "/os-release") << release;
    StartWithout(false);
    EXPECT_EQ(ui().lblMacOSXVersionTxt->text().toStdString(), shown);
  }
}

// ---- encoding tab

TEST_F(Window, TheUsersKeysGoThroughTheRuleOfTheTracksFormat) {
  Begin({}, &Ui::MainWindow::EncodingTab);
  // A disabled field takes no keys; ticking enables it, unticking empties it,
  // ticking again selects the field's text for typing over.
  std::string seen;
  const auto look = [&] { seen += Track(2)->text().toStdString() + (Track(2)->isEnabled() ? "|" : "(off)|"); };
  QTest::keyClicks(Track(2), "12"), look(), Tick(2, "12"), look(), Click(Check(2)), look(), Click(Check(2));
  Track(2)->setText("34");
  app_->Encoding().DisableTrackLine2();
  EXPECT_EQ(seen + Track(2)->selectedText().toStdString(), "(off)|12|(off)|34");

  // Track 3 takes the rule of the format its own list shows: here track 1's
  // letters. A refused key cuts the text there; typing goes on after it.
  ui().BoxT3Mode->SelectItemAtIndex(0);
  Tick(3, "AB-");
  const std::string invalid = "Card: Invalid Character for Encoding. [icon];";
  EXPECT_EQ(Track(3)->text().toStdString() + Prompts(), "AB" + invalid);
  QTest::keyClicks(Track(3), "C");
  EXPECT_EQ(Track(3)->text(), "ABC");
  // In its own format track 3 refuses letters: the next key empties the field.
  ui().BoxT3Mode->SelectItemAtIndex(2);
  QTest::keyClicks(Track(3), "1");
  EXPECT_EQ(Track(3)->text().toStdString() + Prompts(), invalid);

  // The four offset fields are guarded too; the program's own writes are not filtered.
  std::string typed;
  for (QLineEdit* field : {ui().leFrontX, ui().leFrontY, ui().leBackX, ui().leBackY})
    field->setEnabled(true), field->clear(), QTest::keyClicks(field, "32"), typed += field->text().toStdString() + "|";
  EXPECT_EQ(typed + std::to_string(prompter_.prompts.size()) + prompter_.prompts[3].message,
            "||||4Exceeding maximum value.\nValue should be less than 31");
  prompter_.prompts.clear();
  ui().leTrack1->setText("abc-");
  ui().leFrontX->setText("99");
  EXPECT_EQ((ui().leTrack1->text() + ui().leFrontX->text()).toStdString() + Prompts() + Sent(), "abc-99");
}

TEST_F(Window, EncodeAndReadSendTheTickedTracksAndShowWhatThePrinterReads) {
  Begin({}, &Ui::MainWindow::EncodingTab);
  Tick(1, "ABC 123");
  Tick(2, "1234=5678");
  QTest::mouseClick(ui().EncodeBtn, Qt::LeftButton);
  // Track 3 unticked goes out empty.
  EXPECT_EQ(Prompts() + Sent(),
            "Card: Please put the appropriate card in the feeder. [icon];"
            "\x1b&B 1 ABC 123\r\x1b&B 2 1234=5678\r\x1b&B 3 \r\x1b&E*\r");

  // Only the ticked tracks are read; every field is emptied first.
  Click(Check(1));
  Click(Check(3));
  QTest::mouseClick(ui().EncodeReadBtn, Qt::LeftButton);
  EXPECT_EQ(Sent(), WithReplyRequest("&L2") + WithReplyRequest("&L3"));
  EXPECT_EQ(Track(1)->text() + "|" + Track(2)->text() + "|" + Track(3)->text(), "|1234=5678|");
  // Answered No, a read empties the fields and sends nothing.
  prompter_.answers = {1};
  QTest::mouseClick(ui().EncodeReadBtn, Qt::LeftButton);
  EXPECT_EQ(Track(2)->text().toStdString() + Sent(), "");
}

TEST_F(Window, ApplySendsTheChoicesRestoreDefaultsPutsTheFactoryChoiceBack) {
  Begin({}, &Ui::MainWindow::EncodingTab);
  const std::array<VktComboBox*, 6> lists = {ui().BoxT1Mode,    ui().BoxT2Mode,    ui().BoxT3Mode,
                                             ui().BoxT1Density, ui().BoxT2Density, ui().BoxT3Density};
  const auto shown = [&] {
    std::string text;
    for (VktComboBox* box : lists) text += std::to_string(box->IndexOfSelectedItem());
    for (int n = 1; n <= 3; ++n)
      text += std::string(Check(n)->isChecked() ? "x" : "-") + Track(n)->text().toStdString() +
              (Track(n)->isEnabled() ? "e" : "d");
    return text + (ui().rdHighCo->isChecked() ? "H" : "") + (ui().rdLowCo->isChecked() ? "L" : "");
  };
  for (int i = 0; i < 6; ++i) lists[i]->SelectItemAtIndex("201101"[i] - '0');
  QTest::mouseClick(ui().rdLowCo, Qt::LeftButton);
  QTest::mouseClick(ui().EncodeApplyBtn, Qt::LeftButton);
  std::string want;
  for (const char* command : {"&CDEW 1 a3", "&CDER 1 q3", "&CDEW 2 b1", "&CDER 2 r1", "&CDEW 3 c2", "&CDER 3 s2",
                              "&D 1 75", "&D 2 210", "&D 3 75", "&W 0", "&C 0"})
    want += WithReplyRequest(command);
  EXPECT_EQ(Sent(), want);
  EXPECT_EQ(Prompts(), "Orvex Printer Settings: Applying printer settings please wait .... [icon];");
  EXPECT_TRUE(ui().EncodeApplyBtn->isEnabled());
  for (int n = 1; n <= 3; ++n) Tick(n, "12");
  QTest::mouseClick(ui().RestoreDefaultBtn, Qt::LeftButton);
  EXPECT_EQ(shown() + Sent(), "012010-d-d-dH");
  // The printer took every code: reading its settings back shows the applied choice.
  app_->SetMagUIAdvSettings();
  EXPECT_EQ(shown(), "201101-d-d-dL");
}

// ---- device-settings and tools tabs

TEST_F(Window, OffsetsFeederConsoleAndMaintenance) {
  Begin("offset_front_x = 5\noffset_front_y = -3\noffset_back_x = 12\noffset_back_y = 7\nfeeder_mode = 1");
  QLineEdit* const fields[] = {ui().leFrontX, ui().leFrontY, ui().leBackX, ui().leBackY};
  const char* typed[] = {"7", "x", "", "-1"};  // what is no number goes out as 0
  std::string read;
  for (int i = 0; i < 4; ++i) read += fields[i]->text().toStdString() + " ", fields[i]->setText(typed[i]);
  EXPECT_EQ(read, "5 -3 12 7 ");
  prompter_.answers = {1};
  ui().SetoffsetBtn->click();  // answered No
  EXPECT_EQ(server_->Engine().State().offsetFrontX, 5);
  ui().SetoffsetBtn->click();
  const PrinterProfile state = server_->Engine().State();
  EXPECT_EQ((std::array<int, 4>{state.offsetFrontX, state.offsetFrontY, state.offsetBackX, state.offsetBackY}),
            (std::array<int, 4>{7, 0, 0, -1}));
  EXPECT_EQ(app_->pOffset, (std::array<int, 4>{5, -3, 12, 7}));  // still what was read

  // Apply is on only while the list differs from the printer's mode (1, then 2 once applied).
  std::string applyOn;
  for (int index : {1, 2, 1, 2, -1, 2, 0}) {  // -1: press Apply
    index < 0 ? ui().PrinterFeedOptionApplyBtn->click() : ui().FeederOption->SelectItemAtIndex(index);
    applyOn += ui().PrinterFeedOptionApplyBtn->isEnabled() ? '+' : '-';
  }
  EXPECT_EQ(applyOn, "-+-+--+");

  std::vector<std::array<int, 3>> cards;  // kind, ribbon index, both sides
  auto result = TestCardPrinter::Result::kPrinted;
  app_->Tools().SetTestCardPrint([&](int kind, int ribbon, bool dual) {
    return cards.push_back({kind, ribbon, dual}), result;
  });
  auto execute = [this](const char* line) {
    return ui().cmdTextField->setText(line), ui().ExecuteBtn->click(), Status();
  };
  std::string lines;
  for (const char* line : {"+O", "", "A 1"}) lines += execute(line) + "|";
  EXPECT_EQ(lines, "7\r|7\r|<ACK>|");  // nothing sent: the line keeps its text
  ui().PrintTestCardcombo->SelectItemAtIndex(2);
  ui().PrintTestCardBtn->click();
  EXPECT_EQ(cards, (std::vector<std::array<int, 3>>{{1, 0, 1}, {2, 0, 1}}));
  result = TestCardPrinter::Result::kUnknownQueue;
  execute("A 0");
  EXPECT_EQ(prompter_.prompts.at(3).message, "The printer Card is not known to the print system.");

  ui().EjectCardBtn->click();
  ui().cleaningcombobox->SelectItemAtIndex(1);
  ui().cleanBtn->click();
  const std::vector<std::string> commands = server_->Engine().Commands();
  EXPECT_EQ(std::vector<std::string>(commands.end() - 2, commands.end()), (std::vector<std::string>{"MO", "MCLEAN"}));
  // The reset empties the result line before its notice.
  prompter_.onPrompt = [this](const Prompter::Prompt&) { EXPECT_EQ(Status(), ""); };
  execute("R");
  EXPECT_EQ(prompter_.prompts.size(), 6u);
}

TEST_F(Window, FilesAreChosenAndSentWithTheProgressBar) {
  Begin();
  ui().lePRNFilePath->setText("typed by hand");
  app_->Tools().PRNSendBtnClicked();
  EXPECT_EQ(Prompts() + ui().lePRNFilePath->text().toStdString(),
            "Orvex Printer Settings: Please choose a prn file to  Print [icon];");
  Choose(ui().PRNSelectBtn, "card.prn", std::string(8192, 'p'));
  Choose(ui().PRNSelectBtn, "");  // cancelled: nothing changes
  EXPECT_EQ(prompter_.openPanels.at(0).types, (std::vector<std::string>{"prn", "PRN"}));
  EXPECT_EQ(ui().lePRNFilePath->text().toStdString(), Root() + "/card.prn");
  ui().prnSendBtn->click();
  EXPECT_EQ(progress_, (std::vector<int>{500, 1000}));  // per mille of the file
  // Each file goes once.
  EXPECT_EQ(
      ui().SendProgress->format() + (ui().SendProgress->isHidden() && !ui().prnSendBtn->isEnabled() ? " done" : ""),
      "8192 of 8192 bytes done");

  Choose(ui().SelectFileBtn, "fw.bin", Firmware(10000));
  EXPECT_EQ(Labels(), "Printer F/W 0x12FF");
  EXPECT_EQ(prompter_.openPanels.at(2).types, (std::vector<std::string>{"bin", "BIN"}));
  EXPECT_EQ(ui().FrmwareFileLoc->text().toStdString(), Root() + "/fw.bin");
  Choose(ui().SelectFileBtn, "gone.bin");
  EXPECT_EQ(Labels(), "Printer F/W 0x12FF");  // cannot be opened: left as they were
  Choose(ui().SelectFileBtn, "bad.bin", std::string(400, 'x'));
  EXPECT_EQ(Labels() + app_->FirmwareFile + (ui().FWDownloadBtn->isEnabled() ? "on" : ""),
            " on");  // Download finds no file
  Choose(ui().SelectFileBtn, "fw.bin", Firmware(10000));
  progress_.clear();
  ui().FWDownloadBtn->click();
  EXPECT_EQ(progress_, (std::vector<int>{0, 409, 819, 1000}));
  EXPECT_EQ(
      Status() + Labels() + ui().FrmwareFileLoc->text().toStdString() + (ui().SendProgress->isHidden() ? "" : "bar"),
      "Firmware downloaded successfully... ");
}

TEST_F(Window, ADownloadTakesNoSecondClickAndClosingWaitsForItsEnd) {
  Begin();
  ActingWaits waits;
  const std::string newer = Firmware(200, '\x34');
  Choose(ui().SelectFileBtn, "older.bin", Firmware(100));
  // A Download in the second after a choice already finds the chosen file.
  std::string during;
  waits.onLoop = [&] { during = app_->FirmwareFile; };
  Choose(ui().SelectFileBtn, "newer.bin", newer);
  EXPECT_EQ(during, Root() + "/newer.bin");

  // Clicks, Close, Cancel and the close box while the status line is drawn.
  bool buttonOn = true;
  waits.onLoop = [&] {
    buttonOn = ui().FWDownloadBtn->isEnabled();
    app_->Tools().DownloadFwBtnClicked();
    ui().CloseBtn->click();
    app_->window()->close();
    EXPECT_TRUE(app_->window()->isVisible() && app_->objDev());
  };
  ui().FWDownloadBtn->click();
  EXPECT_FALSE(buttonOn);
  // One download, of the newer file (the printer takes it in its own time:
  // waited for, with a bound); the close came after it.
  for (int round = 0; round < 500 && server_->Engine().ResetCount() == 0; ++round)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  const auto& data = server_->Engine().CapturedData();
  EXPECT_EQ(std::count(data.begin(), data.end(), newer), 1);
  EXPECT_EQ(server_->Engine().ResetCount(), 1);
  EXPECT_TRUE(!app_->objDev() && !app_->window()->isVisible());
}

}  // namespace
