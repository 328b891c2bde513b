// Job and queue helpers over libcups for the print-queue integration tests.
#include "TestJobs.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

#include "SandboxEnv.h"

namespace test_jobs {
namespace {

// Sends an operation on a queue; the response, null on failure.
std::unique_ptr<ipp_t, void (*)(ipp_t*)> QueueRequest(ipp_op_t op, const std::string& queue, const char* attribute,
                                                      const char* resource) {
  ipp_t* request = ippNewRequest(op);
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr,
               ("ipp://localhost/printers/" + queue).c_str());
  if (attribute) ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", nullptr, attribute);
  return {cupsDoRequest(CUPS_HTTP_DEFAULT, request, resource), ippDelete};
}

}  // namespace

std::string CardPdf(const std::string& tag) {
  return "%PDF-1.4\n%" + tag +
         "\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
         "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 245.8 153.6]>>endobj\ntrailer<</Root 1 0 R>>\n%%EOF\n";
}

std::string WriteFile(const std::string& name, const std::string& bytes) {
  const std::filesystem::path dir = vkt_sandbox::Base() + "/test-files";
  std::filesystem::create_directories(dir);
  std::ofstream(dir / name, std::ios::binary | std::ios::trunc) << bytes;
  return (dir / name).string();
}

int Submit(const std::string& queue, const std::string& path, bool hold) {
  cups_option_t* options = nullptr;
  const int count = hold ? cupsAddOption("job-hold-until", "indefinite", 0, &options) : 0;
  const int id = cupsPrintFile(queue.c_str(), path.c_str(), "integration test", count, options);
  cupsFreeOptions(count, options);
  return id;
}

std::optional<ipp_jstate_t> JobState(const std::string& queue, int jobId) {
  cups_job_t* jobs = nullptr;
  const int count = cupsGetJobs(&jobs, queue.c_str(), 0, CUPS_WHICHJOBS_ALL);
  std::optional<ipp_jstate_t> state;
  for (int i = 0; i < count; ++i)
    if (jobs[i].id == jobId) state = jobs[i].state;
  cupsFreeJobs(count > 0 ? count : 0, jobs);
  return state;
}

bool WaitForJobState(const std::string& queue, int jobId, ipp_jstate_t state) {
  for (int i = 0; i < 400 && JobState(queue, jobId) != state; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  return JobState(queue, jobId) == state;
}

void CancelJob(int jobId) { cupsCancelJob2(CUPS_HTTP_DEFAULT, nullptr, jobId, 0); }

int PrinterState(const std::string& queue) {
  auto response = QueueRequest(IPP_OP_GET_PRINTER_ATTRIBUTES, queue, "printer-state", "/");
  ipp_attribute_t* attr = response ? ippFindAttribute(response.get(), "printer-state", IPP_TAG_ENUM) : nullptr;
  return attr ? ippGetInteger(attr, 0) : 0;
}

bool PausePrinter(const std::string& queue) {
  auto response = QueueRequest(IPP_OP_PAUSE_PRINTER, queue, nullptr, "/admin/");
  return response && ippGetStatusCode(response.get()) <= IPP_STATUS_OK_CONFLICTING;
}

BackendGate::BackendGate(const std::string& queue) : path_(vkt_sandbox::Var("VKT_SANDBOX_GATES") + "/" + queue) {
  std::ofstream(path_) << "held by a test\n";
}

BackendGate::~BackendGate() { Open(); }

void BackendGate::Open() {
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

}  // namespace test_jobs
