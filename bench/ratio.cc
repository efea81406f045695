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

// Keeps the median of each benchmark, in nanoseconds per iteration.
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
  double time = ours->second / job.operations;
  std::printf("%-44s %12.1f ns", job.name.c_str(), time);
  if (job.theirs) {
    double theirs = reporter.median[PeerName(job) + clock] / job.operations;
    double ratio = time / theirs;
    std::printf(" %12.1f ns  %6.3fx", theirs, ratio);
    if (job.target > 0) {
      std::printf("  target %5.2fx  %s", job.target,
                  ratio <= job.target * 1.05 ? "reached" : "missed");
    }
  }
  std::printf("\n");
}

void Register(const Job& job, const std::string& name,
              const std::function<void(benchmark::State&)>& function) {
  auto* registered = benchmark::RegisterBenchmark(name.c_str(), function);
  if (job.own_time) registered->UseManualTime();
  if (job.iterations > 0) registered->Iterations(job.iterations);
  if (job.threads > 1) registered->Threads(job.threads)->UseRealTime();
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
    Register(job, OursName(job), job.ours);
    if (job.theirs) Register(job, PeerName(job), job.theirs);
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
