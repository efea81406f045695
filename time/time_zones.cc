#include "time/time_zones.h"

#include <algorithm>
#include <atomic>
#include <optional>
#include <vector>

#include "app/debug_output.h"
#include "base/hooks.h"
#include "resources/locked_handle.h"
#include "resources/module_source.h"
#include "resources/resource_chain.h"
#include "time/growth.h"
#include "time/task_mark.h"
#include "time/tz_parser.h"
#include "time/zone_list.h"
#include "time/zone_registry.h"

namespace qv {
namespace {

constexpr ResourceTypeCode kTimeZoneType = ResourceType("ZRtz");
constexpr int32_t kSecondsPerQuarterHour = 900;
constexpr uint32_t kThreeDays = 3 * 86400;  // from either end of the range

struct TimeZoneState {
  std::atomic<bool> loaded = false;
  std::atomic<bool> loading = false;  // somebody changes what stands below
  TaskMark loader;
  std::atomic<uint32_t> users = 0;  // calls that look at it; waited for before it changes
  // Tasks among them that may be switched away from, and then be killed.
  std::vector<TaskMark> slow_users;

  uint32_t data_version = 0;
  TimeZoneData data;
  ZoneRegistry registry;
};

TimeZoneState& State() {
  static TimeZoneState state;
  return state;
}

// --- loading ---

class DebugParser final : public TZDataParser {
 public:
  using TZDataParser::TZDataParser;

