// Files that are damaged, lie, or mean harm: opened, read, changed and updated they do no harm, and
// the fork lookup agrees with the source about each resource.
#include <gmock/gmock.h>

#include "app/leveled_log.h"
#include "resources/fork_lookup.h"
#include "tests/resources/resource_file_fixture.h"
#include "text/formatter.h"

namespace {

using test::Big;
using test::ForkBuilder;
using test::ForkEntry;
using test::Poke;

// Two types with two references each and two names: header 0, data 256, map 292, types 322,
// references 338, names 386.
std::string Right() {
  return ForkBuilder()
      .Add("AAAA", 1, "alpha", "one")
      .Add("AAAA", 2, "beta")
      .Add("BBBB", 3, "gamma", "three")
      .Add("BBBB", 4, "delta!")
      .Build();
}
constexpr size_t kMap = 256 + 9 + 8 + 9 + 10, kTypes = kMap + 30, kReferences = kTypes + 16,
                 kNames = kReferences + 48;

std::vector<std::string>& Logged() {
  static std::vector<std::string> lines;
  return lines;
}

class ResourceFileHostile : public test::ResourceFileTest {
 protected:
  ResourceFileHostile() {
    Logged().clear();
    qv::SetLeveledLogHook([](int32_t level, const char* format, va_list arguments) {
      if (level > 2) return;
      char text[300];
      FormatTextList(text, format, arguments);
      Logged().push_back(text);
    });
  }
  ~ResourceFileHostile() override { qv::SetLeveledLogHook(nullptr); }

