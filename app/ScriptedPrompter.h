// A Prompter for tests: records every prompt and file panel, and answers
// from a script (button indices and paths given in advance).
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "Prompter.h"

class ScriptedPrompter : public Prompter {
 public:
  int Show(const Prompt& prompt) override;
  using Prompter::Show;
  std::string ChooseFileToOpen(const FilePanel& panel) override;
  std::string ChooseFileToSave(const FilePanel& panel) override;

  // Answers used in order; when they run out, the default button (0) is pressed.
  std::deque<int> answers;
  // Paths returned by the file panels in order; the empty text (cancel) when they run out.
  std::deque<std::string> paths;
  // Called with each prompt before it is answered (to look at the window at that moment).
  std::function<void(const Prompt&)> onPrompt;

  std::vector<Prompt> prompts;
  std::vector<FilePanel> openPanels;
  std::vector<FilePanel> savePanels;
};
