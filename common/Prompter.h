// Every alert, notice, question and file panel of the tool goes through a
// Prompter, so tests can read the exact texts shown and answer them.
#pragma once

#include <string>
#include <vector>

class Prompter {
 public:
  enum class Level { kStop, kNote, kCaution };

  struct Prompt {
    std::string header;                // title line; may be empty
    std::string message;               // the text under it
    std::vector<std::string> buttons;  // first one is the default; none for a self-closing notice
    Level level = Level::kNote;
    std::string icon;                  // image path (Qt resource paths allowed); empty for none
    int timeoutSeconds = 0;            // 0 waits for the user
    bool operator==(const Prompt&) const = default;
  };

  // What a file panel offers.
  struct FilePanel {
    std::string title;
    std::string directory;           // where the panel opens; empty for the default
    std::vector<std::string> types;  // allowed extensions without the dot ("plist", "PLIST")
  };

  // Index of the button pressed (0 = the default button), or kNoButton when
  // the prompt ended otherwise (time-out, window closed).
  static constexpr int kNoButton = -1;

  virtual ~Prompter() = default;
  virtual int Show(const Prompt& prompt) = 0;
  // The chosen path, or the empty text when the user cancelled.
  virtual std::string ChooseFileToOpen(const FilePanel& panel) = 0;
  virtual std::string ChooseFileToSave(const FilePanel& panel) = 0;

  // Shorthand for the common one-button prompts.
  int Show(const std::string& header, const std::string& message, const std::vector<std::string>& buttons,
           Level level, const std::string& icon = {}, int timeoutSeconds = 0) {
    return Show(Prompt{header, message, buttons, level, icon, timeoutSeconds});
  }
};
