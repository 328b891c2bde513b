// Jobs and queue states of the sandbox's scheduler, for the print-queue tests:
// test PDFs, job submission, job and printer states over IPP, and the backend
// gate that keeps a job in the processing state.
#pragma once

#include <cups/cups.h>

#include <optional>
#include <string>

namespace test_jobs {

// A small one-page card PDF whose bytes carry `tag`.
std::string CardPdf(const std::string& tag);
// Writes `bytes` to a fresh file in the sandbox and returns its path.
std::string WriteFile(const std::string& name, const std::string& bytes);
// Submits a file; `hold` asks the scheduler to hold the job indefinitely.
// Returns the job id, 0 on failure.
int Submit(const std::string& queue, const std::string& path, bool hold = false);
// The job's state as the scheduler lists it, or nullopt when not listed.
std::optional<ipp_jstate_t> JobState(const std::string& queue, int jobId);
// Polls until the job reaches `state`; false after about 20 s without it.
bool WaitForJobState(const std::string& queue, int jobId, ipp_jstate_t state);
void CancelJob(int jobId);
// printer-state of a queue (3 idle, 4 processing, 5 stopped), 0 on failure.
int PrinterState(const std::string& queue);
// Stops a queue as cupsdisable does (IPP Pause-Printer). True on success.
bool PausePrinter(const std::string& queue);

// While alive, jobs of the queue wait in the sandbox's vkt3socket backend
// (state processing); destruction lets them go on to the emulator.
class BackendGate {
 public:
  explicit BackendGate(const std::string& queue);
  ~BackendGate();
  BackendGate(const BackendGate&) = delete;
  BackendGate& operator=(const BackendGate&) = delete;
  void Open();

 private:
  std::string path_;
};

}  // namespace test_jobs
