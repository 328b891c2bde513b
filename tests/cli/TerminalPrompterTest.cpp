// The command line's answers to the window's alerts: notices are lines on
// standard error, questions take --yes, the terminal's answer, or No.
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>

#include "TerminalPrompter.h"

namespace {

TEST(TerminalPrompter, AnswersByYesTheTerminalOrNo) {
  const Prompter::Prompt question{"Head", "\nGo on?", {"Yes", "No"}, Prompter::Level::kCaution, {}, 0};
  const Prompter::Prompt okCancel{"", "Restore?", {"Ok", "Cancel"}, Prompter::Level::kCaution, {}, 0};
  const Prompter::Prompt printSkip{"", "Print?", {"Print", "Later"}, Prompter::Level::kCaution, {}, 0};
  const Prompter::Prompt notice{"", "\nApplying\n", {"OK", ""}, Prompter::Level::kNote, {}, 5};
  const struct {
    const Prompter::Prompt* prompt;
    bool yes;
    const char* typed;  // null: no terminal
    int answer;
    std::string shown;
  } cases[] = {
      {&notice, false, nullptr, 0, "Applying\n"},
      {&question, true, "no\n", 0, "Head: Go on? [Yes/No] Yes (--yes)\n"},
      {&question, false, "n\n", 1, "Head: Go on? [Yes/No] "},
      {&question, false, "YES\n", 0, "Head: Go on? [Yes/No] "},
      {&question, false, "maybe\ny\n", 0, "Head: Go on? [Yes/No] Head: Go on? [Yes/No] "},
      {&question, false, "a\nb\nc\ny\n", 1,
       "Head: Go on? [Yes/No] Head: Go on? [Yes/No] Head: Go on? [Yes/No] Head: Go on? [Yes/No] No\n"},
      {&question, false, "", 1, "Head: Go on? [Yes/No] Head: Go on? [Yes/No] No\n"},
      {&question, false, nullptr, 1, "Head: Go on? [Yes/No] No\n"},
      {&okCancel, false, nullptr, 1, "Restore? [Ok/Cancel] Cancel\n"},
      {&printSkip, false, nullptr, Prompter::kNoButton, "Print? [Print/Later]\n"},
      {&okCancel, false, "c\n", 1, "Restore? [Ok/Cancel] "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.prompt->message) + " typed " + (c.typed ? c.typed : "(no terminal)"));
    char* buffer = nullptr;
    size_t size = 0;
    std::FILE* err = ::open_memstream(&buffer, &size);
    std::istringstream input(c.typed ? c.typed : "");
    TerminalPrompter prompter(err, c.yes, c.typed ? &input : nullptr);
    EXPECT_EQ(prompter.Show(*c.prompt), c.answer);
    std::fclose(err);
    EXPECT_EQ(std::string(buffer, size), c.shown);
    std::free(buffer);
  }
}

}  // namespace
