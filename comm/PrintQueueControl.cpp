// Calls into the local CUPS scheduler: resuming a queue, telling whether a
// queue is printing, and waiting for a submitted job to finish.
#include <cups/cups.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "CupsHandles.h"
#include "DeviceCommunication.h"
#include "Log.h"
#include "Waits.h"

namespace {
// The scheduler is polled with a short pause so the wait does not spin a
// core while a card prints; a job id that stays absent from the queue's list
// (purged from the history) ends the wait after 200 consecutive polls, about
// 10 seconds with that pause.
constexpr auto kJobPollPause = std::chrono::milliseconds(50);
constexpr int kVanishedJobPollLimit = 200;

bool IsFinishedJobState(ipp_jstate_t state) {
  // Held and stopped jobs count as finished: they wait for an operator, and
  // the caller must not be kept waiting with them.
  switch (state) {
    case IPP_JSTATE_HELD:
    case IPP_JSTATE_STOPPED:
    case IPP_JSTATE_CANCELED:
    case IPP_JSTATE_ABORTED:
    case IPP_JSTATE_COMPLETED:
      return true;
    default:
      return false;
  }
}
}  // namespace

void DeviceCommunication::EnablePrinter(const char* printerName) {
  if (!printerName) return;
  // httpConnect2 with these arguments is what httpConnectEncrypt does.
  HttpConnection http(httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1, 30000, nullptr));
  if (!http) return;
  char uri[1024] = {};
  std::snprintf(uri, sizeof uri, "ipp://localhost/printers/%s", printerName);

  ipp_t* request = ippNewRequest(IPP_OP_RESUME_PRINTER);
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri);
  ippAddInteger(request, IPP_TAG_PRINTER, IPP_TAG_ENUM, "printer-state", IPP_PSTATE_IDLE);
  ippAddBoolean(request, IPP_TAG_PRINTER, "printer-is-accepting-jobs", 1);
  // Best effort: a user without administrator rights simply gets no effect.
  // cupsDoRequest takes the request over.
  IppMessage response(cupsDoRequest(http.get(), request, "/admin/"));
}

bool IsPrinterBusy(const char* printerName) {
  if (!printerName) return false;
  CupsJobList jobs(std::getenv("PRINTER"));
  // A substring test: a job on "Card2" makes "Card" busy too. Only a job
  // being printed now counts, not pending, held or stopped ones.
  for (const cups_job_t& job : jobs) {
    if (job.dest && std::strstr(job.dest, printerName) && job.state == IPP_JSTATE_PROCESSING) {
      std::printf("%s\n", job.dest);
      std::printf("%d\n", job.state);
      std::fflush(stdout);
      return true;
    }
  }
  return false;
}

void CheckJobStatus(int jobId, const std::string& printerName, std::chrono::milliseconds limit) {
  VktLog("Job Id is %d", jobId);
  if (printerName.empty() || jobId <= 0) return;
  int pollsWithoutJob = 0;
  for (std::chrono::milliseconds waited{0};; waited += kJobPollPause) {
    if (waited >= limit) {
      VktLog("Job %d is not done after %lld ms; going on", jobId, static_cast<long long>(waited.count()));
      return;
    }
    CupsJobList jobs(printerName.c_str());
    if (jobs.count() <= 0) {
      VktLog("Job Completed");
      return;
    }
    const cups_job_t* found = nullptr;
    for (const cups_job_t& job : jobs) {
      if (job.id == jobId) {
        found = &job;
        break;
      }
    }
    if (found && IsFinishedJobState(found->state)) {
      VktLog("Job Completed!!!!!!");
      break;
    }
    pollsWithoutJob = found ? 0 : pollsWithoutJob + 1;
    if (pollsWithoutJob >= kVanishedJobPollLimit) break;
    Waits::Current().Sleep(kJobPollPause);
  }
  VktLog("Job Completed");
}