  // The lookup finds in the image what the source serves.
  void ExpectLookup(const std::string& bytes) {
    const qv::Bytes image(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    for (const ForkEntry& entry : Served()) {
      const auto body = qv::FindInFork(image, test::Code(entry.type), entry.number);
      EXPECT_EQ(body ? std::string(body->begin(), body->end()) : "(none)", entry.body) << entry;
    }
  }
};

struct Edit {
  size_t at;
  uint32_t value;
  int width;
};

TEST_F(ResourceFileHostile, RefusedWhenOpened) {
  // What the validation says; "" where it is not reached.
  const std::string kFine = "fine", kDamaged, kSize = "CRezFmt: Type/Ref list wrong size",
                    kTypeList = "CRezFmt: Typelist corrupt", kName = "CRezFmt: Bad name offset",
                    kNameSize = "CRezFmt: Name/Ref size mismatch";
  const struct {
    const char* name;
    std::vector<Edit> edits;
    std::string result;
  } kRows[] = {
      {"nothing is wrong", {}, kFine},
      {"data offset below 0", {{0, 0x80000000, 4}}, kDamaged},
      {"data offset behind the end", {{0, 0x00010000, 4}}, kDamaged},
      {"map offset behind the end", {{4, 0x7FFFFFFF, 4}}, kDamaged},
      {"no room for the map's header", {{4, kNames, 4}}, kDamaged},
      {"data length below 0", {{8, 0xFFFFFFFF, 4}}, kDamaged},
      {"map length behind the end", {{12, 0x1000, 4}}, kDamaged},
      {"-2 less 1 types", {{kMap + 28, 0xFFFE, 2}}, kDamaged},
      {"32768 types", {{kMap + 28, 0x7FFF, 2}}, kDamaged},
      {"one type too many", {{kMap + 28, 8, 2}}, kDamaged},
      {"types behind names", {{kMap + 24, 0xF000, 2}}, kDamaged},
      {"no types and lists of -2 bytes",
       {{kMap + 28, 0xFFFF, 2}, {kMap + 24, 94, 2}, {kMap + 26, 94, 2}},
       kDamaged},
      {"names behind the end", {{kMap + 26, 0xFFFF, 2}}, kDamaged},
      {"half a reference", {{kMap + 26, 93, 2}}, kSize},
      {"-1 references of a type", {{kTypes + 4, 0xFFFE, 2}}, kTypeList},
      {"32768 references", {{kTypes + 4, 0x7FFF, 2}}, kTypeList},
      {"one reference too many", {{kTypes + 8 + 4, 2, 2}}, kTypeList},
      {"references inside the types", {{kTypes + 6, 2, 2}}, kTypeList},
      {"references behind the list", {{kTypes + 6, 66, 2}}, kTypeList},
      {"between two references", {{kTypes + 6, 19, 2}}, kTypeList},
      {"references of two types", {{kTypes + 8 + 6, 30, 2}}, kTypeList},
      {"a name behind the list", {{kReferences + 12 + 2, 500, 2}}, kName},
      {"a name at the list's end", {{kReferences + 12 + 2, 10, 2}}, kName},
      {"a name that nobody has", {{kReferences + 2, 0xFFFF, 2}}, kNameSize},
      {"a name of two", {{kReferences + 12 + 2, 0, 2}}, kNameSize},
      {"a name too long", {{kNames + 4, 6, 1}}, kNameSize},
      {"names in each other", {{kReferences + 24 + 2, 1, 2}, {kNames + 1, 5, 1}}, kNameSize},
      {"the map's copy of the header does not count", {{kMap, 0xFFFFFFFF, 4}}, kFine},
      {"nor does a wrong map length", {{12, 3, 4}}, kFine},
      {"nor a wrong data length", {{8, 3, 4}}, kFine},
  };
  ASSERT_EQ(Right().size(), kNames + 10);
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    std::string bytes = Right();
    for (const Edit& edit : row.edits) Poke(bytes, edit.at, edit.value, edit.width);
    Logged().clear();
    const bool is_fine = row.result == kFine, is_logged = !is_fine && row.result != kDamaged;
    EXPECT_EQ(OpenBytes(bytes), is_fine     ? ZRErrNone
                                : is_logged ? ZRErrOpenFailed
                                            : ZRErrResDamaged);
    EXPECT_EQ(Logged(), std::vector<std::string>(is_logged ? 1 : 0, row.result));
    if (is_fine) ExpectLookup(bytes);
    // Attached it says the same in its own way.
    CDiskFile file;
    CRezFmt attached;
    ASSERT_EQ(file.SetPath(path_.c_str()), ZRErrNone);
    Renew();
    ASSERT_EQ(file.Open(kFileRead, kShareAll), ZRErrNone);
    EXPECT_EQ(attached.Attach(&file), is_fine ? ZRErrNone : ZRErrResDamaged);
    EXPECT_EQ(File(), bytes);
  }
}

TEST_F(ResourceFileHostile, CutAnywhere) {
  const std::string right = Right();
  for (size_t size = 0; size < right.size(); ++size) {
    EXPECT_EQ(OpenBytes(right.substr(0, size)), size < 16       ? ZRErrEOF
                                                : size < kNames ? ZRErrResDamaged
                                                                : ZRErrOpenFailed)
        << size;
  }
  EXPECT_EQ(OpenBytes(right + "more"), ZRErrNone) << "what an update left behind is ignored";
  EXPECT_EQ(Served(), test::ReadFork(right).entries);
}

// Files that can be used, although bodies lie where they should not. After the update everything
// that could be read before is there, in a right file.
TEST_F(ResourceFileHostile, UpdatesDestroyNothing) {
  const size_t first = kReferences + 5, second = first + 12, third = second + 12;
  const struct {
    const char* name;
    std::vector<Edit> edits;
    ZRError update;
  } kRows[] = {
      {"as it should be", {}, ZRErrNone},
      {"two bodies at one place", {{second, 0, 3}}, ZRErrNone},
      {"bodies in each other", {{second, 3, 3}, {256 + 3, 0, 4}}, ZRErrNone},
      {"a gap in front",
       {{0, 250, 4}, {first, 6, 3}, {second, 15, 3}, {third, 23, 3}, {third + 12, 32, 3}},
       ZRErrNone},
      {"data that begin in the header",
       {{0, 0, 4}, {first, 256, 3}, {second, 265, 3}, {third, 273, 3}, {third + 12, 282, 3}},
       ZRErrNone},
      {"a body in the header",
       {{0, 0, 4},
        {first, 12, 3},
        {second, 265, 3},
        {third, 273, 3},
        {third + 12, 282, 3},
        {12, 104, 4}},
       ZRErrNone},
      {"a body in the map", {{third, static_cast<uint32_t>(kMap + 16 - 256), 3}}, ZRErrNone},
      {"attributes of memory", {{first - 1, 0xFF, 1}, {second - 1, 0x02, 1}}, ZRErrNone},
      {"a body not written", {{second, 0xFFFFFF, 3}}, ZRErrNone},
      {"a body behind the end", {{second, 0xFFFFFE, 3}}, ZRErrResDamaged},
      {"a body longer than the file", {{256 + 9, 0x7FFFFFFF, 4}}, ZRErrResDamaged},
      {"a body of -1 bytes", {{256 + 9, 0xFFFFFFFF, 4}}, ZRErrResDamaged},
  };
  for (const auto& row : kRows) {
    std::string bytes = Right();
    for (const Edit& edit : row.edits) Poke(bytes, edit.at, edit.value, edit.width);
    enum { kAdd, kGrow, kSame, kRemove, kEnd };
    for (int change = kAdd; change < kEnd; ++change) {
      SCOPED_TRACE(testing::Message() << row.name << " " << change);
      ASSERT_EQ(OpenBytes(bytes), ZRErrNone);
      ExpectLookup(bytes);
      auto entries = Served();
      for (const ForkEntry& entry : entries) {
        EXPECT_EQ(source_->GetResourceSize(test::Code(entry.type), entry.number),
                  entry.body == "(none)" ? -1 : static_cast<int32_t>(entry.body.size()));
      }
      std::string body = entries[3].body;
      if (change == kAdd) {
        ASSERT_EQ(Add("CCCC", 5, "added"), ZRErrNone);
        entries.push_back({"CCCC", 5, "", "added"});
      } else if (change == kRemove) {
        ASSERT_EQ(source_->RemoveResource(test::Code("BBBB"), 4), ZRErrNone);
        entries.pop_back();
      } else {
        entries[3].body = change == kGrow ? body + " and more" : std::string(body.size(), 'x');
        ASSERT_EQ(Change("BBBB", 4, entries[3].body), ZRErrNone);
      }
      EXPECT_EQ(Served(), entries);
      EXPECT_EQ(source_->UpdateFile(), row.update);
      if (row.update != ZRErrNone) {
        EXPECT_EQ(File(), bytes);
        EXPECT_EQ(Served(), entries);
        // What stands in the way can be removed.
        EXPECT_EQ(source_->RemoveResource(test::Code("AAAA"), 2), ZRErrNone);
        EXPECT_EQ(source_->UpdateFile(), ZRErrNone);
        entries.erase(entries.begin() + 1);
      }
      EXPECT_EQ(Served(), entries);
      EXPECT_EQ(Reread(File()), entries);
      if (row.edits.empty() || change != kSame) {
        EXPECT_EQ(test::ReadFork(File()).entries, entries);
      }
    }
  }
}

// Bodies in each other can be more, apart, than a file holds: nothing is written then.
TEST_F(ResourceFileHostile, MoreThanOffsetsHold) {
  ForkBuilder builder;
  builder.Add("AAAA", 0, std::string(1 << 20, 'a'));
  for (int i = 1; i < 40; ++i) builder.Add("AAAA", i, "");
  std::string bytes = builder.Build();
  const size_t references = test::Peek(bytes, 4, 4) + 30 + 8;
  for (size_t i = 1; i < 40; ++i) Poke(bytes, references + 12 * i + 5, 0, 3);
  ASSERT_EQ(OpenBytes(bytes), ZRErrNone);
  ASSERT_EQ(Add("BBBB", 1, "x"), ZRErrNone);
  EXPECT_EQ(source_->UpdateFile(), ZRErrResTooLarge);
  EXPECT_TRUE(File() == bytes);
}

// A map in front of its data, at another place than this component would write it.
TEST_F(ResourceFileHostile, TheMapInFront) {
  const std::string right = Right();
  const std::string map = right.substr(kMap), data = right.substr(256, kMap - 256);
  std::string bytes = Big(300 + 104, 4) + Big(300, 4) + Big(36, 4) + Big(104, 4) +
                      std::string(284, 'j') + map + data;
  ASSERT_EQ(map.size(), 104u);
  Poke(bytes, 12, 103, 4);
  ASSERT_EQ(OpenBytes(bytes), ZRErrOpenFailed)
      << "neither the map nor the fork ends with the names";
  Poke(bytes, 12, 104, 4);
  ASSERT_EQ(bytes.size(), 300u + 104 + 36);
  const auto entries = test::ReadFork(right).entries;
  ASSERT_EQ(OpenBytes(bytes), ZRErrNone);
  EXPECT_EQ(Served(), entries);
  ASSERT_EQ(Change("AAAA", 1, "ALPHA"), ZRErrNone);
  EXPECT_EQ(source_->UpdateFile(), ZRErrNone);
  std::string expected = bytes;
  expected.replace(404 + 4, 5, "ALPHA");
  EXPECT_EQ(File(), expected) << "a body of the same length is the only change";
}

}  // namespace
