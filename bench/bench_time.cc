// Offsets and conversions of time zones beside Abseil's, the reading of all rules beside the zone
// compiler of the C library. A peer that is not installed leaves its rows out.
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#ifdef QV_HAVE_ABSEIL
#include <absl/time/time.h>
#endif

#include "bench/ratio.h"
#include "resources/module_source.h"
#include "time/calendar.h"
#include "time/time_zones.h"
#include "time/tz_parser.h"

namespace {

constexpr int64_t kUnixEpoch = 2082844800;  // as a framework time
constexpr size_t kTimes = 1 << 14;

using Times = std::shared_ptr<const std::vector<uint32_t>>;

// Random times from 1995 to 2037.
Times SomeTimes() {
  std::mt19937 random(9);
  const auto first = static_cast<uint32_t>(qv::DayNumber(1995, 2, 1) * qv::kSecondsPerDay);
  const auto last = static_cast<uint32_t>(qv::DayNumber(2037, 12, 1) * qv::kSecondsPerDay);
  auto times = std::make_shared<std::vector<uint32_t>>();
  std::uniform_int_distribution<uint32_t> between(first, last);
  for (size_t i = 0; i < kTimes; ++i) times->push_back(between(random));
  return times;
}

// Calls with the next of the times and a number that counts on.
template <class Job>
std::function<void(benchmark::State&)> Rotating(Times times, Job job) {
  return [=](benchmark::State& state) {
    size_t next = 0;
    for (auto _ : state) {
      benchmark::DoNotOptimize(job((*times)[next % kTimes], next));
      ++next;
    }
  };
}

const char* const kZones[] = {"America/New_York", "Europe/Paris",    "Asia/Tokyo",
                              "Australia/Sydney", "America/Chicago", "Europe/London",
                              "Asia/Tehran",      "America/St_Johns"};
constexpr size_t kZoneCount = std::size(kZones);

std::vector<uint32_t> ZoneIds() {
  std::vector<uint32_t> ids;
  for (const char* zone : kZones) ids.push_back(qv::FindTimeZone(zone));
  return ids;
}

int32_t OurOffset(uint32_t time, uint32_t zone) {
  ZRZoneOffsets offsets;
  ZRTimeZoneOffsets(time, qv::TimeKind::kUniversal, zone, &offsets);
  return offsets.total;
}

#ifdef QV_HAVE_ABSEIL

int32_t TheirOffset(uint32_t time, const absl::TimeZone& zone) {
  return zone.At(absl::FromUnixSeconds(int64_t{time} - kUnixEpoch)).offset;
}

// A civil time of a zone; of one that exists twice the later moment, as ours are.
absl::CivilSecond CivilOf(uint32_t local) {
  return absl::ToCivilSecond(absl::FromUnixSeconds(int64_t{local} - kUnixEpoch),
                             absl::UTCTimeZone());
}
absl::CivilSecond TheirLocal(const absl::CivilSecond& civil, const absl::TimeZone& from,
                             const absl::TimeZone& to) {
  return to.At(from.At(civil).post).cs;
}

bool AddLookUps() {
  const Times times = SomeTimes();
  const std::vector<uint32_t> ids = ZoneIds();
  std::vector<absl::TimeZone> zones(kZoneCount);
  for (size_t i = 0; i < kZoneCount; ++i) {
    if (!absl::LoadTimeZone(kZones[i], &zones[i])) return false;
  }
  auto civils = std::make_shared<std::vector<absl::CivilSecond>>();
  for (const uint32_t time : *times) civils->push_back(CivilOf(time));
  for (size_t i = 0; i < kTimes; ++i) {
    const uint32_t time = (*times)[i];
    const size_t from = i % kZoneCount, to = (i + 3) % kZoneCount;
    if (OurOffset(time, ids[from]) != TheirOffset(time, zones[from]) ||
        CivilOf(ZRConvertZoneTime(time, ids[from], ids[to])) !=
            TheirLocal((*civils)[i], zones[from], zones[to])) {
      return false;
    }
  }
  bench::Add({"offset at a random time, one zone", "Abseil", 0.4,
              Rotating(times, [=](uint32_t time, size_t) { return OurOffset(time, ids[0]); }),
              Rotating(times, [=](uint32_t time, size_t) { return TheirOffset(time, zones[0]); })});
  bench::Add({"local time of one zone in another, 8 zones", "Abseil", 0.4,
              Rotating(times,
                       [=](uint32_t time, size_t i) {
                         return ZRConvertZoneTime(time, ids[i % kZoneCount],
                                                  ids[(i + 3) % kZoneCount]);
                       }),
              Rotating(times, [=](uint32_t, size_t i) {
                return TheirLocal((*civils)[i % kTimes], zones[i % kZoneCount],
                                  zones[(i + 3) % kZoneCount]);
              })});
  return true;
}

#else

bool AddLookUps() {
  std::printf("Abseil is not installed (libabsl-dev): its rows are left out\n");
  return true;
}

#endif

// --- reading ---

class QuietParser final : public qv::TZDataParser {
 public:
  using TZDataParser::TZDataParser;

