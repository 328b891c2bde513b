// vkt-bench-prn-send QUEUE FILE: sends FILE to QUEUE's printer the way the
// tools tab sends a PRN file: a printer session, then 4096-byte blocks
// through DeviceCommunication::WriteToPrinter.
#include <array>
#include <cstdio>
#include <memory>

#include "BenchSamples.h"
#include "DeviceCommunication.h"

namespace {
struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: vkt-bench-prn-send QUEUE FILE\n");
    return 2;
  }
  BenchSamples samples;
  long long sent = 0;
  auto session = std::make_unique<DeviceCommunication>(argv[1]);
  std::unique_ptr<std::FILE, FileCloser> file(std::fopen(argv[2], "rb"));
  if (!session->Transport() || !file) {
    std::fprintf(stderr, "no session for %s or no file %s\n", argv[1], argv[2]);
    return 1;
  }
  // The tools tab already holds its session: the user waits for the blocks
  // and the end of the connection, not for the set-up.
  auto start = BenchSamples::Clock::now();
  // steady_clock is CLOCK_MONOTONIC: scripts/bench times the delivery against it.
  samples.Note("start_s", std::chrono::duration<double>(start.time_since_epoch()).count());
  std::array<char, 4096> block;
  while (true) {
    size_t count = std::fread(block.data(), 1, block.size(), file.get());
    if (count < 1) break;
    session->WriteToPrinter(block.data(), static_cast<int>(count));
    sent += static_cast<long long>(count);
  }
  session.reset();
  samples.Add(start, BenchSamples::Clock::now());
  samples.Note("bytes", static_cast<double>(sent));
  samples.Print();
  return 0;
}
