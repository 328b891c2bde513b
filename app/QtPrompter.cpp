// QMessageBox and QFileDialog behind the Prompter interface.
#include "QtPrompter.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QPixmap>
#include <QPushButton>
#include <QStringList>
#include <QTimer>

namespace {

QString NameFilter(const std::vector<std::string>& types) {
  if (types.empty()) return {};
  QStringList patterns;
  for (const auto& type : types) patterns << QStringLiteral("*.") + QString::fromStdString(type);
  return QStringLiteral("Files (%1)").arg(patterns.join(' '));
}

QMessageBox::Icon IconForLevel(Prompter::Level level) {
  switch (level) {
    case Prompter::Level::kStop:
      return QMessageBox::Critical;
    case Prompter::Level::kCaution:
      return QMessageBox::Warning;
    case Prompter::Level::kNote:
      break;
  }
  return QMessageBox::Information;
}

}  // namespace

int QtPrompter::Show(const Prompt& prompt) {
  QMessageBox box(parent_);
  box.setWindowTitle(prompt.header.empty() ? QStringLiteral("Orvex Printer Settings")
                                           : QString::fromStdString(prompt.header));
  if (prompt.header.empty()) {
    box.setText(QString::fromStdString(prompt.message));
  } else {
    box.setText(QStringLiteral("<b>%1</b>").arg(QString::fromStdString(prompt.header).toHtmlEscaped()));
    box.setInformativeText(QString::fromStdString(prompt.message));
  }
  QPixmap icon;
  if (!prompt.icon.empty() && icon.load(QString::fromStdString(prompt.icon))) {
    box.setIconPixmap(icon.scaled(64, 64, Qt::KeepAspectRatio, Qt::SmoothTransformation));
  } else {
    box.setIcon(IconForLevel(prompt.level));
  }

  std::vector<QAbstractButton*> buttons;
  for (size_t i = 0; i < prompt.buttons.size(); ++i) {
    // An empty alternate button ("") means there is none, as with the system's notices.
    if (i > 0 && prompt.buttons[i].empty()) {
      buttons.push_back(nullptr);
      continue;
    }
    auto role = i == 0 ? QMessageBox::AcceptRole : QMessageBox::RejectRole;
    QPushButton* button = box.addButton(QString::fromStdString(prompt.buttons[i]), role);
    if (i == 0) box.setDefaultButton(button);
    buttons.push_back(button);
  }
  if (prompt.buttons.empty()) {
    // QMessageBox insists on a button; a notice without buttons gets a hidden one.
    box.addButton(QMessageBox::Ok)->hide();
  }
  if (prompt.timeoutSeconds > 0) {
    QTimer::singleShot(prompt.timeoutSeconds * 1000, &box, [&box] { box.done(-1); });
  }
  box.exec();
  QAbstractButton* clicked = box.clickedButton();
  for (size_t i = 0; i < buttons.size(); ++i) {
    if (clicked && buttons[i] == clicked) return static_cast<int>(i);
  }
  return kNoButton;
}

std::string QtPrompter::ChooseFileToOpen(const FilePanel& panel) {
  QString path = QFileDialog::getOpenFileName(parent_, QString::fromStdString(panel.title),
                                              QString::fromStdString(panel.directory), NameFilter(panel.types));
  return path.toStdString();
}

std::string QtPrompter::ChooseFileToSave(const FilePanel& panel) {
  QString path = QFileDialog::getSaveFileName(parent_, QString::fromStdString(panel.title),
                                              QString::fromStdString(panel.directory), NameFilter(panel.types));
  return path.toStdString();
}
