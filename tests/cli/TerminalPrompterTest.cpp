// The command line's answers to the window's questions: --yes, the
// terminal's answer, or No (the runs without a terminal are the
// command-line tests' own).
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>

#include "TerminalPrompter.h"

namespace {

TEST(TerminalPrompter, AnswersByTheTerminalOrNo) {
  const Prompter::Prompt question{"Head", "\nGo on?", {"Yes", "No"}, Prompter::Level::kCaution, {}, 0};
  const Prompter::Prompt okCancel{"", "Restore?", {"Ok", "Cancel"}, Prompter::Level::kCaution, {}, 0};
  const Prompter::Prompt printSkip{"", "Print?", {"Print", "Later"}, Prompter::Level::kCaution, {}, 0};
  const std::string ask = "Head: Go on? [Yes/No] ";
  const struct {
    const Prompter::Prompt* prompt;
    const char* typed;  // null: no terminal
    int answer;
    std::string shown;
  } cases[] = {{&question, "YES\n", 0, ask},
               {&question, "maybe\ny\n", 0, ask + ask},
               {&question, "a\nb\nc\ny\n", 1, ask + ask + ask + ask + "No\n"},  // three tries
               {&question, "", 1, ask + ask + "No\n"},
               {&printSkip, nullptr, Prompter::kNoButton, "Print? [Print/Later]\n"},
               {&okCancel, "c\n", 1, "Restore? [Ok/Cancel] "}};
  for (const auto& c : cases) {
    char* buffer = nullptr;
    size_t size = 0;
    std::FILE* err = ::open_memstream(&buffer, &size);
    std::istringstream input(c.typed ? c.typed : "");
    TerminalPrompter prompter(err, false, c.typed ? &input : nullptr);
    EXPECT_EQ(prompter.Show(*c.prompt), c.answer) << (c.typed ? c.typed : "(no terminal)");
    std::fclose(err);
    EXPECT_EQ(std::string(buffer, size), c.shown) << (c.typed ? c.typed : "(no terminal)");
    std::free(buffer);
  }
}

}  // namespace
