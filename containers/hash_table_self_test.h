// The hash table's own test, for a diagnostic command of an application: the table at work on ten
// thousand entries, in five cases ("Inserts", "Lookups", "Removals", "Removal Part Two", "Iterator
// Test").
//
//   if (qv::RunHashTableSelfTest(Print, log) != 0) ...
#pragma once

#include <cstdint>

#include "containers/hash_table.h"

namespace qv {

// Called for every failure with the name of its case and a message such as
// "<error>Lookup of 7 failed</error>". Both texts are the caller's only during the call.
using SelfTestReport = void (*)(const char* test_case, const char* message, void* context);

// The table that is tested: 80 percent load, 2 buckets at first. An entry is two 32-bit numbers, i
// and 10000 - i; its key is the first one.
class SelfTestTable : public HashTable {
 public:
  SelfTestTable();
};

// Returns the number of failures. `report` may be null. Threads: any.
uint32_t RunHashTableSelfTest(SelfTestReport report, void* context);
// The same on a given table, which is empty and is left empty when all is well.
uint32_t RunHashTableSelfTestOn(SelfTestTable& table, SelfTestReport report, void* context);

}  // namespace qv
