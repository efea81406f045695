// The hash table beside std::unordered_map, and beside GLib's where that is installed: GLib too
// hashes and compares through functions of the caller, and is given the same hash.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#ifdef QV_HAVE_GLIB
#include <glib.h>
#endif

#include "bench/ratio.h"
#include "containers/hash_table.h"

namespace {

constexpr int kPasses = 3;

using Keys = std::shared_ptr<const std::vector<uint64_t>>;

// Different numbers in random order.
Keys RandomKeys(size_t count) {
  auto keys = std::make_shared<std::vector<uint64_t>>(count);
  std::mt19937_64 random(11);
  for (uint64_t& key : *keys) key = random();
  return keys;
}

// --- the same five calls for each table ---

struct OurTable {
  qv::HashTable table{8};
  void Insert(const uint64_t& key) { table.Insert(&key, sizeof key); }
  bool Find(const uint64_t& key) { return table.Lookup(&key, sizeof key, nullptr, nullptr); }
  void Remove(const uint64_t& key) { table.Remove(&key, sizeof key); }
  uint64_t Sum() {
    uint64_t sum = 0, key = 0;
    qv::HashIterator each;
    for (each.Begin(table); each.Next(&key, sizeof key);) sum += key;
    return sum;
  }
};

struct StandardTable {
  std::unordered_map<uint64_t, uint64_t> table;
  void Insert(uint64_t key) { table.insert_or_assign(key, key); }
  bool Find(uint64_t key) { return table.find(key) != table.end(); }
  void Remove(uint64_t key) { table.erase(key); }
  uint64_t Sum() {
    uint64_t sum = 0;
    for (const auto& [key, value] : table) sum += value;
    return sum;
  }
};

#ifdef QV_HAVE_GLIB
struct GlibTable {
  static guint Hash(gconstpointer key) {
    return static_cast<guint>(qv::HashBytes(key, sizeof(uint64_t)));
  }
  static gboolean Equal(gconstpointer a, gconstpointer b) {
    return std::memcmp(a, b, sizeof(uint64_t)) == 0;
  }
  GHashTable* table = g_hash_table_new(Hash, Equal);
  ~GlibTable() { g_hash_table_destroy(table); }
  static gpointer Pointer(const uint64_t& key) { return const_cast<uint64_t*>(&key); }
  void Insert(const uint64_t& key) { g_hash_table_insert(table, Pointer(key), Pointer(key)); }
  bool Find(const uint64_t& key) { return g_hash_table_lookup(table, &key) != nullptr; }
  void Remove(const uint64_t& key) { g_hash_table_remove(table, &key); }
  uint64_t Sum() {
    uint64_t sum = 0;
    GHashTableIter each;
    gpointer key, value;
    for (g_hash_table_iter_init(&each, table); g_hash_table_iter_next(&each, &key, &value);) {
      sum += *static_cast<uint64_t*>(value);
    }
    return sum;
  }
};
#endif

// --- jobs; the time of one operation ---

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

enum class Work { kInsert, kFind, kRemove, kIterate };

template <typename Table>
void Fill(Table& table, const std::vector<uint64_t>& keys) {
  for (const uint64_t& key : keys) table.Insert(key);
}

template <typename Table>
void DoWork(Work work, Table& table, const std::vector<uint64_t>& keys) {
  switch (work) {
    case Work::kInsert:
      return Fill(table, keys);
    case Work::kFind:
      for (const uint64_t& key : keys) benchmark::DoNotOptimize(table.Find(key));
      return;
    case Work::kRemove:
      for (const uint64_t& key : keys) table.Remove(key);
      return;
    case Work::kIterate:
      benchmark::DoNotOptimize(table.Sum());
  }
}

// Removal and look-up take the keys in an order of their own.
template <typename Table>
std::function<void(benchmark::State&)> Measure(Work work, Keys keys, Keys shuffled) {
  return [=](benchmark::State& state) {
    for (auto _ : state) {
      auto table = std::make_unique<Table>();
      if (work != Work::kInsert) Fill(*table, *keys);
      const auto start = Clock::now();
      DoWork(work, *table, *shuffled);
      state.SetIterationTime(SecondsSince(start));
    }
  };
}

// The longest single insert on the way to all keys.
template <typename Table>
double LongestInsert(const std::vector<uint64_t>& keys) {
  Table table;
  double longest = 0;
  auto before = Clock::now();
  for (const uint64_t& key : keys) {
    table.Insert(key);
    const auto now = Clock::now();
    longest = std::max(longest, std::chrono::duration<double>(now - before).count());
    before = now;
  }
  return longest;
}

// The smallest of some passes: a pass that lost the processor is not the table's fault.
template <typename Table>
std::function<void(benchmark::State&)> Longest(Keys keys) {
  return [=](benchmark::State& state) {
    for (auto _ : state) {
      double smallest = LongestInsert<Table>(*keys);
      for (int pass = 1; pass < kPasses; ++pass) {
        smallest = std::min(smallest, LongestInsert<Table>(*keys));
      }
      state.SetIterationTime(smallest);
    }
  };
}

template <typename Table>
void AddLongest(const char* peer, Keys keys, double target) {
  bench::Add({.name = std::string("longest insert up to 1000000, ") + peer,
              .peer = peer,
              .target = target,
              .ours = Longest<OurTable>(keys),
              .theirs = Longest<Table>(keys),
              .own_time = true,
              .iterations = 1});
}

Keys Shuffled(const Keys& keys) {
  auto shuffled = std::make_shared<std::vector<uint64_t>>(*keys);
  std::shuffle(shuffled->begin(), shuffled->end(), std::mt19937_64(12));
  return shuffled;
}

template <typename Table>
bool SameAnswers(const std::vector<uint64_t>& keys) {
  Table table;
  OurTable ours;
  Fill(table, keys);
  Fill(ours, keys);
  for (size_t i = 0; i < keys.size(); i += 2) {
    table.Remove(keys[i]);
    ours.Remove(keys[i]);
  }
  for (const uint64_t& key : keys) {
    if (table.Find(key) != ours.Find(key)) return false;
  }
  return table.Sum() == ours.Sum();
}

template <typename Table>
bool AddAll(const char* peer, bool is_bold, Keys keys, const char* count) {
  if (!SameAnswers<Table>(*keys)) return false;
  const Keys shuffled = Shuffled(keys);
  const struct {
    const char* name;
    Work work;
    double target;  // against the bold peer
  } kRows[] = {{"insert", Work::kInsert, 0.9},
               {"look up", Work::kFind, 0.6},
               {"remove", Work::kRemove, 0.8},
               {"iterate", Work::kIterate, 0}};
  for (const auto& row : kRows) {
    bench::Add({.name = std::string(row.name) + ", " + count + " entries, " + peer,
                .peer = peer,
                .target = is_bold ? row.target : 0,
                .ours = Measure<OurTable>(row.work, keys, shuffled),
                .theirs = Measure<Table>(row.work, keys, shuffled),
                .own_time = true,
                .operations = static_cast<double>(keys->size())});
  }
  return true;
}

bool AddCounts(const char* count, size_t number) {
  const Keys keys = RandomKeys(number);
  bool same = AddAll<StandardTable>("unordered_map", false, keys, count);
#ifdef QV_HAVE_GLIB
  same = same && AddAll<GlibTable>("GLib", true, keys, count);
#endif
  return same;
}

}  // namespace

int main(int argc, char** argv) {
#ifndef QV_HAVE_GLIB
  std::printf("GLib is not installed (libglib2.0-dev): its rows are left out\n");
#endif
  if (!AddCounts("10000", 10000) || !AddCounts("1000000", 1000000)) {
    std::fprintf(stderr, "the tables give different answers\n");
    return 1;
  }
  const Keys keys = RandomKeys(1000000);
  AddLongest<StandardTable>("unordered_map", keys, 0.02);
#ifdef QV_HAVE_GLIB
  AddLongest<GlibTable>("GLib", keys, 0);
#endif
  return bench::Run(argc, argv);
}
