#include "files/text_lines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "tests/files/files_fixture.h"

namespace {

using testing::ElementsAre;

// A file in memory that fails its n-th transfer or move when told.
struct MemoryBytes final : qv::LineBytes {
  std::string text;
  uint64_t mark = 0;
  int fail_in = 0;  // transfers and moves until one fails, 0: none
  bool Fails() { return fail_in > 0 && --fail_in == 0; }
  uint64_t Mark() const override { return mark; }
  bool MoveMark(uint64_t position) override {
    if (Fails()) return false;
    mark = position;
    return true;
  }
  ZRError ReadHere(void* buffer, uint32_t* count) override {
    const uint32_t wished = std::exchange(*count, 0);
    if (Fails()) return ZRErrIO;
    if (mark < text.size())
      *count = static_cast<uint32_t>(
          text.copy(static_cast<char*>(buffer), wished, static_cast<size_t>(mark)));
    mark += *count;
    return *count < wished ? ZRErrEOF : ZRErrNone;
  }
  ZRError WriteHere(const void* bytes, uint32_t count) override {
    if (Fails()) return ZRErrDiskFull;
    text.append(static_cast<const char*>(bytes), count);
    mark += count;
    return ZRErrNone;
  }
};

// "line/consumed" of each piece, then the error.
std::string ReadAll(qv::TextLines& lines, int32_t capacity) {
  std::string dump;
  for (;;) {
    char buffer[64];
    std::memset(buffer, '#', sizeof buffer);
    int32_t length = capacity;
    const ZRError error = lines.ReadLine(buffer, &length);
    EXPECT_EQ(buffer[capacity + 1], '#');
    if (error != 0) return dump + std::to_string(error);
    dump += std::string(buffer) + "/" + std::to_string(length) + " ";
  }
}

using TextLinesTest = test::FilesTest;

TEST_F(TextLinesTest, Reads) {
  const struct {
    const char* text;
    int32_t capacity;
    const char* expected;
  } kRows[] = {
      {"ab\r\ncd", 10, "ab/4 cd/2 4107"},
      {"a\n\nb", 10, "a/2 /1 b/1 4107"},
      {"a\n\rb", 10, "a/3 b/1 4107"},
      {"a\r\rb", 10, "a/2 /1 b/1 4107"},
      {"a\r\n\r\nb", 10, "a/3 /2 b/1 4107"},
      {"a\r\n\n\rb", 10, "a/3 /2 b/1 4107"},
      {"a\rb\n", 10, "a/2 b/2 4107"},
      {"\r\n", 10, "/2 4107"},
      {"", 10, "4107"},
      {"abcdef", 2, "ab/2 cd/2 ef/2 4107"},
      // The border of the buffer before, inside and behind a line end.
      {"ab\r\nc", 2, "ab/2 /2 c/1 4107"},
      {"ab\r\nc", 3, "ab/3 /1 c/1 4107"},
      {"ab\r\nc", 4, "ab/4 c/1 4107"},
      {"ab\n\rc", 3, "ab/3 /1 c/1 4107"},
      {"a\n\nb", 2, "a/2 /1 b/1 4107"},
      {"ab", 0, "4107"},
  };
  for (const auto& row : kRows) {
    MemoryBytes file;
    file.text = row.text;
    qv::TextLines lines(file);
    EXPECT_EQ(ReadAll(lines, row.capacity), row.expected) << row.text << " by " << row.capacity;
  }
}

TEST_F(TextLinesTest, TheReadLimit) {
  MemoryBytes file;
  file.text = "abcdefghij";
  qv::TextLines lines(file);
  EXPECT_EQ(lines.SetReadLimit(-1), ZRErrRange);
  EXPECT_EQ(lines.SetReadLimit(3), ZRErrNone);
  EXPECT_EQ(ReadAll(lines, 10), "abc/3 4107");
  file.mark = 0;
  EXPECT_EQ(ReadAll(lines, 2), "ab/2 c/1 4107");
  lines.SetReadLimit(5);
  lines.FileWasCut(7);
  EXPECT_EQ(lines.read_limit(), 5u);
  lines.FileWasCut(2);
  EXPECT_EQ(lines.read_limit(), 2u);
  lines.SetReadLimit(qv::TextLines::kNoLimit);
  lines.FileWasCut(2);
  EXPECT_EQ(lines.read_limit(), qv::TextLines::kNoLimit) << "none stays none";
  lines.SetReadLimit(INT64_MAX);
  file.mark = INT64_MAX - 5;
  EXPECT_EQ(ReadAll(lines, 5), "4107");
  EXPECT_EQ(ReadAll(lines, 6), "4103") << "place and length wrap";
}

TEST_F(TextLinesTest, Writes) {
  const struct {
    const char* ending;
    const char* text;
    const char* expected;
  } kRows[] = {{"\r\n", "x\ny", "x\r\ny"},
               {"\r", "x\n\ny\n", "x\r\ry\r"},
               {"", "a\nb", "ab"},
               {"\r\n", "", ""},
               {"\n", "\n", "\n"}};
  for (const auto& row : kRows) {
    MemoryBytes file;
    qv::TextLines lines(file);
    EXPECT_EQ(lines.SetLineEnding(row.ending), ZRErrNone);
    EXPECT_EQ(lines.SetLineEnding("abc"), ZRErrRange);
    EXPECT_EQ(lines.WriteText(row.text, static_cast<uint32_t>(std::strlen(row.text))), ZRErrNone);
    EXPECT_EQ(file.text, row.expected);
  }
  MemoryBytes file;
  qv::TextLines lines(file);
  int32_t length = 2;
  EXPECT_EQ(lines.WriteLine("ab", &length), ZRErrNone);
  EXPECT_EQ(length, 4);
  EXPECT_EQ(lines.PrintText("%d\n%s", 7, "end"), ZRErrNone);
  EXPECT_EQ(file.text, "ab\r\n7\r\nend");
}

TEST_F(TextLinesTest, FailedChecks) {
  MemoryBytes file;
  qv::TextLines lines(file);
  char buffer[4];
  int32_t length = 1;
  EXPECT_EQ(lines.ReadLine(nullptr, &length), ZRErrParam);
  EXPECT_EQ(lines.ReadLine(buffer, nullptr), ZRErrParam);
  for (int32_t bad : {-1, 0x10000}) {
    length = bad;
    EXPECT_EQ(lines.ReadLine(buffer, &length), ZRErrParam);
  }
  EXPECT_EQ(lines.WriteLine("a", nullptr), ZRErrParam);
  for (int32_t bad : {-1, INT32_MAX - 1}) {
    length = bad;
    EXPECT_EQ(lines.WriteLine("a", &length), ZRErrParam) << "a length that cannot grow";
  }
  EXPECT_EQ(file.text, "");
  const std::string range =
      "log: Assertion failed: *len >= 0 && *len < 0x10000L, file ctfile, line 69\n";
  EXPECT_THAT(test::Said(),
              ElementsAre("log: Assertion failed: p != 0, file ctfile, line 67\n",
                          "log: Assertion failed: len != 0, file ctfile, line 68\n", range, range,
                          "log: Assertion failed: len != 0, file ctfile, line 118\n"));
}

// The first error ends the writing; a reading that fails leaves nothing in the buffer.
TEST_F(TextLinesTest, EachTransferFailsInTurn) {
  const ZRError kReading[] = {ZRErrIO, ZRErrSeek};
  for (int n = 1; n <= 2; ++n) {
    MemoryBytes file;
    file.text = "a\nb";
    file.fail_in = n;
    qv::TextLines lines(file);
    char buffer[8] = "before";
    int32_t length = 7;
    EXPECT_EQ(lines.ReadLine(buffer, &length), kReading[n - 1]);
    EXPECT_EQ(length, 0);
  }
  const char* kWritten[] = {"", "x", "x\r\n"};
  for (int n = 1; n <= 3; ++n) {
    MemoryBytes file;
    file.fail_in = n;
    qv::TextLines lines(file);
    EXPECT_EQ(lines.WriteText("x\ny", 3), ZRErrDiskFull);
    EXPECT_EQ(file.text, kWritten[n - 1]);
  }
}

}  // namespace
