// Prompts of an unattended run go to standard output.
#include "UnattendedPrompter.h"

#include <cstdio>

int UnattendedPrompter::Show(const Prompt& prompt) {
  std::fprintf(stdout, "prompt: [%s] %s -> %s\n", prompt.header.c_str(), prompt.message.c_str(),
               prompt.buttons.empty() ? "(closes by itself)" : prompt.buttons.front().c_str());
  std::fflush(stdout);
  return prompt.buttons.empty() ? kNoButton : 0;
}
