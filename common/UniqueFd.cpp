// The file-descriptor owner shared by the PPD client and the PPD service.
#include "UniqueFd.h"

#include <unistd.h>

#include <utility>

UniqueFd::~UniqueFd() { Reset(); }

UniqueFd::UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept {
  if (this != &other) Reset(std::exchange(other.fd_, -1));
  return *this;
}

void UniqueFd::Reset(int fd) {
  if (fd_ >= 0) ::close(fd_);
  fd_ = fd;
}

int UniqueFd::Close() {
  if (fd_ < 0) return 0;
  // close(2) releases the descriptor even when it reports EINTR: never retry.
  return ::close(std::exchange(fd_, -1));
}