 private:
  void Report(const char*) override {}
};

std::string Rules() {
  const qv::Bytes bytes = qv::ModuleSource().Find(qv::ResourceType("ZRtz"), qv::kZoneRulesResource);
  return {bytes.begin(), bytes.end()};
}

class TemporaryFolder {
 public:
  TemporaryFolder() : path_(mkdtemp(pattern_)) {}
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  const std::string& path() const { return path_; }

 private:
  char pattern_[32] = "/tmp/qv-bench-zic-XXXXXX";
  std::string path_;
};

// The zone compiler, a whole process that writes its files, has the same text.
void AddReading(const std::string& folder) {
  const std::string text = Rules(), file = folder + "/rules";
  std::ofstream(file) << text;
  const std::string command = "exec zic -d " + folder + "/out " + file + " >/dev/null 2>&1";
  const bool has_zic = system(command.c_str()) == 0;
  if (!has_zic) std::printf("there is no working zic (libc-bin): its row is left out\n");
  const auto parse = [text](benchmark::State& state) {
    for (auto _ : state) {
      qv::TimeZoneData data;
      benchmark::DoNotOptimize(QuietParser(data).Parse(text));
    }
  };
  const auto compile = [command](benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(system(command.c_str()));
  };
  if (has_zic) bench::Add({"read all rules", "zic", 0.05, parse, compile});
  bench::Add({"load all data", "", 0, [](benchmark::State& state) {
                for (auto _ : state) ZRReloadTimeZones();
              }});
  bench::Add({"work out one zone after another", "", 0, [](benchmark::State& state) {
                qv::TimeZoneData data;
                QuietParser(data).Parse(Rules());
                const auto lines = data.lines();
                size_t next = 0;
                for (auto _ : state) {
                  qv::ZoneChanges changes;
                  FindZoneChanges(data, lines[next].name, changes, [] {});
                  benchmark::DoNotOptimize(changes.all().data());
                  next = (next + 7) % lines.size();
                }
              }});
}

// Bytes held, of which no peer tells.
void SayMemory() {
  ZRReloadTimeZones();
  const qv::TimeZoneMemory fresh = qv::TimeZoneMemoryHeld();
  const std::vector<uint32_t> ids = ZoneIds();
  for (const uint32_t id : ids) OurOffset(5, id);
  const size_t used = qv::TimeZoneMemoryHeld().zones - fresh.zones;
  std::printf("memory: %zu bytes of rules, %zu of the list, %zu for each zone in use\n", fresh.data,
              fresh.zones, used / ids.size());
}

}  // namespace

int main(int argc, char** argv) {
  ZRInitModuleResources(GetModuleHandleA(nullptr));
  const TemporaryFolder folder;
  if (!AddLookUps()) {
    std::fprintf(stderr, "the libraries give different answers\n");
    return 1;
  }
  AddReading(folder.path());
  const int result = bench::Run(argc, argv);
  SayMemory();
  return result;
}
