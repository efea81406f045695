// Any bytes as a resource file: it is refused, or everything that it holds can be read, changed and
// written. After an update the file holds what the source served, behind other bytes too; after a
// refused one it is what it was.
#include <memory>
#include <utility>
#include <vector>

#include "files/disk_file.h"
#include "fuzz/fuzz_support.h"
#include "memory/handle_bytes.h"
#include "resources/resource_file.h"
#include "tests/test_platform.h"

namespace {

// Without waiting for the disk.
class QuickFile final : public CDiskFile {
 public:
  ZRError Flush() override { return ZRErrNone; }
};

struct Resource {
  qv::ResourceTypeCode type;
  int32_t number;
  std::string name, body;
  bool operator==(const Resource&) const = default;
};

std::string BytesOf(ZRHandle handle) {
  std::string bytes(ZRGetHandleSize(handle), '\0');
  auto count = static_cast<uint32_t>(bytes.size());
  FUZZ_CHECK(ZRGetHandleBytes(handle, bytes.data(), &count) == ZRErrNone);
  return bytes;
}

int Visit(qv::ResourceTypeCode type, int32_t number, const uint8_t* name, CodePage, void* data) {
  static_cast<std::vector<Resource>*>(data)->push_back(
      {type, number, std::string(name + 1, name + 1 + name[0]), ""});
  return 0;
}

std::vector<Resource> Served(CRezFmt& source) {
  std::vector<Resource> all;
  source.EnumResources(0, Visit, &all);
  for (Resource& resource : all) {
    const ZRHandle handle = source.GetResource(resource.type, resource.number);
    const int32_t size = source.GetResourceSize(resource.type, resource.number);
    FUZZ_CHECK(handle == 0 || size == static_cast<int32_t>(ZRGetHandleSize(handle)));
    resource.body = handle == 0 ? "none" : "body " + BytesOf(handle);
  }
  return all;
}

bool Open(CRezFmt& source, const std::string& path) {
  CDiskFile* file = new QuickFile;
  FUZZ_CHECK(file->SetPath(path.c_str()) == ZRErrNone);
  const ZRError error = source.Open(&file, false);
  delete file;
  return error == ZRErrNone;
}

void Change(CRezFmt& source, fuzz::Input& input, const std::vector<Resource>& all) {
  const uint8_t what = input.Byte();
  const std::string bytes(input.Byte() * size_t{4}, 'c');
  const Resource none{qv::ResourceType("NONE"), 1, "", ""};
  const Resource& one = all.empty() ? none : all[input.Byte() % all.size()];
  const uint8_t name[] = {3, 'n', 'e', 'w'};
  if (what % 5 == 0) {
    ZRHandle added = 0;
    FUZZ_CHECK(ZRHandleFromBytes(bytes.data(), &added, static_cast<uint32_t>(bytes.size())) == 0);
    if (source.AddResource(added, one.type, 77, name) != ZRErrNone) ZRDisposeHandle(&added);
  } else if (what % 5 == 1) {
    source.RemoveResource(one.type, one.number);
  } else if (what % 5 == 2) {
    source.SetResourceName(one.type, one.number, name);
  } else if (const ZRHandle handle = source.GetResource(one.type, one.number)) {
    ZRSetHandleBytes(bytes.data(), handle, static_cast<uint32_t>(bytes.size()));
    FUZZ_CHECK(source.ChangedResource(one.type, one.number) == ZRErrNone);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string path = test::TempFolder() + "\\fuzzed";
  fuzz::Input input(data, size);
  const uint8_t range = input.Byte();
  fuzz::Input change(data, size < 9 ? size : 9);
  change.Byte();
  for (int i = 0; i < 8; ++i) input.Byte();
  const std::string before(range % 3, 'b'), fork = input.Rest();
  const std::string behind = range % 2 ? std::string(range / 16, 'e') : "";
  const int64_t length = range % 2 ? static_cast<int64_t>(fork.size()) : -1;
  const std::string whole = before + fork + behind;
  FUZZ_CHECK(test::WriteWholeFile(path, whole));
  CRezFmt source;
  source.SetForkRange(static_cast<int64_t>(before.size()), length);
  if (!Open(source, path)) {
    FUZZ_CHECK(test::ReadWholeFile(path) == whole);
    return 0;
  }
  const std::vector<Resource> old = Served(source);
  Change(source, change, old);
  Change(source, change, old);
  const std::vector<Resource> expected = Served(source);
  const ZRError error = source.UpdateFile();
  FUZZ_CHECK(error == ZRErrNone || error == ZRErrResDamaged || error == ZRErrResTooLarge);
  FUZZ_CHECK(Served(source) == expected);
  source.Close();
  const std::string now = test::ReadWholeFile(path);
  FUZZ_CHECK(error == ZRErrNone || now == whole);
  FUZZ_CHECK(now.compare(0, before.size(), before) == 0);
  if (length >= 0) FUZZ_CHECK(now.substr(now.size() - behind.size()) == behind);
  CRezFmt again;
  again.SetForkRange(static_cast<int64_t>(before.size()), length);
  FUZZ_CHECK(Open(again, path));
  FUZZ_CHECK(Served(again) == (error == ZRErrNone ? expected : old));
  return 0;
}
