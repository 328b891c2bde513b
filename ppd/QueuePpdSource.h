// Where the driver settings of a queue are read from: the installed PPD when
// this user may read it, else a copy the scheduler serves.
#pragma once

#include <ctime>
#include <string>

// cupsd writes $CUPS_SERVERROOT/ppd/QUEUE.ppd readable by root and group lp
// only (its ConfigFilePerm), so an ordinary desktop user cannot open it. The
// scheduler serves the same file to any local client, so for such a user the
// settings are read from a copy fetched into the user's private temporary
// directory. The installed path stays the one every save names as its
// destination: the PPD service checks the edit against the installed file.
class QueuePpdSource {
 public:
  explicit QueuePpdSource(std::string installedPath = {});
  ~QueuePpdSource();
  QueuePpdSource(const QueuePpdSource&) = delete;
  QueuePpdSource& operator=(const QueuePpdSource&) = delete;

  // The path to open for reading: the installed file when it is readable,
  // else the scheduler's copy (fetched again only when the scheduler has a
  // newer file). An installed path outside the PPD folder names no queue and
  // is returned as it is, as is the installed path when no copy can be had.
  std::string ReadablePath();

  // The installed file may have changed (a save just replaced it): the next
  // ReadablePath fetches the copy whatever its modification time says (the
  // scheduler compares whole seconds).
  void Invalidate();

  const std::string& InstalledPath() const { return installed_; }
  // The queue this PPD belongs to ("" when the path is not in the PPD folder).
  const std::string& Queue() const { return queue_; }

 private:
  bool Fetch();
  void RemoveCopy();

  std::string installed_;
  std::string queue_;
  std::string copy_;
  time_t modified_ = 0;
};
