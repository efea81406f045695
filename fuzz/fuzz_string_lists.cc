// Any bytes as a string list: the strings that are delivered lie wholly inside it, one behind the
// other, and what any code page and maximum deliver stays inside its buffer. Any bytes as message
// and as file-type lists: their readers end, and their results keep to the limits.
#include <algorithm>
#include <cstring>
#include <string>

#include "fuzz/fuzz_support.h"
#include "resources/string_list.h"
#include "resources/string_resources.h"
#include "tests/resources/opened_files.h"

namespace {

constexpr CodePage kPages[] = {kUtf8, 1252, 1200, 437, 65000, qv::kNoConversion, 932, 4711};
constexpr int32_t kNumber = 5;

void CheckStrings(const std::string& list) {
  const qv::Bytes bytes(reinterpret_cast<const uint8_t*>(list.data()), list.size());
  const int32_t count = qv::CountOfList(bytes);
  size_t at = 2;
  for (int32_t index = 1; index <= std::min(count, 600); ++index) {
    const auto text = qv::StringOfList(bytes, index);
    if (!text) {
      FUZZ_CHECK(at >= list.size() || list.size() - at - 1 < static_cast<uint8_t>(list[at]));
      return;
    }
    FUZZ_CHECK(text->data() == bytes.data() + at + 1 && text->size() == bytes[at]);
    at += 1 + text->size();
    FUZZ_CHECK(at <= list.size());
  }
  FUZZ_CHECK(!qv::StringOfList(bytes, 0) && !qv::StringOfList(bytes, count + 1));
}

void CheckDelivery(test::MemorySource& source, int32_t index, int32_t maximum, CodePage cp) {
  fuzz::GuardedBuffer out(static_cast<size_t>(maximum) + 1);
  auto* text = reinterpret_cast<uint8_t*>(out.data());
  const bool found = source.GetIndString(text, kNumber, index, maximum, cp);
  FUZZ_CHECK(out.Intact() && text[0] <= maximum && (found || text[0] == 0));
  fuzz::GuardedBuffer whole(static_cast<size_t>(maximum) + 1);
  if (source.GetString(whole.data(), kNumber, maximum + 1, cp)) {
    FUZZ_CHECK(std::memchr(whole.data(), 0, whole.size()) != nullptr);
  }
  FUZZ_CHECK(whole.Intact());
}

void CheckReaders(test::MemorySource& source, const std::string& list, int32_t maximum) {
  source.Add(qv::kStringListType, qv::kFirstMessageList, list);
  source.Add(qv::kStringListType, qv::kFileTypeList, list);
  fuzz::GuardedBuffer out(static_cast<size_t>(maximum) + 1);
  auto* text = reinterpret_cast<uint8_t*>(out.data());
  text[0] = 0;
  ZRGetMessageText(text, maximum, 1, 0, true);
  FUZZ_CHECK(out.Intact() && text[0] <= maximum);
  uint32_t type = 0, creator = 0;
  int32_t kind = 0;
  if (ZRTypeFromExtension("name.txt", &type, &creator, &kind)) {
    FUZZ_CHECK(ZRKindFromTypeCreator(type, creator, &kind) || (type == 0 && creator == 0));
    text[0] = 0;
    FUZZ_CHECK(ZRExtensionFromCreator(text, maximum, creator));
    FUZZ_CHECK(out.Intact() && text[0] <= std::min(maximum, 5));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static test::MemorySource* const main_file = test::OpenMainFile();
  FUZZ_CHECK(main_file != nullptr);
  test::MemorySource& file = *main_file;
  fuzz::Input input(data, size);
  const CodePage from = kPages[input.Byte() % std::size(kPages)];
  const CodePage to = kPages[input.Byte() % std::size(kPages)];
  const int32_t index = input.Byte(), maximum = input.Byte();
  const std::string list = input.Rest();
  file.SetCodePage(from);
  file.Add(qv::kStringListType, kNumber, list);
  file.Add(qv::kStringType, kNumber, list);
  CheckStrings(list);
  CheckDelivery(file, index, maximum, to);
  CheckReaders(file, list, maximum);
  return 0;
}
