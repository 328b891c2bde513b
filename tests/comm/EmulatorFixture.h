// An in-process printer emulator for transport and command tests, with the
// URI that reaches it and a wait for bytes the server has yet to read.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "EmulatorServer.h"
#include "EthernetCommunication.h"

// Read waits: generous where a reply is due (a loaded CI machine must not
// turn a late reply into a failure), short where silence is the point.
inline constexpr std::chrono::milliseconds kTestReadWait{3000};
inline constexpr std::chrono::milliseconds kSilenceReadWait{200};

inline const std::string kReplyRequest = "\033E 2\r";
inline const std::string kFlushRound = "\x1b.\r" + kReplyRequest;

class EmulatorTest : public testing::Test {
 protected:
  void StartEmulator(PrinterProfile profile = PrinterProfile()) {
    server_ = std::make_unique<EmulatorServer>(std::move(profile));
    ASSERT_TRUE(server_->Start(0)) << "the printer emulator did not start";
  }
  std::string Uri() const { return "vkt3socket://127.0.0.1:" + std::to_string(server_->Port()); }
  std::unique_ptr<EthernetCommunication> Connect(std::chrono::milliseconds readWait = kTestReadWait) {
    return std::make_unique<EthernetCommunication>(Uri(), readWait);
  }

  // Bytes the emulator received on connection `index`, once it has read at
  // least `size` of them (the server reads on its own thread).
  std::string Received(size_t index, size_t size) {
    std::vector<std::string> transcripts;
    for (int i = 0; i < 2000; ++i) {
      transcripts = server_->ConnectionTranscripts();
      if (transcripts.size() > index && transcripts[index].size() >= size) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return transcripts.size() > index ? transcripts[index] : std::string("<no connection>");
  }

  std::unique_ptr<EmulatorServer> server_;
};
