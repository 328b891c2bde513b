// Small helpers shared by the PPDHelper tests: files, a scratch folder, a
// scoped environment variable, line edits for expected texts.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace ppd_test {

std::string FixturePath(const std::string& name);  // tests/fixtures/ppd/<name>
std::string DataPath(const std::string& name);     // tests/ppd/data/<name>

std::string ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, const std::string& text);

// `text` with the one whole line `from` replaced by `to`; fails the test
// when `from` is not exactly one line of `text`.
std::string ReplaceLine(std::string text, const std::string& from, const std::string& to);

// A fresh folder under the system's temporary folder, removed with its
// contents at the end of the scope.
class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// Sets (or, with nullopt, unsets) an environment variable for one scope.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const std::optional<std::string>& value);
  ~ScopedEnv() { Set(previous_); }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  void Set(const std::optional<std::string>& value) const;
  std::string name_;
  std::optional<std::string> previous_;
};

}  // namespace ppd_test
