// Alerts as lines on standard error; questions answered by --yes, the
// person at the terminal, or No (Cancel).
#include "TerminalPrompter.h"

#include <cctype>
#include <string>
#include <vector>

namespace {

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// The message without the leading and trailing line breaks the window's
// alerts use for spacing.
std::string Trimmed(const std::string& text) {
  const size_t first = text.find_first_not_of("\r\n");
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of("\r\n") - first + 1);
}

}  // namespace

int TerminalPrompter::Show(const Prompt& prompt) {
  const std::string header = Trimmed(prompt.header);
  const std::string text = (header.empty() ? "" : header + ": ") + Trimmed(prompt.message);
  // A last button without a name is no choice (the window's timed notices have an empty alternate).
  std::vector<std::string> buttons = prompt.buttons;
  while (!buttons.empty() && buttons.back().empty()) buttons.pop_back();
  if (buttons.size() < 2) {
    std::fprintf(err_, "%s\n", text.c_str());
    std::fflush(err_);
    return 0;
  }
  std::string choices;
  for (const std::string& button : buttons) choices += (choices.empty() ? "" : "/") + button;
  if (yes_) {
    std::fprintf(err_, "%s [%s] %s (--yes)\n", text.c_str(), choices.c_str(), buttons[0].c_str());
    return 0;
  }
  if (input_) {
    for (int attempt = 0; attempt < 3; ++attempt) {
      std::fprintf(err_, "%s [%s] ", text.c_str(), choices.c_str());
      std::fflush(err_);
      std::string line;
      if (!std::getline(*input_, line)) break;
      const std::string answer = Lower(line);
      for (size_t i = 0; i < buttons.size(); ++i) {
        const std::string button = Lower(buttons[i]);
        if (!answer.empty() && (answer == button || (answer.size() == 1 && answer[0] == button[0])))
          return static_cast<int>(i);
      }
    }
  }
  // Nobody to ask: the careful answer, No or Cancel.
  for (size_t i = 0; i < buttons.size(); ++i) {
    const std::string button = Lower(buttons[i]);
    if (button == "no" || button == "cancel") {
      std::fprintf(err_, "%s [%s] %s\n", text.c_str(), choices.c_str(), buttons[i].c_str());
      return static_cast<int>(i);
    }
  }
  std::fprintf(err_, "%s [%s]\n", text.c_str(), choices.c_str());
  return kNoButton;
}
