// Resource files as bytes, read and made in tests by the layout alone: nothing here shares code
// with the component under test.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace test {

struct ForkEntry {
  std::string type;
  int number = 0;
  std::string name;
  std::string body;  // "(none)" without one
  bool operator==(const ForkEntry&) const = default;
};
std::ostream& operator<<(std::ostream& out, const ForkEntry& entry);

// What a file holds, in the order of its lists; `error` says what is wrong with it. A file that
// ends behind its map is right only when `may_go_on` is true.
struct ForkContents {
  std::vector<ForkEntry> entries;
  std::string error;
  // Header fields.
  uint32_t data_offset = 0, map_offset = 0, data_length = 0, map_length = 0;
};
ForkContents ReadFork(const std::string& bytes, bool may_go_on = false);

std::string Big(uint32_t value, int bytes);
// Writes a number over the bytes at a place.
void Poke(std::string& bytes, size_t at, uint32_t value, int width);
uint32_t Peek(const std::string& bytes, size_t at, int width);
// The same bytes with the words of the references zeroed in which handles stand.
std::string WithoutHandles(std::string bytes);

// What a resource file is to hold after a row of changes, kept in the plainest way.
class ForkModel {
 public:
  void Add(const std::string& type, int number, const std::string& body, const std::string& name);
  void Change(const std::string& type, int number, const std::string& body);
  void Rename(const std::string& type, int number, const std::string& name);
  void Remove(const std::string& type, int number);
  // What the update leaves in the file: the whole file.
  std::string Update();
  std::vector<ForkEntry> Entries() const;

 private:
  friend class ForkBuilder;
  struct Resource {
    int number;
    std::string name, body;
    int written = -1;  // length in the file, -1: not there
    bool changed = true;
    int id = 0;
  };
  Resource& Find(const std::string& type, int number);
  std::vector<std::string> types_;  // in order
  std::map<std::string, std::vector<Resource>> resources_;
  std::vector<int> data_order_;  // ids, as the bodies lie
  std::vector<std::string> names_;
  int next_id_ = 1;
};

// A right file made from its parts, whose bodies lie in the order in which they were added. Names
// differ from each other. Tests then break a field.
class ForkBuilder {
 public:
  ForkBuilder& Add(const std::string& type, int number, const std::string& body,
                   const std::string& name = "");
  std::string Build() const { return ForkModel(model_).Update(); }

 private:
  ForkModel model_;
};

}  // namespace test
