// Job and queue helpers over libcups for the print-queue integration tests.
#include "TestJobs.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <thread>

#include "SandboxEnv.h"

namespace test_jobs {
namespace {

struct IppDeleter {
  void operator()(ipp_t* ipp) const { ippDelete(ipp); }
};
using IppPtr = std::unique_ptr<ipp_t, IppDeleter>;

std::string PrinterUri(const std::string& queue) { return "ipp://localhost/printers/" + queue; }

// Polls `done` every 50 ms, at most `rounds` times.
template <typename F>
bool PollUntil(int rounds, F done) {
  for (int i = 0; i < rounds; ++i) {
    if (done()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return done();
}

std::string ReadAll(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

}  // namespace

std::string CardPdf(const std::string& tag) {
  return "%PDF-1.4\n%" + tag +
         "\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
         "2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
         "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 245.8 153.6]>>endobj\n"
         "trailer<</Root 1 0 R>>\n%%EOF\n";
}

std::string WriteFile(const std::string& name, const std::string& bytes) {
  const std::filesystem::path dir = vkt_sandbox::Base() + "/test-files";
  std::filesystem::create_directories(dir);
  const auto path = dir / name;
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
  return path.string();
}

int Submit(const std::string& queue, const std::string& path, bool hold) {
  cups_option_t* options = nullptr;
  int count = 0;
  if (hold) count = cupsAddOption("job-hold-until", "indefinite", count, &options);
  const int id = cupsPrintFile(queue.c_str(), path.c_str(), "integration test", count, options);
  cupsFreeOptions(count, options);
  return id;
}

std::optional<ipp_jstate_t> JobState(const std::string& queue, int jobId) {
  cups_job_t* jobs = nullptr;
  const int count = cupsGetJobs(&jobs, queue.c_str(), 0, CUPS_WHICHJOBS_ALL);
  std::optional<ipp_jstate_t> state;
  for (int i = 0; i < count; ++i) {
    if (jobs[i].id == jobId) state = jobs[i].state;
  }
  cupsFreeJobs(count > 0 ? count : 0, jobs);
  return state;
}

bool WaitForJobState(const std::string& queue, int jobId, ipp_jstate_t state) {
  return PollUntil(400, [&] { return JobState(queue, jobId) == state; });
}

void CancelJob(int jobId) { cupsCancelJob2(CUPS_HTTP_DEFAULT, nullptr, jobId, 0); }

int PrinterState(const std::string& queue) {
  ipp_t* request = ippNewRequest(IPP_OP_GET_PRINTER_ATTRIBUTES);
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, PrinterUri(queue).c_str());
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", nullptr, "printer-state");
  IppPtr response(cupsDoRequest(CUPS_HTTP_DEFAULT, request, "/"));
  if (!response) return 0;
  ipp_attribute_t* attr = ippFindAttribute(response.get(), "printer-state", IPP_TAG_ENUM);
  return attr ? ippGetInteger(attr, 0) : 0;
}

bool PausePrinter(const std::string& queue) {
  ipp_t* request = ippNewRequest(IPP_OP_PAUSE_PRINTER);
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, PrinterUri(queue).c_str());
  IppPtr response(cupsDoRequest(CUPS_HTTP_DEFAULT, request, "/admin/"));
  return response && ippGetStatusCode(response.get()) <= IPP_STATUS_OK_CONFLICTING;
}

std::optional<std::string> WaitForCapture(const std::string& dir, const std::string& bytes) {
  std::optional<std::string> found;
  PollUntil(200, [&] {
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(dir, ec)) {
      if (entry.is_regular_file() && entry.file_size() == bytes.size() && ReadAll(entry.path()) == bytes) {
        found = entry.path().filename().string();
        return true;
      }
    }
    return false;
  });
  return found;
}

BackendGate::BackendGate(const std::string& queue) : path_(vkt_sandbox::Var("VKT_SANDBOX_GATES") + "/" + queue) {
  std::ofstream(path_) << "held by a test\n";
}

BackendGate::~BackendGate() { Open(); }

void BackendGate::Open() {
  std::error_code ec;
  std::filesystem::remove(path_, ec);
}

}  // namespace test_jobs
