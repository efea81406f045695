// Any bytes as a settings file: reads give a text that stays in its buffer or the default, twice
// the same; what is written is read back, and leaves the other keys as they were.
#include <cstring>
#include <string>

#include "app/settings.h"
#include "fuzz/fuzz_support.h"
#include "tests/test_platform.h"

namespace {

constexpr char kSection[] = "QVSetup", kKey[] = "DLL", kOther[] = "Slice";

const std::string& FilePath() {
  static const std::string path = test::TempFolder() + "\\fuzz.ini";
  return path;
}

std::string Read(const char* key, uint32_t size) {
  fuzz::GuardedBuffer buffer(size);
  const uint32_t length = ReadSettingString(kSection, key, "default", buffer.data(), size);
  FUZZ_CHECK(buffer.Intact() && length < size && std::strlen(buffer.data()) <= length);
  return buffer.data();
}

// A value as a program stores it: one line, without what the platform takes off at its ends.
std::string StoredValue(fuzz::Input& input) {
  std::string value;
  for (char c : input.Text(64)) {
    if (static_cast<unsigned char>(c) > ' ' && c != '"' && c != '\'' && c != ';') value += c;
  }
  return value.empty() ? "x" : value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const uint32_t room = 1u + input.Byte();
  const std::string value = StoredValue(input);
  FUZZ_CHECK(test::WriteWholeFile(FilePath(), input.Rest()));
  FUZZ_CHECK(qv::SetSettingsPath(FilePath().c_str()));

  FUZZ_CHECK(Read(kKey, room) == Read(kKey, room));
  const std::string other = Read(kOther, 4096);
  const int32_t number = ReadSettingInt(kSection, kOther, 25);
  // False for a file that is too large or no text at all; nothing has changed then.
  const bool written = WriteSettingString(kSection, kKey, value.c_str()) != 0;
  if (written) FUZZ_CHECK(Read(kKey, 4096) == value);
  FUZZ_CHECK(Read(kOther, 4096) == other);
  FUZZ_CHECK(ReadSettingInt(kSection, kOther, 25) == number);
  return 0;
}
