// vkt-bench-socket-cat HOST PORT FILE: the baseline of the PRN benchmark, a
// cat-like client that copies FILE to the port in 128 KiB reads and writes.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "BenchSamples.h"
#include "PlainPrinterSocket.h"

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fprintf(stderr, "usage: vkt-bench-socket-cat HOST PORT FILE\n");
    return 2;
  }
  BenchSamples samples;
  auto start = BenchSamples::Clock::now();
  samples.Note("start_s", std::chrono::duration<double>(start.time_since_epoch()).count());
  long long sent = 0;
  {
    PlainPrinterSocket printer;
    int fd = open(argv[3], O_RDONLY);
    if (fd < 0 || !printer.Connect(argv[1], std::atoi(argv[2]), false)) {
      std::fprintf(stderr, "cannot open %s or connect to %s:%s\n", argv[3], argv[1], argv[2]);
      if (fd >= 0) close(fd);
      return 1;
    }
    std::vector<char> buffer(128 * 1024);
    ssize_t count = 0;
    while ((count = read(fd, buffer.data(), buffer.size())) > 0) {
      if (!printer.WriteAll(buffer.data(), static_cast<size_t>(count))) break;
      sent += count;
    }
    close(fd);
  }
  samples.Add(start, BenchSamples::Clock::now());
  samples.Note("bytes", static_cast<double>(sent));
  samples.Print();
  return 0;
}
