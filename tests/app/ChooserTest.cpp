// The printer chooser and start-up against the sandbox's private cupsd:
// which queues are listed and in what order, Select, the busy alert, Cancel.
#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QMainWindow>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
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
  EXPECT_EQ(launcher.PrinterNames(), kListed);
  QTableWidget* table = launcher.ui().nsTableView;
  ASSERT_EQ(table->rowCount() * 10 + launcher.numberOfRowsInTableView(), 66);
  for (int row = 0; row < table->rowCount(); ++row) {
    auto* item = launcher.findChild<QLabel*>(QStringLiteral("rowItem%1").arg(row));
    auto* name = launcher.findChild<QLabel*>(QStringLiteral("rowName%1").arg(row));
    ASSERT_TRUE(item && name);
    EXPECT_EQ(item->text() + " " + name->text(), QStringLiteral("Item %1 ").arg(row) + kListed[row].c_str());
  }
  QDir().mkpath(VKT_SCREENSHOT_DIR);
  launcher.grab().save(VKT_SCREENSHOT_DIR "/PrinterLauncher.png");

  QPushButton* select = launcher.ui().selectbtn;
  EXPECT_FALSE(select->isEnabled());
  launcher.OnClickSelectBtn();  // nothing chosen: nothing happens
  EXPECT_EQ(launcher.getPrinterName() + std::to_string(launcher.getcloseLauncher()), "-1");
  table->selectRow(Row("VKTS31Socket"));
  EXPECT_TRUE(select->isEnabled());
  launcher.OnClickRefreshBtn();  // a refreshed list, the same queues, no row chosen
  EXPECT_EQ(launcher.PrinterNames(), kListed);
  EXPECT_EQ(std::to_string(table->rowCount()) + (select->isEnabled() ? "on" : "off"), "6off");
  table->selectRow(Row("VKTS31Socket"));
  select->click();
  EXPECT_EQ(launcher.getPrinterName() + std::to_string(launcher.result()), "VKTS31Socket1");  // accepted
  EXPECT_TRUE(prompter_.prompts.empty());

  // Without a mouse: the table takes the keys, Down chooses the first row, Return selects it.
  PrinterLauncher keyboard(prompter_);
  QTableWidget* rows = keyboard.ui().nsTableView;
  EXPECT_NE(rows->focusPolicy() & Qt::TabFocus, 0);
  QTest::keyClick(rows, Qt::Key_Down);
  EXPECT_TRUE(keyboard.ui().selectbtn->isEnabled());
  QTest::keyClick(rows, Qt::Key_Return);
  EXPECT_EQ(keyboard.getPrinterName() + std::to_string(keyboard.result()), "Card1");
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
  const auto& alert = prompter_.prompts[0];
  EXPECT_EQ(alert.header + ": " + alert.message + " " + alert.buttons.at(0),
            "Card: The selcted printer is busy at the moment. OK");
  // The modal run goes on, and another queue can still be chosen.
  EXPECT_EQ(launcher.result() * 10 + launcher.getcloseLauncher(), -11);
  launcher.ui().nsTableView->selectRow(Row("VKTS1Socket"));
  launcher.OnClickSelectBtn();
  EXPECT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(launcher.getPrinterName(), "VKTS1Socket");
  gate.Open();
  test_jobs::WaitForJobState("Card", job, IPP_JSTATE_COMPLETED);
}

TEST_F(ChooserTest, CancelQuitsWithoutASessionAChosenQueueStartsTheWindowOnIt) {
  for (bool cancel : {true, false}) {
    AppDelegate::Seams seams;
    seams.redirectLog = false;
    int quits = 0;
    seams.quit = [&quits] { ++quits; };
    QTemporaryDir documents;
    seams.documentsFolder = documents.path().toStdString();
    AppDelegate app(prompter_, std::move(seams));
    // Answers the chooser once its modal run has started.
    QTimer::singleShot(0, [cancel] {
      auto* launcher = qobject_cast<PrinterLauncher*>(QApplication::activeModalWidget());
      ASSERT_NE(launcher, nullptr) << "the chooser is not running modally";
      launcher->ui().nsTableView->selectRow(Row("VKTS31Socket"));
      (cancel ? launcher->ui().cancelbtn : launcher->ui().selectbtn)->click();
    });
    const AppDelegate::StartupResult result = app.applicationDidFinishLaunching();
    if (cancel) {
      EXPECT_TRUE(prompter_.prompts.empty() && quits == 1 && !app.objDev() && !app.window()->isVisible());
      EXPECT_EQ(result, AppDelegate::StartupResult::kQuit);
      continue;
    }
    ASSERT_EQ(result, AppDelegate::StartupResult::kReady);
    EXPECT_EQ(app.window()->windowTitle() + "|" + app.ui().modelname->text(),
              "VKTS31Socket Printer Properties|Orvex VKT Series 31");
    EXPECT_EQ(app.PPDFileName + "|" + app.objPPDHelper()->PrinterModel,
              vkt_sandbox::Base() + "/ppd/VKTS31Socket.ppd|VKTS31");
  }
}

}  // namespace
