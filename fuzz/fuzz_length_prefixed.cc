// Any operations in any order on a length-prefixed string: it stays what a plain model of it says,
// never passes the limit that was given, and nothing behind it changes. A selected variant holds
// only bytes of the text, in their order.
#include <algorithm>
#include <cstring>
#include <string>

#include "fuzz/fuzz_support.h"
#include "text/length_prefixed.h"
#include "text/text_variants.h"

namespace {

using std::string;

struct Subject {
  explicit Subject(const string& text) : block(sizeof(Str255)) {
    qv::SetLStr(bytes(), kMostLStr, text.data(), static_cast<int32_t>(text.size()));
  }
  uint8_t* bytes() { return reinterpret_cast<uint8_t*>(block.data()); }
  string text() { return {block.data() + 1, bytes()[0]}; }
  fuzz::GuardedBuffer block;
};

int32_t Signed(fuzz::Input& input) { return static_cast<int16_t>(input.Word()) / 64; }

string Insert(const string& text, int32_t position, const string& inserted, size_t limit,
              bool cut) {
  const size_t room = limit - std::min(limit, text.size());
  if (position > static_cast<int32_t>(text.size())) return text;
  if (inserted.size() > room && !cut) return text;
  string result = text;
  return result.insert(static_cast<size_t>(std::max(position, 0)), inserted.substr(0, room));
}

string AppendToEnd(const string& text, const string& added) {
  return text.substr(0, std::min(text.size(), kMostLStr - added.size())) + added;
}

string Delete(string text, int32_t position, int32_t count) {
  const auto at = static_cast<size_t>(std::max(position, 1) - 1);
  if (count > 0 && at < text.size()) text.erase(at, static_cast<size_t>(count));
  return text;
}

bool IsSubsequence(const string& part, const string& whole) {
  size_t at = 0;
  for (const char c : part) {
    at = whole.find(c, at);
    if (at++ == string::npos) return false;
  }
  return true;
}

void RunOperation(fuzz::Input& input, Subject& subject) {
  const uint8_t operation = input.Byte();
  const int32_t limit = Signed(input), position = Signed(input);
  const auto most = static_cast<size_t>(std::clamp(limit, 0, kMostLStr));
  Subject other(input.Text(kMostLStr));
  const string before = subject.text(), added = other.text();
  string expected = before;
  switch (operation % 7) {
    case 0:
      qv::AppendLStr(subject.bytes(), other.bytes(), limit);
      expected += added.substr(0, most - std::min(most, before.size()));
      break;
    case 1:
      qv::AppendLStrToEnd(subject.bytes(), other.bytes());
      expected = AppendToEnd(before, added);
      break;
    case 2:
      qv::InsertLStr(subject.bytes(), position, other.bytes(), limit, operation & 0x80);
      expected = Insert(before, position, added, most, operation & 0x80);
      break;
    case 3:
      qv::DeleteRun(subject.bytes(), position, limit);
      expected = Delete(before, position, limit);
      break;
    case 4:
      qv::CopyLStr(subject.bytes(), other.bytes(), limit);
      expected = added.substr(0, most);
      break;
    case 5:
      qv::InsertChar(subject.bytes(), position, operation, limit);
      expected = Insert(before, position, string(1, static_cast<char>(operation)), most, false);
      break;
    case 6:
      ZRSelectVariant(subject.bytes(), limit, position, operation & 0x80,
                      static_cast<char>(added[0]));
      expected = subject.text();
      FUZZ_CHECK(IsSubsequence(expected, before));
      break;
  }
  FUZZ_CHECK(subject.text() == expected);
  FUZZ_CHECK(subject.block.Intact() && other.text() == added);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  Subject subject(input.Text(kMostLStr));
  for (int operations = 1 + input.Byte() % 8; operations > 0; --operations) {
    RunOperation(input, subject);
  }
  return 0;
}
