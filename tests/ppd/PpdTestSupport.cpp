// Helpers of the PPDHelper tests.
#include "PpdTestSupport.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdlib>
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
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
  EXPECT_TRUE(out.good()) << "cannot write " << path;
}

std::string ReplaceLine(const std::string& text, const std::string& from, const std::string& to) {
  const std::string needle = "\n" + from + "\n";
  const auto at = text.find(needle);
  EXPECT_NE(at, std::string::npos) << "line not found: " << from;
  if (at == std::string::npos) return text;
  EXPECT_EQ(text.find(needle, at + 1), std::string::npos) << "line found twice: " << from;
  std::string out = text;
  out.replace(at + 1, from.size(), to);
  return out;
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
  if (value)
    ::setenv(name, value->c_str(), 1);
  else
    ::unsetenv(name);
}

ScopedEnv::~ScopedEnv() {
  if (previous_)
    ::setenv(name_.c_str(), previous_->c_str(), 1);
  else
    ::unsetenv(name_.c_str());
}

}  // namespace ppd_test
