// The client side of the PPD service exchange: the exact request bytes, the
// reply handling, refused and failed requests.
#include <gtest/gtest.h>

#include "FakePpdService.h"
#include "PpdTestSupport.h"
#include "SavePPDFileAsRoot.h"

namespace {

using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

// Only "OK" counts as saved: a refusal, a reply of anything else or none at
// all cannot show that the PPD changed. The request is "src|dst", without a
// terminator or a length prefix, of at most 255 bytes.
TEST(SavePPDFileAsRoot, SendsTheRequestBytesAndOnlyAnOkReplyCountsAsSaved) {
  const std::string dst = "/etc/cups/ppd/Card.ppd", src = "/run/user/0/A.ppd";  // 22 and 17 bytes
  const std::string fits = "/" + std::string(231, 'a'), r256(256, 'r');         // 232 + 1 + 22 = 255 bytes
  const std::string refusal = "ERROR: requester 65534 may not replace PPD files";
  const auto got = [](const std::string& reply) { return "Data received is " + reply + " \n"; };
  const auto failed = [&](const std::string& why) { return "PPD service did not save " + dst + ": " + why + "\n"; };
  const struct {
    FakePpdService::Options service;
    std::string src, dst, expected;  // "<result> <the one request sent, or none> <log>"
  } cases[] = {
      {{.reply = "OK"}, src, dst, "1 sent " + got("OK")},
      {{.reply = refusal}, src, dst, "-1 sent " + got(refusal) + failed(refusal)},
      {{.answer = false}, src, dst, "-1 sent " + got("") + failed("no answer")},
      {{.reply = std::string(300, 'r')}, src, dst, "-1 sent " + got(r256) + failed(r256)},  // one read of 256 bytes
      {{}, fits, dst, "1 sent " + got("OK")},
      {{}, fits + "b", dst, "-1 none PPD service request refused: 256 bytes, longer than 255 bytes\n"},
      // A service that takes the request and never answers: a bounded wait.
      {{.hold = true}, src, dst, "-1 sent " + failed("no answer within 1000 ms")},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    FakePpdService::Options options = c.service;
    options.copySourceOverDestination = false;
    FakePpdService service(options);
    ppd_test::ScopedEnv port("VKT_PPD_SERVICE_PORT", std::to_string(service.port()));
    CaptureStderr();
    const int result = SavePPDFileAsRoot(c.src.c_str(), c.dst.c_str(), std::chrono::milliseconds(1000));
    const auto requests = service.Requests();
    const bool sent = requests == std::vector<std::string>{c.src + "|" + c.dst};
    const std::string what = sent ? " sent " : (requests.empty() ? " none " : " other ");
    EXPECT_EQ(std::to_string(result) + what + GetCapturedStderr(), c.expected);
  }
}

}  // namespace
