// Owners for the libcups handles the session uses: destination lists, job
// lists, scheduler connections and IPP messages are freed on scope exit.
#pragma once

#include <cups/cups.h>

#include <memory>
#include <string>

struct HttpCloser {
  void operator()(http_t* http) const { httpClose(http); }
};
using HttpConnection = std::unique_ptr<http_t, HttpCloser>;

struct IppDeleter {
  void operator()(ipp_t* ipp) const { ippDelete(ipp); }
};
using IppMessage = std::unique_ptr<ipp_t, IppDeleter>;

// The list cupsGetDests hands out, freed with cupsFreeDests.
class CupsDestList {
 public:
  CupsDestList() { count_ = cupsGetDests(&dests_); }
  ~CupsDestList() { cupsFreeDests(count_, dests_); }
  CupsDestList(const CupsDestList&) = delete;
  CupsDestList& operator=(const CupsDestList&) = delete;
  int count() const { return count_; }
  cups_dest_t* get() const { return dests_; }
  // The destination of that name (no instance), or null.
  cups_dest_t* Find(const std::string& name) const { return cupsGetDest(name.c_str(), nullptr, count_, dests_); }

 private:
  cups_dest_t* dests_ = nullptr;
  int count_ = 0;
};

// The list cupsGetJobs hands out (every job of `name`, or of every queue
// when `name` is null), freed with cupsFreeJobs.
class CupsJobList {
 public:
  explicit CupsJobList(const char* name) { count_ = cupsGetJobs(&jobs_, name, 0, CUPS_WHICHJOBS_ALL); }
  ~CupsJobList() { cupsFreeJobs(count_ > 0 ? count_ : 0, jobs_); }
  CupsJobList(const CupsJobList&) = delete;
  CupsJobList& operator=(const CupsJobList&) = delete;
  int count() const { return count_; }
  const cups_job_t* begin() const { return jobs_; }
  const cups_job_t* end() const { return jobs_ + (count_ > 0 ? count_ : 0); }

 private:
  cups_job_t* jobs_ = nullptr;
  int count_ = 0;
};
