// Timings of one benchmark program: collects samples in milliseconds and
// prints them as one JSON line, the format scripts/bench reads.
#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

class BenchSamples {
 public:
  using Clock = std::chrono::steady_clock;

  void Add(Clock::time_point start, Clock::time_point end);
  void AddMs(double ms) { samples_.push_back(ms); }
  // Extra facts for the report ("queues": 510 ...), printed as JSON numbers or strings.
  void Note(const std::string& key, double value);
  void Note(const std::string& key, const std::string& value);
  double Median() const;
  // {"samples_ms":[...],"median_ms":...,<notes>} on stdout, one line.
  void Print() const;

 private:
  std::vector<double> samples_;
  std::vector<std::pair<std::string, std::string>> notes_;  // value already in JSON form
};
