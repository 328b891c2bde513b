// A Prompter for runs without a person (--screenshot): every prompt is written
// to standard output and answered with its default button; file panels are
// cancelled.
#pragma once

#include "Prompter.h"

class UnattendedPrompter : public Prompter {
 public:
  int Show(const Prompt& prompt) override;
  using Prompter::Show;
  std::string ChooseFileToOpen(const FilePanel&) override { return {}; }
  std::string ChooseFileToSave(const FilePanel&) override { return {}; }
};
