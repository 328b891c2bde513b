// Python helper of the archive tests.
#include "PythonPlist.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

namespace archive_test {

namespace {

std::string Quote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

}  // namespace

std::string RunPython(const std::string& script, const std::string& argument) {
  namespace fs = std::filesystem;
  const fs::path file = fs::temp_directory_path() / ("vkt-archive-" + std::to_string(::getpid()) + ".py");
  std::ofstream(file) << script;
  const std::string command = "python3 " + Quote(file.string()) + " " + Quote(argument) + " 2>&1";
  std::string output;
  int status = -1;
  if (FILE* pipe = ::popen(command.c_str(), "r")) {
    char buffer[4096];
    size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) output.append(buffer, n);
    status = ::pclose(pipe);
  }
  fs::remove(file);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "python3 failed:\n" << output;
  return output;
}

}  // namespace archive_test
