// The Prompter of the desktop program: QMessageBox for alerts and notices
// (a QTimer closes the timed ones) and QFileDialog for the file panels.
#pragma once

#include "Prompter.h"

class QWidget;

class QtPrompter : public Prompter {
 public:
  explicit QtPrompter(QWidget* parent = nullptr) : parent_(parent) {}
  void SetParent(QWidget* parent) { parent_ = parent; }

  int Show(const Prompt& prompt) override;
  using Prompter::Show;
  std::string ChooseFileToOpen(const FilePanel& panel) override;
  std::string ChooseFileToSave(const FilePanel& panel) override;

 private:
  QWidget* parent_;
};
