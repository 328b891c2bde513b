// Owns one POSIX file descriptor and closes it when it goes out of scope.
#pragma once

class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  ~UniqueFd();
  UniqueFd(UniqueFd&& other) noexcept;
  UniqueFd& operator=(UniqueFd&& other) noexcept;
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;

  int Get() const { return fd_; }
  bool Valid() const { return fd_ >= 0; }
  // Closes the held descriptor (if any) and holds fd instead.
  void Reset(int fd = -1);
  // Closes now; returns the result of close(2) (0 when nothing was open).
  int Close();

 private:
  int fd_ = -1;
};
