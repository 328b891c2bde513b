// vkt-bench-peak FILE PROGRAM [ARG...]: runs PROGRAM and writes its peak
// resident memory (ru_maxrss, KiB) to FILE; exits with PROGRAM's status.
//
// Linux counts into a process's ru_maxrss the memory of the process it was
// exec'd from. Started straight from the Python runner, every program would
// show at least the runner's own size; started from this small program, it
// shows at most this program's size (about 1 MiB) as a floor.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: vkt-bench-peak FILE PROGRAM [ARG...]\n");
    return 2;
  }
  pid_t child = fork();
  if (child < 0) {
    std::perror("vkt-bench-peak: fork");
    return 127;
  }
  if (child == 0) {
    execvp(argv[2], argv + 2);
    std::perror("vkt-bench-peak: exec");
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) != child) {
    std::perror("vkt-bench-peak: wait4");
    return 127;
  }
  std::FILE* out = std::fopen(argv[1], "w");
  if (!out || std::fprintf(out, "%ld\n", usage.ru_maxrss) < 0 || std::fclose(out) != 0) {
    std::perror("vkt-bench-peak: cannot write the result");
    return 127;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