 private:
  void Report(const char* text) override { DebugPrint("TZDataParser: %s\r\n", text); }
  void LetOthersRun() override { GlobalHooks().yield(); }
};

std::string_view TextOf(Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// A resource of one source as a copy that lasts as long as this.
class SourceText {
 public:
  SourceText(CResSource& source, int32_t number)
      : handle_(source.LoadResourceCopy(kTimeZoneType, number)) {}
  ~SourceText() { ZRDisposeHandle(&handle_); }
  SourceText(const SourceText&) = delete;
  SourceText& operator=(const SourceText&) = delete;
  ZRHandle handle() const { return handle_; }

 private:
  ZRHandle handle_;
};

// The data version of a source's record; nothing when there is no good one.
std::optional<uint32_t> VersionIn(CResSource& source) {
  using namespace version_layout;
  const SourceText record(source, kZoneVersionResource);
  const LockedHandle locked(record.handle());
  const Bytes bytes = locked.bytes();
  if (bytes.size() < kSize || ReadBigEndian(bytes, kMagic) != kGoodMagic ||
      ReadBigEndian(bytes, kFormat) != kGoodFormat) {
    return std::nullopt;
  }
  return ReadBigEndian(bytes, kDataVersion);
}

// The source with the data to use.
CResSource& ChooseSource(uint32_t& version) {
  const std::optional<uint32_t> own = VersionIn(ModuleSource());
  CResSource* file = FindFileWithResource(kTimeZoneType, kZoneVersionResource);
  if (file != nullptr) {
    const std::optional<uint32_t> newer = VersionIn(*file);
    if (newer && (!own || *newer > *own)) {
      version = *newer;
      return *file;
    }
  }
  version = own.value_or(0);
  return ModuleSource();
}

void RegisterZones(CResSource& source, TimeZoneState& state) {
  const SourceText list(source, kZoneListResource);
  const LockedHandle locked(list.handle());
  ZoneListReader reader(TextOf(locked.bytes()), source.code_page());
  ZoneListEntry entry;
  while (reader.Next(entry)) {
    entry.RemoveControlCharacters();
    state.registry.Add(entry.name(), entry.id, state.data);
    GlobalHooks().yield();
  }
}

void Discard(TimeZoneState& state) {
  state.registry.Clear();
  state.data.Clear();
  state.data_version = 0;
}

// Fills an empty state. Nobody looks at it meanwhile.
void Fill(TimeZoneState& state) {
  CResSource& source = ChooseSource(state.data_version);
  GlobalHooks().yield();
  {
    const SourceText rules(source, kZoneRulesResource);
    if (rules.handle() != 0) ZRParseTimeZones(rules.handle(), &state.data);
  }
  RegisterZones(source, state);
  state.data.Shrink();
  state.registry.Finish();
}

// Takes the right to change the state, also from a task that was killed over it; false for a caller
// that is refused.
bool BeginLoading(TimeZoneState& state) {
  if (!GlobalHooks().on_kernel_thread()) return false;
  while (state.loading.exchange(true)) {
    if (state.loader.IsGone()) break;
    if (!MayWaitForOthers()) return false;
    GlobalHooks().yield();
  }
  state.loader.Set();
  return true;
}

bool AnyUsers(TimeZoneState& state) {
  if (state.users == 0) return false;
  const auto gone = std::erase_if(state.slow_users, [](const TaskMark& m) { return m.IsGone(); });
  return state.users.fetch_sub(static_cast<uint32_t>(gone)) != gone;
}

// Fills the state anew and ends the loading. False when the caller cannot wait for those inside.
bool Refill(TimeZoneState& state) {
  const bool was_loaded = state.loaded.exchange(false);
  bool free = !AnyUsers(state);
  for (; !free && MayWaitForOthers(); free = !AnyUsers(state)) GlobalHooks().yield();
  if (free) {
    Discard(state);
    Fill(state);
  }
  state.loaded = free || was_loaded;
  state.loading = false;
  return free;
}

// Lasts while a task does what it may be switched away from.
class SlowUse {
 public:
  explicit SlowUse(TimeZoneState& state) : state_(state) {
    if (GlobalHooks().current_task() == 0) return;
    mark_.Set();
    noted_ = Append(state.slow_users, mark_);
  }
  ~SlowUse() {
    if (!noted_) return;
    auto& users = state_.slow_users;
    users.erase(std::find(users.begin(), users.end(), mark_));
  }
  SlowUse(const SlowUse&) = delete;
  SlowUse& operator=(const SlowUse&) = delete;

 private:
  TimeZoneState& state_;
  TaskMark mark_;
  bool noted_ = false;
};

// The state, loaded, which stays so while one of these lives.
class LoadedZones {
 public:
  LoadedZones() {
    do {
      ++state_.users;
      ready_ = state_.loaded;
      if (ready_) return;
      --state_.users;
    } while (ZRLoadTimeZones());
  }
  ~LoadedZones() {
    if (ready_) state_.users.fetch_sub(1, std::memory_order_release);
  }
  LoadedZones(const LoadedZones&) = delete;
  LoadedZones& operator=(const LoadedZones&) = delete;

  // False for a caller that is refused.
  bool ready() const { return ready_; }
  TimeZoneState* operator->() const { return &state_; }

  bool Offsets(uint32_t time, TimeKind kind, uint32_t zone, ZRZoneOffsets* offsets) const {
    ZoneEntry* entry = state_.registry.Find(zone);
    if (entry == nullptr) return false;
    std::optional<SlowUse> slow_use;
    if (!entry->IsComputed()) slow_use.emplace(state_);
    const ZoneChanges* changes = ZoneRegistry::ChangesOf(*entry, state_.data);
    const OffsetChange* change = changes == nullptr ? nullptr : changes->At(time, kind);
    if (change == nullptr) return false;
    // Sums of a foreign text wrap.
    const uint32_t total =
        static_cast<uint32_t>(change->standard) + static_cast<uint32_t>(change->saving);
    *offsets = {static_cast<int32_t>(total), change->standard, change->saving};
    return true;
  }

 private:
  TimeZoneState& state_ = State();
  bool ready_ = false;
};

ZRZoneOffsets FixedOffsets(uint32_t zone) {
  const int32_t standard = static_cast<int8_t>(zone) * kSecondsPerQuarterHour;
  return {standard, standard, 0};
}

// Look-ups of one call, which needs the data only for ids that are not of fixed offsets.
class OffsetFinder {
 public:
  bool Find(uint32_t time, TimeKind kind, uint32_t zone, ZRZoneOffsets* offsets) {
    if (IsFixedOffset(zone)) {
      *offsets = FixedOffsets(zone);
      return true;
    }
    if (!zones_) zones_.emplace();
    return zones_->ready() && zones_->Offsets(time, kind, zone, offsets);
  }

 private:
  std::optional<LoadedZones> zones_;
};

}  // namespace

uint32_t FindTimeZone(std::string_view name) {
  const LoadedZones zones;
  if (!zones.ready()) return 0;
  const ZoneEntry* entry = zones->registry.FindByName(name, zones->data);
  return entry == nullptr ? 0 : entry->id;
}

bool GetOfferedZone(size_t index, uint32_t* zone) {
  const LoadedZones zones;
  if (!zones.ready() || index >= zones->registry.entries().size()) return false;
  *zone = zones->registry.entries()[index].id;
  return true;
}

TimeZoneMemory TimeZoneMemoryHeld() {
  const LoadedZones zones;
  if (!zones.ready()) return {};
  return {zones->data.bytes_held(), zones->registry.bytes_held()};
}

}  // namespace qv

// --- the data ---

bool ZRLoadTimeZones() {
  qv::TimeZoneState& state = qv::State();
  if (state.loaded) return true;
  if (!qv::BeginLoading(state)) return false;
  if (!state.loaded) return qv::Refill(state);
  state.loading = false;
  return true;
}

bool ZRReloadTimeZones() {
  qv::TimeZoneState& state = qv::State();
  return qv::BeginLoading(state) && qv::Refill(state);
}

void ZRReleaseTimeZones() {
  qv::TimeZoneState& state = qv::State();
  state.loaded = false;
  qv::Discard(state);
}

uint32_t ZRTimeZoneDataVersion() {
  const qv::LoadedZones zones;
  return zones.ready() ? zones->data_version : 0;
}

bool ZRParseTimeZones(ZRHandle text, qv::TimeZoneData* data) {
  const qv::LockedHandle locked(text);
  return qv::DebugParser(*data).Parse(qv::TextOf(locked.bytes()));
}

// --- look-up ---

uint32_t ZRFindTimeZone(const uint8_t* name) {
  return qv::FindTimeZone(qv::TextOf(qv::LStrBytes(name)));
}

bool ZRTimeZoneOffsets(uint32_t time, qv::TimeKind kind, uint32_t zone, ZRZoneOffsets* offsets) {
  *offsets = {};
  return qv::OffsetFinder().Find(time, kind, zone, offsets);
}

uint32_t ZRConvertZoneTime(uint32_t time, uint32_t from, uint32_t to) {
  if (from == 0 || to == 0 || time < qv::kThreeDays || time > UINT32_MAX - qv::kThreeDays) {
    return time;
  }
  qv::OffsetFinder finder;
  ZRZoneOffsets here, there;
  if (!finder.Find(time, qv::TimeKind::kLocal, from, &here)) return time;
  const uint32_t universal = time - static_cast<uint32_t>(here.total);
  if (!finder.Find(universal, qv::TimeKind::kUniversal, to, &there)) return time;
  return universal + static_cast<uint32_t>(there.total);
}
