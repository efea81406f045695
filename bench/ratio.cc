#include "bench/ratio.h"

#include <cstdio>
#include <map>
#include <vector>

namespace bench {
namespace {

std::vector<Job>& Jobs() {
  static std::vector<Job> jobs;
  return jobs;
}

std::string OursName(const Job& job) { return job.name + "#ours"; }
std::string PeerName(const Job& job) { return job.name + "#peer"; }

// Keeps the median of each benchmark, in nanoseconds.
class MedianReporter : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.aggregate_name != "median") continue;
      median[run.run_name.function_name + "|real"] = run.GetAdjustedRealTime();
      median[run.run_name.function_name + "|cpu"] = run.GetAdjustedCPUTime();
    }
    std::fprintf(stderr, ".");
  }
  std::map<std::string, double> median;
};

void Print(const Job& job, MedianReporter& reporter) {
  const char* clock = job.processor_time ? "|cpu" : "|real";
  auto ours = reporter.median.find(OursName(job) + clock);
  if (ours == reporter.median.end()) return;
  if (!job.theirs) {
    std::printf("%-44s %12.1f ns\n", job.name.c_str(), ours->second);
    return;
  }
  double theirs = reporter.median[PeerName(job) + clock];
  double ratio = ours->second / theirs;
  std::printf("%-44s %12.1f ns %12.1f ns  %6.3fx  target %5.2fx  %s\n", job.name.c_str(),
              ours->second, theirs, ratio, job.target,
              ratio <= job.target * 1.05 ? "reached" : "missed");
}

}  // namespace

void Add(Job job) { Jobs().push_back(std::move(job)); }

int Run(int argc, char** argv) {
  std::vector<std::string> words(argv, argv + argc);
  words.insert(words.begin() + 1,
               {"--benchmark_repetitions=9", "--benchmark_enable_random_interleaving=true",
                "--benchmark_min_time=0.03"});
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());

  for (const Job& job : Jobs()) {
    benchmark::RegisterBenchmark(OursName(job).c_str(), job.ours);
    if (job.theirs) benchmark::RegisterBenchmark(PeerName(job).c_str(), job.theirs);
  }
  MedianReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\n%-44s %15s %15s  %7s\n", "job", "ours", "peer", "ratio");
  for (const Job& job : Jobs()) Print(job, reporter);
  Jobs().clear();
  benchmark::ClearRegisteredBenchmarks();
  return 0;
}

}  // namespace bench
