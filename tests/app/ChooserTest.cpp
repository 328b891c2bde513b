// The printer chooser and start-up against the sandbox's private cupsd:
// which queues are listed and in what order, Select, the busy alert, Cancel.

#include <QDir>
#include <QTimer>

#include "AppTestSupport.h"
#include "PrinterLauncher.h"
#include "SandboxEnv.h"
#include "TestJobs.h"
#include "ui_PrinterLauncher.h"

namespace {

// The sandbox's card queues in the scheduler's order.
const std::vector<std::string> kListed = {"Card", "Card2", "VKTS1Socket", "VKTS31Socket", "VKTS32Usb", "VKTS3CSocket"};
int Row(const std::string& queue) {
  return static_cast<int>(std::find(kListed.begin(), kListed.end(), queue) - kListed.begin());
}

// The rows as the chooser shows them (row label and queue name), and whether Select is offered.
std::string Shown(PrinterLauncher& launcher) {
  std::string text;
  for (int row = 0; row < launcher.ui().nsTableView->rowCount(); ++row)
    for (const char* label : {"rowItem%1", "rowName%1"})
      if (auto* shown = launcher.findChild<QLabel*>(QString(label).arg(row)))
        text += shown->text().toStdString() + (label[3] == 'I' ? " " : "|");
  return text + (launcher.ui().selectbtn->isEnabled() ? "select" : "-");
}

class ChooserTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(vkt_sandbox::Require());
    app_test::EnsureApplication();
  }
  RecordingWaits waits_;
  ScriptedPrompter prompter_;
};

TEST_F(ChooserTest, ListsTheSupportedQueuesInCupsOrderAndSelectsOnlyAChosenRow) {
  PrinterLauncher launcher(prompter_);
  const std::string listed =
      "Item 0 Card|Item 1 Card2|Item 2 VKTS1Socket|Item 3 VKTS31Socket|Item 4 VKTS32Usb|Item 5 VKTS3CSocket|";
  EXPECT_EQ(Shown(launcher), listed + "-");
  QDir().mkpath(VKT_SCREENSHOT_DIR);
  launcher.grab().save(VKT_SCREENSHOT_DIR "/PrinterLauncher.png");
  launcher.OnClickSelectBtn();  // nothing chosen: nothing happens
  EXPECT_EQ(launcher.getPrinterName() + std::to_string(launcher.getcloseLauncher()), "-1");
  launcher.ui().nsTableView->selectRow(Row("VKTS31Socket"));
  EXPECT_EQ(Shown(launcher), listed + "select");
  launcher.OnClickRefreshBtn();  // a refreshed list, the same queues, no row chosen
  EXPECT_EQ(Shown(launcher), listed + "-");
  launcher.ui().nsTableView->selectRow(Row("VKTS31Socket"));
  launcher.ui().selectbtn->click();
  EXPECT_EQ(launcher.getPrinterName() + " " + std::to_string(launcher.result()) + " " +
                std::to_string(prompter_.prompts.size()),
            "VKTS31Socket 1 0");  // accepted, without a word
}

TEST_F(ChooserTest, AQueuePrintingNowGetsTheBusyAlertAndTheChooserStaysOpen) {
  test_jobs::BackendGate gate("Card");
  const int job = test_jobs::Submit("Card", test_jobs::WriteFile("chooser-busy.pdf", test_jobs::CardPdf("busy")));
  ASSERT_GT(job, 0);
  ASSERT_TRUE(test_jobs::WaitForJobState("Card", job, IPP_JSTATE_PROCESSING));
  PrinterLauncher launcher(prompter_);
  launcher.setResult(-1);
  launcher.ui().nsTableView->selectRow(Row("Card"));
  launcher.OnClickSelectBtn();
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(prompter_.prompts[0].header + ": " + prompter_.prompts[0].message,
            "Card: The selcted printer is busy at the moment.");
  // The modal run goes on, and another queue can still be chosen.
  EXPECT_EQ(launcher.result() * 10 + launcher.getcloseLauncher(), -11);
  launcher.ui().nsTableView->selectRow(Row("VKTS1Socket"));
  launcher.OnClickSelectBtn();
  EXPECT_EQ(launcher.getPrinterName() + std::to_string(prompter_.prompts.size()), "VKTS1Socket1");
  gate.Open();
  test_jobs::WaitForJobState("Card", job, IPP_JSTATE_COMPLETED);
}

TEST_F(ChooserTest, CancelQuitsWithoutASessionAChosenQueueStartsTheWindowOnIt) {
  for (bool cancel : {true, false}) {
    int quits = 0;
    QTemporaryDir documents;
    AppDelegate::Seams seams;
    seams.documentsFolder = documents.path().toStdString();
    seams.redirectLog = false;
    seams.quit = [&quits] { ++quits; };
    AppDelegate app(prompter_, std::move(seams));
    // Answers the chooser once its modal run has started.
    QTimer::singleShot(0, [cancel] {
      auto* launcher = qobject_cast<PrinterLauncher*>(QApplication::activeModalWidget());
      ASSERT_NE(launcher, nullptr) << "the chooser is not running modally";
      launcher->ui().nsTableView->selectRow(Row("VKTS31Socket"));
      (cancel ? launcher->ui().cancelbtn : launcher->ui().selectbtn)->click();
    });
    // Result, quits, session and window, title, model, PPD and its model (after Cancel: the prompts).
    const int result = static_cast<int>(app.applicationDidFinishLaunching());
    EXPECT_EQ(std::to_string(result) + " " + std::to_string(quits) + (app.objDev() ? " session" : " none") +
                  (app.window()->isVisible() ? " shown|" : " hidden|") + app.window()->windowTitle().toStdString() +
                  "|" + app.ui().modelname->text().toStdString() + "|" + app.PPDFileName + "|" +
                  (app.objPPDHelper() ? app.objPPDHelper()->PrinterModel : "") + "|" +
                  (cancel ? std::to_string(prompter_.prompts.size()) : ""),
              cancel ? "0 1 none hidden|Printer Properties||||0"
                     : "3 0 session shown|VKTS31Socket Printer Properties|Orvex VKT Series 31|" + vkt_sandbox::Base() +
                           "/ppd/VKTS31Socket.ppd|VKTS31|");
  }
}

}  // namespace
