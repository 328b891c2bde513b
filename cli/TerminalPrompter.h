// The command line's answer to the window's alerts and questions.
#pragma once

#include <cstdio>
#include <istream>

#include "Prompter.h"

// Notices (one button or none) are written to standard error and need no
// answer. A question is answered Yes (its first button) with --yes, else
// asked on the terminal when standard input is one, else answered No.
class TerminalPrompter : public Prompter {
 public:
  // `input` is the terminal to ask on; null when there is none.
  TerminalPrompter(std::FILE* err, bool yes, std::istream* input) : err_(err), yes_(yes), input_(input) {}

  using Prompter::Show;
  int Show(const Prompt& prompt) override;
  // Files are named on the command line; there is no panel to show.
  std::string ChooseFileToOpen(const FilePanel&) override { return {}; }
  std::string ChooseFileToSave(const FilePanel&) override { return {}; }

 private:
  std::FILE* err_;
  bool yes_;
  std::istream* input_;
};
