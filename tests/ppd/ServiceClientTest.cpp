// The client side of the PPD service exchange: the exact request bytes, the
// reply handling, refused and failed requests.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FakePpdService.h"
#include "PpdTestSupport.h"
#include "SavePPDFileAsRoot.h"

namespace {

using ppd_test::ScopedEnv;
using ::testing::ElementsAre;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

// Only "OK" counts as saved: a refusal, a reply of anything else or none at
// all cannot show that the PPD changed.
TEST(SavePPDFileAsRoot, SendsTheRequestBytesAndOnlyAnOkReplyCountsAsSaved) {
  const std::string failed = "PPD service did not save /etc/cups/ppd/A.ppd: ";
  const struct {
    std::string reply;
    bool answer;
    int result;
    std::string log;
  } cases[] = {
      {"OK", true, 1, "Data received is OK \n"},
      {"ERROR: requester 65534 may not replace PPD files", true, -1,
       "Data received is ERROR: requester 65534 may not replace PPD files \n" + failed +
           "ERROR: requester 65534 may not replace PPD files\n"},
      {"", false, -1, "Data received is  \n" + failed + "no answer\n"},
      {"DONE", true, -1, "Data received is DONE \n" + failed + "DONE\n"},
      // Read once, at most 256 bytes.
      {std::string(300, 'r'), true, -1,
       "Data received is " + std::string(256, 'r') + " \n" + failed + std::string(256, 'r') + "\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reply);
    FakePpdService service({.copySourceOverDestination = false, .answer = c.answer, .reply = c.reply});
    ScopedEnv port("VKT_PPD_SERVICE_PORT", std::to_string(service.port()));
    CaptureStderr();
    EXPECT_EQ(SavePPDFileAsRoot("/run/user/0/A.ppd", "/etc/cups/ppd/A.ppd"), c.result);
    EXPECT_EQ(GetCapturedStderr(), c.log);
    // No terminator, no length prefix.
    EXPECT_THAT(service.Requests(), ElementsAre(std::string("/run/user/0/A.ppd|/etc/cups/ppd/A.ppd")));
  }
}

TEST(SavePPDFileAsRoot, RequestsOver255BytesAreRefusedUnsentAndNobodyListeningFails) {
  FakePpdService service({.copySourceOverDestination = false});
  ScopedEnv port("VKT_PPD_SERVICE_PORT", std::to_string(service.port()));
  const std::string dst = "/etc/cups/ppd/Card.ppd";      // 22 bytes
  const std::string fits = "/" + std::string(231, 'a');  // 232 + 1 + 22 = 255 bytes
  CaptureStderr();
  EXPECT_EQ(SavePPDFileAsRoot(fits.c_str(), dst.c_str()), 1);
  GetCapturedStderr();
  CaptureStderr();
  EXPECT_EQ(SavePPDFileAsRoot((fits + "b").c_str(), dst.c_str()), -1);
  EXPECT_THAT(GetCapturedStderr(), ::testing::HasSubstr("longer than 255 bytes"));
  EXPECT_EQ(SavePPDFileAsRoot("/tmp/Card.ppd", std::string(4096, 'd').c_str()), -1);
  EXPECT_THAT(service.Requests(), ElementsAre(fits + "|" + dst));

  // A service that takes the request and never answers: a bounded wait, then a failed save.
  FakePpdService silent({.copySourceOverDestination = false, .hold = true});
  ScopedEnv silentPort("VKT_PPD_SERVICE_PORT", std::to_string(silent.port()));
  CaptureStderr();
  EXPECT_EQ(SavePPDFileAsRoot("/tmp/Card.ppd", dst.c_str(), std::chrono::milliseconds(200)), -1);
  EXPECT_EQ(GetCapturedStderr(), "PPD service did not save " + dst + ": no answer within 200 ms\n");
  EXPECT_THAT(silent.Requests(), ElementsAre("/tmp/Card.ppd|" + dst));

  ScopedEnv nobody("VKT_PPD_SERVICE_PORT", std::to_string(FakePpdService::UnusedPort()));
  CaptureStderr();
  EXPECT_EQ(SavePPDFileAsRoot("/tmp/Card.ppd", dst.c_str()), -1);
  EXPECT_EQ(GetCapturedStderr(), "Error connecting socket :: Connection refused\n");
}

}  // namespace
