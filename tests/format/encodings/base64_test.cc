#include "format/encodings/base64.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "format/encodings/base64_lines.h"
#include "tests/format/encodings/decoded_base64.h"

namespace qv {
namespace {

// Into room of exactly the size to reserve, with a guard behind.
std::string Encode(const std::string& in, const char* separator) {
  const size_t room = ZRBase64Encode(in.data(), in.size(), nullptr, separator);
  std::string out(room + 32, '\x5A');
  const size_t written = ZRBase64Encode(in.data(), in.size(), out.data(), separator);
  EXPECT_LE(written, room);
  EXPECT_EQ(out.find_first_not_of('\x5A', written), std::string::npos);
  return out.substr(0, written);
}

TEST(Base64, KnownTexts) {
  const std::string zeros48(48, '\0'), line(64, 'A'), long_separator(40, '-');
  const struct {
    const char *name, *separator;
    std::string in, out;
  } kRows[] = {
      {"empty", "\r\n", "", ""},
      {"one byte, two pads", "\r\n", "f", "Zg=="},
      {"two bytes, one pad", "\r\n", "fo", "Zm8="},
      {"three", "\r\n", "foo", "Zm9v"},
      {"five", "\r\n", "fooba", "Zm9vYmE="},
      {"the two signs", "\r\n", "\xFB\xEF\xBE\xFF\xFF\xFF", "++++////"},
      {"16 groups: no break", "\r\n", zeros48, line},
      {"group 17: break before it", "\r\n", zeros48 + '\0', line + "\r\nAA=="},
      {"32 groups: one break", "\n", zeros48 + zeros48, line + "\n" + line},
      {"group 33: a second one", "\n", zeros48 + zeros48 + "foo", line + "\n" + line + "\nZm9v"},
      {"no separator", "", zeros48 + "foo", line + "Zm9v"},
      {"a null one", nullptr, zeros48 + "foo", line + "Zm9v"},
      {"a long one", long_separator.c_str(), zeros48 + zeros48 + "f",
       line + long_separator + line + long_separator + "Zg=="},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(Encode(row.in, row.separator), row.out) << row.name;
  }
}

TEST(Base64, RoomIsAnUpperBound) {
  const std::string bytes(200, 'x');
  const struct {
    size_t length, room, written;
  } kRows[] = {{0, 0, 0},    {1, 4, 4},    {45, 60, 60},   {46, 66, 64},
               {48, 66, 64}, {49, 70, 70}, {96, 132, 130}, {97, 136, 136}};
  for (const auto& row : kRows) {
    EXPECT_EQ(ZRBase64Encode(bytes.data(), row.length, nullptr, "\r\n"), row.room) << row.length;
    EXPECT_EQ(Encode(bytes.substr(0, row.length), "\r\n").size(), row.written) << row.length;
  }
  EXPECT_EQ(ZRBase64Encode(nullptr, 10, nullptr, "\r\n"), 0u);
  char out = 'x';
  EXPECT_EQ(ZRBase64Encode(nullptr, 10, &out, "\r\n"), 0u);
  EXPECT_EQ(out, 'x');
}

// Each loop by itself, since a machine takes only one of them: every byte value at every place of a
// line, from a block of its exact size.
TEST(Base64, BothLoopsCanBeDecoded) {
  struct Loop {
    const char* name;
    decltype(WriteBase64LinesPortable)* write;
  };
  std::vector<Loop> loops = {{"portable", WriteBase64LinesPortable}};
  if (Base64LinesHaveSsse3()) loops.push_back({"SSSE3", WriteBase64LinesSsse3});
  constexpr size_t kLines = 256;
  std::string bytes(kLines * kBase64LineBytes, '\0');
  for (size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<char>(i / kBase64LineBytes + i % kBase64LineBytes * 37);
  }
  bytes.shrink_to_fit();
  for (const Loop& loop : loops) {
    std::string out(kLines * kBase64LineDigits + (kLines - 1) * 2 + 1, '\x5A');
    const char* end = loop.write(reinterpret_cast<const uint8_t*>(bytes.data()), kLines, out.data(),
                                 Base64Separator("\r\n"));
    EXPECT_EQ(end, out.data() + out.size() - 1) << loop.name;
    EXPECT_EQ(out.back(), '\x5A') << loop.name;
    out.pop_back();
    EXPECT_EQ(test::DecodedBase64(out, "\r\n"), bytes) << loop.name;
  }
}

}  // namespace
}  // namespace qv
