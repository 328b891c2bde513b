// File descriptor ownership.
#include "UniqueFd.h"

#include <unistd.h>

#include <utility>

UniqueFd::~UniqueFd() { Close(); }

UniqueFd::UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept {
  if (this != &other) {
    Close();
    fd_ = std::exchange(other.fd_, -1);
  }
  return *this;
}

int UniqueFd::Close() {
  if (fd_ < 0) return 0;
  // close(2) releases the descriptor even when it reports EINTR: never retry.
  return ::close(std::exchange(fd_, -1));
}
