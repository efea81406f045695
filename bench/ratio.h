// Measures jobs of ours beside a peer in one run and prints the ratio of the medians.
//
//   bench::Add({"1252 to UTF-8, ASCII, 4 KiB", "iconv", 0.05, Ours, Theirs});
//   return bench::Run(argc, argv);
//
// Repetitions are interleaved at random; arguments are Google Benchmark's.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace bench {

struct Job {
  std::string name;
  std::string peer = {};  // "" for a job without one
  double target = 0;      // our time divided by the peer's, at most; 0: none, for the record only
  std::function<void(benchmark::State&)> ours = {};
  std::function<void(benchmark::State&)> theirs = {};
  // Processor time of this process instead of elapsed time.
  bool processor_time = false;
  // The jobs measure by themselves and call SetIterationTime.
  bool own_time = false;
  // What one iteration does; the table shows the time of one.
  double operations = 1;
  // Iterations of a repetition; 0: as many as a repetition's time allows.
  int64_t iterations = 0;
  // How many threads do the job at once; the time is that of all of them, divided by all they did.
  int threads = 1;
};

void Add(Job job);

// Runs everything added since the last run and prints a table. 0, also where a target is missed: a
// measurement is not a test.
int Run(int argc, char** argv);

}  // namespace bench
