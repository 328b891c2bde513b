// Runs a Python 3 snippet with plistlib from a test: the reference reader and
// writer of property lists the tool's files are checked against.
#pragma once

#include <string>

namespace archive_test {

// Runs `script` with python3, the arguments following it; returns its
// standard output. Fails the calling test when python3 exits non-zero.
std::string RunPython(const std::string& script, const std::string& argument = {});

}  // namespace archive_test
