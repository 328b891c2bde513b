// The client side of the PPD service exchange: the exact request bytes, the
// reply handling, the closed connection, refused and failed requests.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FakePpdService.h"
#include "PpdTestSupport.h"
#include "SavePPDFileAsRoot.h"

namespace {

using ppd_test::ScopedEnv;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

FakePpdService::Options RecordOnly(std::string reply = "OK", bool answer = true) {
  FakePpdService::Options options;
  options.copySourceOverDestination = false;
  options.answer = answer;
  options.reply = std::move(reply);
  return options;
}

TEST(SavePPDFileAsRoot, SendsTheThirtySixBytesAndClosesAfterTheReply) {
  FakePpdService service(RecordOnly());
  ScopedEnv port("VKT_PPD_SERVICE_PORT", std::to_string(service.port()));
  CaptureStderr();
  EXPECT_EQ(SavePPDFileAsRoot("/tmp/Card.ppd", "/etc/cups/ppd/Card.ppd"), 1);
  EXPECT_EQ(GetCapturedStderr(), "Data received is OK \n");
  const auto requests = service.Requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0], std::string("/tmp/Card.ppd|/etc/cups/ppd/Card.ppd"));
  EXPECT_EQ(requests[0].size(), 36u);  // no terminator, no length prefix
  EXPECT_THAT(service.ClientClosed(1), ElementsAre(true));
}

// Only "OK" counts as saved: a refusal, a reply of anything else or none at
// all cannot show that the PPD changed.
TEST(SavePPDFileAsRoot, OnlyAnOkReplyCountsAsSaved) {
  const struct {
    std::string reply;
    bool answer;
    int result;
    std::string log;
  } cases[] = {
      {"OK", true, 1, "Data received is OK \n"},
      {"ERROR: requester 65534 may not replace PPD files", true, -1,
       "Data received is ERROR: requester 65534 may not replace PPD files \n"
       "PPD service did not save /etc/cups/ppd/A.ppd: ERROR: requester 65534 may not replace PPD files\n"},
      {"", false, -1, "Data received is  \n" "PPD service did not save /etc/cups/ppd/A.ppd: no answer\n"},
      {"DONE", true, -1, "Data received is DONE \n" "PPD service did not save /etc/cups/ppd/A.ppd: DONE\n"},
      // Read once, at most 256 bytes.
      {std::string(300, 'r'), true, -1,
       "Data received is " + std::string(256, 'r') + " \n" "PPD service did not save /etc/cups/ppd/A.ppd: " +
           std::string(256, 'r') + "\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reply);
    FakePpdService service(RecordOnly(c.reply, c.answer));
    ScopedEnv port("VKT_PPD_SERVICE_PORT", std::to_string(service.port()));
    CaptureStderr();
    EXPECT_EQ(SavePPDFileAsRoot("/run/user/0/A.ppd", "/etc/cups/ppd/A.ppd"), c.result);
    EXPECT_EQ(GetCapturedStderr(), c.log);
  }
}

TEST(SavePPDFileAsRoot, RequestsThatDoNotFitIn255BytesAreRefusedUnsent) {
  FakePpdService service(RecordOnly());
  ScopedEnv port("VKT_PPD_SERVICE_PORT", std::to_string(service.port()));
  const std::string dst = "/etc/cups/ppd/Card.ppd";  // 22 bytes
  // 232 + 1 + 22 = 255 bytes: fits.
  const std::string fits = "/" + std::string(231, 'a');
  CaptureStderr();
  EXPECT_EQ(SavePPDFileAsRoot(fits.c_str(), dst.c_str()), 1);
  GetCapturedStderr();
  // One byte more: refused, nothing sent.
  const std::string tooLong = fits + "b";
  CaptureStderr();
  EXPECT_EQ(SavePPDFileAsRoot(tooLong.c_str(), dst.c_str()), -1);
  EXPECT_THAT(GetCapturedStderr(), HasSubstr("longer than 255 bytes"));
  EXPECT_EQ(SavePPDFileAsRoot("/tmp/Card.ppd", std::string(4096, 'd').c_str()), -1);
  EXPECT_THAT(service.Requests(), ElementsAre(fits + "|" + dst));
}

TEST(SavePPDFileAsRoot, NobodyListening) {
  ScopedEnv port("VKT_PPD_SERVICE_PORT", std::to_string(FakePpdService::UnusedPort()));
  CaptureStderr();
  EXPECT_EQ(SavePPDFileAsRoot("/tmp/Card.ppd", "/etc/cups/ppd/Card.ppd"), -1);
  EXPECT_EQ(GetCapturedStderr(), "Error connecting socket :: Connection refused\n");
}

}  // namespace
