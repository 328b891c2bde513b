// The message boxes behind the Prompter show the exact texts and buttons and
// report which button was pressed; a timed notice closes by itself.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <functional>

#include "AppTestSupport.h"
#include "QtPrompter.h"

namespace {

struct SeenBox {
  QString title, text, informative;
  QStringList visibleButtons;
  QString defaultButton;
};

// Looks at the box once it runs, then lets `act` answer it.
void WhenBoxRuns(SeenBox* seen, std::function<void(QMessageBox&)> act) {
  QTimer::singleShot(0, [seen, act] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    ASSERT_NE(box, nullptr);
    seen->title = box->windowTitle();
    seen->text = box->text();
    seen->informative = box->informativeText();
    for (QAbstractButton* button : box->buttons()) {
      if (button->isVisibleTo(box)) seen->visibleButtons << button->text();
    }
    if (box->defaultButton()) seen->defaultButton = box->defaultButton()->text();
    act(*box);
  });
}

QAbstractButton* ButtonNamed(QMessageBox& box, const QString& text) {
  for (QAbstractButton* button : box.buttons()) {
    if (button->text() == text) return button;
  }
  return nullptr;
}

TEST(QtPrompterTest, AQuestionShowsItsTextsAndReportsTheButtonPressed) {
  app_test::EnsureApplication();
  QtPrompter prompter;
  SeenBox seen;
  WhenBoxRuns(&seen, [](QMessageBox& box) { ButtonNamed(box, "No")->click(); });
  int answer = prompter.Show("Orvex Printer Settings", "You are about to change the printer offset.Do you want to continue?",
                             {"Yes", "No"}, Prompter::Level::kCaution);
  EXPECT_EQ(answer, 1);
  EXPECT_EQ(seen.title, "Orvex Printer Settings");
  EXPECT_TRUE(seen.text.contains("Orvex Printer Settings"));
  EXPECT_EQ(seen.informative, "You are about to change the printer offset.Do you want to continue?");
  EXPECT_EQ(seen.visibleButtons, (QStringList{"Yes", "No"}));
  EXPECT_EQ(seen.defaultButton, "Yes");
}

TEST(QtPrompterTest, ANoticeWithoutHeaderShowsTheMessageItselfAndAnEmptyAlternateIsNoButton) {
  app_test::EnsureApplication();
  QtPrompter prompter;
  SeenBox seen;
  WhenBoxRuns(&seen, [](QMessageBox& box) { ButtonNamed(box, "OK")->click(); });
  int answer = prompter.Show("", "Not able to launch printer properties.", {"OK", ""}, Prompter::Level::kNote);
  EXPECT_EQ(answer, 0);
  EXPECT_EQ(seen.text, "Not able to launch printer properties.");
  EXPECT_TRUE(seen.informative.isEmpty());
  EXPECT_EQ(seen.visibleButtons, (QStringList{"OK"}));
}

TEST(QtPrompterTest, ATimedNoticeWithoutButtonsClosesByItself) {
  app_test::EnsureApplication();
  QtPrompter prompter;
  SeenBox seen;
  WhenBoxRuns(&seen, [](QMessageBox&) {});
  int answer = prompter.Show("Orvex Printer Settings", "\nApplying printer settings pease wait....", {},
                             Prompter::Level::kNote, {}, 1);
  EXPECT_EQ(answer, Prompter::kNoButton);
  EXPECT_TRUE(seen.visibleButtons.isEmpty());
  EXPECT_EQ(seen.informative, "\nApplying printer settings pease wait....");
}

}  // namespace
