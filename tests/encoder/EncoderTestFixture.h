// The encoder and tools model tests' common ground: a scripted prompter and a
// session to an in-process emulated printer with every write it made.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "DeviceCommunication.h"
#include "EmulatorServer.h"
#include "EncoderContext.h"
#include "EthernetCommunication.h"
#include "RecordingWaits.h"
#include "ScriptedPrompter.h"

namespace encoder_test {

constexpr char kQueue[] = "Card";
constexpr char kIcon[] = "/icons/orvex.png";
using Prompts = std::vector<Prompter::Prompt>;

// One framed command followed by the reply request, as the printer sees them.
inline std::string WithReplyRequest(const std::string& command) { return "\x1b" + command + "\r\x1b" + "E 2\r"; }

// A transport that keeps every write as it went out, and lets the emulated
// printer go through a reset before it connects again (a real printer has
// the twenty seconds of the tool's notice).
struct Wire : EthernetCommunication {
  using EthernetCommunication::EthernetCommunication;
  int SendDataToPrinter(const char* data, int length) override {
    writes.emplace_back(data, static_cast<size_t>(length));
    return EthernetCommunication::SendDataToPrinter(data, length);
  }
  bool SendStreamPart(const char* data, int length) override {
    writes.emplace_back(data, static_cast<size_t>(length));
    return EthernetCommunication::SendStreamPart(data, length);
  }
  int GetPrinterHandle() override {
    const auto waitWhile = [this](bool refusing, int rounds) {
      for (int round = 0; server && round < rounds && server->Refusing() == refusing; ++round)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    };
    waitWhile(false, 1000), waitWhile(true, 5000);
    return EthernetCommunication::GetPrinterHandle();
  }
  std::vector<std::string> writes;
  EmulatorServer* server = nullptr;
};

class EncoderTest : public ::testing::Test {
 protected:
  // Starts the emulated printer of `profileLines` and a session to it through a Wire.
  void Start(const std::string& profileLines = {}) {
    PrinterProfile profile;
    std::string error;
    ASSERT_TRUE(ParsePrinterProfile(profileLines, &profile, &error)) << error;
    session_.reset();
    server_ = std::make_unique<EmulatorServer>(std::move(profile));
    ASSERT_TRUE(server_->Start()) << "the emulator could not start";
    // A silent printer costs a second here instead of five.
    auto wire = std::make_unique<Wire>("vkt3socket://127.0.0.1:" + std::to_string(server_->Port()) + "/",
                                       std::chrono::milliseconds(1000));
    wire_ = wire.get();
    session_ = std::make_unique<DeviceCommunication>(kQueue, std::move(wire), 2);
    wire_->server = server_.get();
    wire_->writes.clear();  // the session's own opening bytes
  }
  EncoderContext Context() { return {session_.get(), prompter_, kIcon, kQueue}; }
  // Every byte the session wrote since the last call.
  std::string Sent() {
    std::string sent;
    for (const std::string& write : std::exchange(wire_->writes, {})) sent += write;
    return sent;
  }

  RecordingWaits waits_;
  ScriptedPrompter prompter_;
  std::unique_ptr<EmulatorServer> server_;
  std::unique_ptr<DeviceCommunication> session_;
  Wire* wire_ = nullptr;  // owned by the session
};

}  // namespace encoder_test
