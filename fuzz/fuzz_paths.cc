// Any text as a path and as a name: folder and name of a split are the path but for separators
// between them, a cleaned name is clean already and valid, and nothing is written behind a buffer.
#include <cstring>
#include <string>

#include "files/file_names.h"
#include "files/paths.h"
#include "fuzz/fuzz_support.h"

namespace {

void CheckSplit(const std::string& path) {
  fuzz::GuardedBuffer folder(kFolderSize), name(kNameSize);
  const ZRError error = ZRPathSplit(path.c_str(), folder.data(), name.data(), false);
  FUZZ_CHECK(folder.Intact() && name.Intact());
  FUZZ_CHECK(std::strlen(folder.data()) < kFolderSize && std::strlen(name.data()) < kNameSize);
  if (error != ZRErrNone) return;
  const std::string first = folder.data(), last = name.data();
  if (last.size() >= kNameSize - 2) return;  // perhaps cut
  FUZZ_CHECK(path.starts_with(first) && path.ends_with(last));
  // Nothing but separators was lost between the two.
  const std::string between = path.substr(first.size(), path.size() - first.size() - last.size());
  FUZZ_CHECK(between.size() <= 2 && between.find_first_not_of('\\') == std::string::npos);
}

void CheckJoin(const std::string& path, const std::string& name) {
  if (path.size() >= kFolderSize) return;
  fuzz::GuardedBuffer joined(kFolderSize);
  std::memcpy(joined.data(), path.c_str(), path.size() + 1);
  const bool fits = ZRPathJoin(joined.data(), name.c_str()) != nullptr;
  FUZZ_CHECK(joined.Intact());
  FUZZ_CHECK(fits || std::strcmp(joined.data(), path.c_str()) == 0);
  FUZZ_CHECK(!fits || std::strlen(joined.data()) <= kLongestPath);
}

void CheckNames(const std::string& text, bool whole_path) {
  std::string name = text + '\0';
  ZRSanitizeName(name.data(), whole_path);
  const std::string once = name.c_str();
  FUZZ_CHECK(once.size() < (whole_path ? kFolderSize : kNameSize));
  ZRSanitizeName(name.data(), whole_path);
  FUZZ_CHECK(once == name.c_str());
  std::string stripped = text + '\0';
  ZRStripName(stripped.data());
  FUZZ_CHECK(std::strlen(stripped.c_str()) <= text.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const bool whole_path = (input.Byte() & 1) != 0;
  const std::string path = input.Text(), name = input.Text();
  CheckSplit(path);
  CheckJoin(path, name);
  CheckNames(path, whole_path);
  return 0;
}
