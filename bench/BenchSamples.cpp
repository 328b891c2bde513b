// JSON output of the benchmark programs' timings.
#include "BenchSamples.h"

#include <algorithm>
#include <cstdio>

namespace {

std::string JsonString(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned char>(c));
      out += escaped;
    } else {
      out += c;
    }
  }
  return out + "\"";
}

}  // namespace

void BenchSamples::Add(Clock::time_point start, Clock::time_point end) {
  samples_.push_back(std::chrono::duration<double, std::milli>(end - start).count());
}

void BenchSamples::Note(const std::string& key, double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%.17g", value);
  notes_.emplace_back(key, text);
}

void BenchSamples::Note(const std::string& key, const std::string& value) { notes_.emplace_back(key, JsonString(value)); }

double BenchSamples::Median() const {
  if (samples_.empty()) return 0;
  std::vector<double> sorted = samples_;
  std::sort(sorted.begin(), sorted.end());
  size_t n = sorted.size();
  return n % 2 ? sorted[n / 2] : (sorted[n / 2 - 1] + sorted[n / 2]) / 2;
}

void BenchSamples::Print() const {
  std::string line = "{\"samples_ms\":[";
  for (size_t i = 0; i < samples_.size(); ++i) {
    char text[32];
    std::snprintf(text, sizeof text, "%s%.4f", i ? "," : "", samples_[i]);
    line += text;
  }
  char median[48];
  std::snprintf(median, sizeof median, "],\"median_ms\":%.4f", Median());
  line += median;
  for (const auto& [key, value] : notes_) {
    line += ',';
    line += JsonString(key);
    line += ':';
    line += value;
  }
  line += "}\n";
  std::fputs(line.c_str(), stdout);
  std::fflush(stdout);
}
