// Small helpers shared by the PPDHelper tests: files, a scratch folder, a
// scoped environment variable, line edits for expected texts.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>

namespace ppd_test {

inline std::string FixturePath(const std::string& name) { return std::string(VKT_PPD_FIXTURES) + "/" + name; }
inline std::string DataPath(const std::string& name) { return std::string(VKT_PPD_TEST_DATA) + "/" + name; }

inline std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << "cannot read " << path;
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void WriteFile(const std::filesystem::path& path, const std::string& text) {
  EXPECT_TRUE(std::ofstream(path, std::ios::binary | std::ios::trunc) << text) << "cannot write " << path;
}

// `text` with the one whole line `from` replaced by `to`; fails the test
// when `from` is not exactly one line of `text`.
inline std::string ReplaceLine(std::string text, const std::string& from, const std::string& to) {
  const auto at = text.find("\n" + from + "\n");
  EXPECT_NE(at, std::string::npos) << "line not found: " << from;
  EXPECT_EQ(text.find("\n" + from + "\n", at + 1), std::string::npos) << "line found twice: " << from;
  return at == std::string::npos ? text : text.replace(at + 1, from.size(), to);
}

// A fresh folder under the system's temporary folder, removed with its
// contents at the end of the scope.
class ScratchDir {
 public:
  ScratchDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vkt-ppd-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
  }
  ~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// Sets (or, with nullopt, unsets) an environment variable for one scope.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const std::optional<std::string>& value) : name_(name) {
    if (const char* old = std::getenv(name)) previous_ = old;
    Set(value);
  }
  ~ScopedEnv() { Set(previous_); }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  void Set(const std::optional<std::string>& value) const {
    value ? ::setenv(name_.c_str(), value->c_str(), 1) : ::unsetenv(name_.c_str());
  }
  std::string name_;
  std::optional<std::string> previous_;
};

}  // namespace ppd_test
