// Helpers of the PPDHelper tests.
#include "PpdTestSupport.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <sstream>

namespace ppd_test {

std::string FixturePath(const std::string& name) { return std::string(VKT_PPD_FIXTURES) + "/" + name; }
std::string DataPath(const std::string& name) { return std::string(VKT_PPD_TEST_DATA) + "/" + name; }

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << "cannot read " << path;
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void WriteFile(const std::filesystem::path& path, const std::string& text) {
  EXPECT_TRUE(std::ofstream(path, std::ios::binary | std::ios::trunc) << text) << "cannot write " << path;
}

std::string ReplaceLine(std::string text, const std::string& from, const std::string& to) {
  const auto at = text.find("\n" + from + "\n");
  EXPECT_NE(at, std::string::npos) << "line not found: " << from;
  EXPECT_EQ(text.find("\n" + from + "\n", at + 1), std::string::npos) << "line found twice: " << from;
  return at == std::string::npos ? text : text.replace(at + 1, from.size(), to);
}

ScratchDir::ScratchDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "vkt-ppd-test-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

ScratchDir::~ScratchDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

ScopedEnv::ScopedEnv(const char* name, const std::optional<std::string>& value) : name_(name) {
  if (const char* old = std::getenv(name)) previous_ = old;
  Set(value);
}

void ScopedEnv::Set(const std::optional<std::string>& value) const {
  if (value)
    ::setenv(name_.c_str(), value->c_str(), 1);
  else
    ::unsetenv(name_.c_str());
}

}  // namespace ppd_test
