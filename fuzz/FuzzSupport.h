// Shared pieces of the fuzz harnesses: waits that return at once, a prompter
// that answers nothing, a reader of the input, and an in-memory file for
// readers that take a path.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "Prompter.h"
#include "Waits.h"

namespace fuzz {

class NoWaits : public Waits {
 public:
  void Sleep(std::chrono::microseconds) override {}
  void RunEventLoop(std::chrono::milliseconds) override {}
};

// Installs NoWaits for the whole process once.
inline void SkipWaits() {
  static NoWaits waits;
  static Waits* previous = Waits::Install(&waits);
  (void)previous;
}

class SilentPrompter : public Prompter {
 public:
  int Show(const Prompt&) override { return kNoButton; }
  std::string ChooseFileToOpen(const FilePanel&) override { return {}; }
  std::string ChooseFileToSave(const FilePanel&) override { return {}; }
};

// Reads the fuzz input front to back.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  bool Empty() const { return pos_ >= size_; }
  uint8_t Byte() { return pos_ < size_ ? data_[pos_++] : 0; }
  uint16_t Word() { return static_cast<uint16_t>(Byte() << 8 | Byte()); }
  std::string Bytes(size_t count) {
    count = std::min(count, size_ - pos_);
    std::string out(reinterpret_cast<const char*>(data_ + pos_), count);
    pos_ += count;
    return out;
  }
  std::string Rest() { return Bytes(size_ - pos_); }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t pos_ = 0;
};

// A file of this process holding the given bytes, rewritten on each call:
// an in-memory file (memfd) named by its /proc/self/fd path, so readers that
// take a path open it like any regular file without a disk write per input.
inline std::string WriteScratchFile(const std::string& bytes, const char* name) {
  static const int fd = ::memfd_create(name, 0);
  if (fd < 0) return "/nonexistent";
  if (::ftruncate(fd, 0) != 0) return "/nonexistent";
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::pwrite(fd, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  return "/proc/self/fd/" + std::to_string(fd);
}

}  // namespace fuzz
