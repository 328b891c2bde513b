// The scripted Prompter used by tests.
#include "ScriptedPrompter.h"

int ScriptedPrompter::Show(const Prompt& prompt) {
  prompts.push_back(prompt);
  if (onPrompt) onPrompt(prompt);
  if (answers.empty()) return 0;
  int answer = answers.front();
  answers.pop_front();
  return answer;
}

std::string ScriptedPrompter::ChooseFileToOpen(const FilePanel& panel) {
  openPanels.push_back(panel);
  if (paths.empty()) return {};
  std::string path = paths.front();
  paths.pop_front();
  return path;
}

std::string ScriptedPrompter::ChooseFileToSave(const FilePanel& panel) {
  savePanels.push_back(panel);
  if (paths.empty()) return {};
  std::string path = paths.front();
  paths.pop_front();
  return path;
}
