// A running PPD service (the library's server on a free port, in a thread)
// over a temporary PPD folder holding Card.ppd, installed root:lp 0640.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <thread>

#include "PpdService.h"
#include "ServiceTestSupport.h"

class ServiceFixture : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // (Re)starts the service with these settings.
  void StartService(const std::string& group, std::chrono::milliseconds readTimeout = std::chrono::seconds(5));
  void StopService();

  // Writes text as a new source file (owned by owner) and returns its path.
  std::string Source(const std::string& text, uid_t owner = ::getuid());
  std::string Installed() const { return service_test::ReadFile(card); }
  // The installed text with one replacement.
  std::string Edited(const std::string& from, const std::string& to) const;
  std::string RequestFor(const std::string& source, const std::string& destination) const {
    return source + "|" + destination;
  }
  std::string AskOk(const std::string& request);
  // Expects an "ERROR: " answer that contains reason, and Card.ppd as it was
  // installed, with no backup or temporary file next to it.
  void ExpectRefused(const std::string& request, const std::string& reason);
  void ExpectNothingChanged();

  service_test::TemporaryFolder root;
  std::string ppdFolder;
  std::string userFolder;
  std::string card;
  std::string original;
  std::string defaultGroup;
  int port = -1;

 private:
  std::unique_ptr<PpdService> service_;
  std::thread thread_;
  int sources_ = 0;
};
