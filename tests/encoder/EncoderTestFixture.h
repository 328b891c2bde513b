// The encoder model tests' common ground: a prompter that records every
// prompt and answers from a script, and a session to an in-process emulated
// printer with the bytes it received.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "DeviceCommunication.h"
#include "EmulatorServer.h"
#include "EncoderContext.h"
#include "EthernetCommunication.h"
#include "RecordingWaits.h"

inline void PrintTo(const Prompter::Prompt& p, std::ostream* os) {
  *os << "{" << testing::PrintToString(p.header) << ", " << testing::PrintToString(p.message) << ", "
      << testing::PrintToString(p.buttons) << ", level " << static_cast<int>(p.level) << ", icon " << p.icon << ", "
      << p.timeoutSeconds << " s}";
}

namespace encoder_test {

constexpr char kQueue[] = "Card";
constexpr char kIcon[] = "/icons/orvex.png";

using Prompt = Prompter::Prompt;
using Prompts = std::vector<Prompt>;

class RecordingPrompter : public Prompter {
 public:
  using Prompter::Show;
  int Show(const Prompt& prompt) override {
    prompts.push_back(prompt);
    if (answers.empty()) return 0;
    const int answer = answers.front();
    answers.pop_front();
    return answer;
  }
  std::string ChooseFileToOpen(const FilePanel&) override { return {}; }
  std::string ChooseFileToSave(const FilePanel&) override { return {}; }

  Prompts prompts;
  std::deque<int> answers;  // then the default button
};

class EncoderTest : public ::testing::Test {
 protected:
  // Starts the emulated printer and a session to it.
  void Start(PrinterProfile profile = PrinterProfile()) {
    session_.reset();
    server_ = std::make_unique<EmulatorServer>(std::move(profile));
    ASSERT_TRUE(server_->Start()) << "the emulator could not start";
    // A silent printer costs a second here instead of five.
    auto transport = std::make_unique<EthernetCommunication>(
        "vkt3socket://127.0.0.1:" + std::to_string(server_->Port()) + "/", std::chrono::milliseconds(1000));
    session_ = std::make_unique<DeviceCommunication>(kQueue, std::move(transport), 2);
    mark_ = 0;
    Sent();  // the session's own opening bytes
  }

  EncoderContext Context() { return {session_.get(), prompter_, kIcon, kQueue}; }

  // Every byte the printer received since the last call. The test's own
  // reply request, once answered, proves the printer has seen everything
  // before it (the encode write has no reply); it is left out.
  std::string Sent() {
    static const std::string kSync =
        "\x1b"
        "E 2\r";
    session_->WriteToPrinter(kSync.data(), static_cast<int>(kSync.size()));
    EXPECT_TRUE(session_->ReadFromPrinter().has_value()) << "no answer to the test's own reply request";
    const std::string transcript = server_->Engine().Transcript();
    const size_t end = transcript.size() - kSync.size();
    std::string sent = transcript.substr(mark_, end - mark_);
    mark_ = transcript.size();
    return sent;
  }

  RecordingWaits waits_;
  RecordingPrompter prompter_;
  std::unique_ptr<EmulatorServer> server_;
  std::unique_ptr<DeviceCommunication> session_;
  size_t mark_ = 0;
};

// One framed command followed by the reply request, as the printer sees them.
inline std::string WithReplyRequest(const std::string& command) {
  return "\x1b" + command +
         "\r\x1b"
         "E 2\r";
}

}  // namespace encoder_test
