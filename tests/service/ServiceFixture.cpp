// The in-process PPD service of the tests.
#include "ServiceFixture.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace service_test;

void ServiceFixture::SetUp() {
  ppdFolder = root.Path() + "/ppd";
  userFolder = root.Path() + "/user";
  ASSERT_EQ(::mkdir(ppdFolder.c_str(), 0755), 0);
  ASSERT_EQ(::mkdir(userFolder.c_str(), 0755), 0);
  card = ppdFolder + "/Card.ppd";
  original = ReadFile(OwnFixturePpd());
  WriteFile(card, original, 0640);
  if (RunningAsRoot()) {
    ASSERT_EQ(::chown(card.c_str(), 0, 7), 0);  // root:lp as CUPS installs it
  }
  defaultGroup = ServiceGroupForTests();
  StartService(defaultGroup);
}

void ServiceFixture::TearDown() { StopService(); }

void ServiceFixture::StartService(const std::string& group, std::chrono::milliseconds readTimeout) {
  StopService();
  PpdServiceOptions options;
  options.port = 0;
  options.group = group;
  options.ppdFolder = ppdFolder;
  options.readTimeout = readTimeout;
  service_ = std::make_unique<PpdService>(options);
  port = service_->Listen();
  ASSERT_GT(port, 0) << "the service cannot listen";
  thread_ = std::thread([this] { service_->Run(); });
}

void ServiceFixture::StopService() {
  if (!service_) return;
  service_->Stop();
  thread_.join();
  service_.reset();
}

std::string ServiceFixture::Source(const std::string& text, uid_t owner) {
  std::string path = userFolder + "/edit" + std::to_string(++sources_) + ".ppd";
  WriteFile(path, text, 0600);
  if (owner != ::getuid()) {
    EXPECT_EQ(::chown(path.c_str(), owner, owner), 0);
  }
  return path;
}

std::string ServiceFixture::Edited(const std::string& from, const std::string& to) const {
  return ReplaceOnce(Installed(), from, to);
}

std::string ServiceFixture::AskOk(const std::string& request) {
  std::optional<std::string> answer = Ask(port, request);
  EXPECT_EQ(answer, "OK") << request;
  return answer.value_or("");
}

void ServiceFixture::ExpectRefused(const std::string& request, const std::string& reason) {
  std::optional<std::string> answer = Ask(port, request);
  ASSERT_TRUE(answer) << "no answer to " << request;
  EXPECT_EQ(answer->rfind("ERROR: ", 0), 0u) << *answer;
  EXPECT_NE(answer->find(reason), std::string::npos) << "answer: " << *answer << "\nexpected: " << reason;
  ExpectNothingChanged();
}

void ServiceFixture::ExpectNothingChanged() {
  EXPECT_EQ(ReadFile(card), original);
  struct stat info {};
  ASSERT_EQ(::stat(card.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640u);
  for (const std::string& name : FolderEntries(ppdFolder)) {
    EXPECT_NE(name, "Card.ppd.O");
    EXPECT_NE(name.rfind(PpdReplacer::kTemporaryPrefix, 0), 0u) << name;
  }
}
