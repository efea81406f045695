#include <cctype>
#include <memory>
#include <new>

#include "files/disk_file.h"
#include "memory/handle_bytes.h"
#include "platform/native_files.h"
#include "programs/common/reporter.h"
#include "programs/common/text.h"
#include "programs/qvtool/forms.h"
#include "programs/qvtool/pieces.h"
#include "programs/qvtool/resource_text.h"
#include "resources/locked_handle.h"
#include "resources/resource_file.h"

namespace qvtool {
namespace {

constexpr size_t kMostBody = 256 << 20;  // bytes

struct Options {
  std::string file, type, name;
  int32_t number = 0;
  std::optional<program::Option> name_option;  // of "add"
};

Trouble Failed(const std::string& what, const Options& options, ZRError error) {
  return what + " " + program::OneLine(options.file) + ": " + ErrorMeaning(error);
}

// A file object for the file that the user named.
Trouble NameFile(const Options& options, std::unique_ptr<CDiskFile>* file) {
  const std::string path = platform::PlatformPath(options.file);
  const auto bytes = program::ToCodePage(path, CP_ACP);
  if (path.empty() || !bytes || !bytes->lost.empty()) {
    return "the system's code page has no name for " + program::OneLine(options.file);
  }
  *file = std::make_unique<CDiskFile>();
  const ZRError error = (*file)->SetPath(bytes->bytes.c_str());
  return error == ZRErrNone ? Trouble() : Failed("cannot find", options, error);
}

Trouble OpenSource(const Options& options, bool read_only, CRezFmt* source) {
  std::unique_ptr<CDiskFile> file;
  Trouble trouble = NameFile(options, &file);
  if (trouble) return trouble;
  CDiskFile* given = file.release();
  const ZRError error = source->Open(&given, read_only);
  delete given;
  return error == ZRErrNone ? Trouble() : Failed("cannot open", options, error);
}

// --- what is in the file ---

struct Listed {
  qv::ResourceTypeCode type;
  int32_t number;
  std::string name;  // bytes
};

std::vector<Listed> AllOf(CRezFmt& source) {
  std::vector<Listed> all;
  source.EnumResources(
      0,
      [](qv::ResourceTypeCode type, int32_t number, const uint8_t* name, CodePage, void* data) {
        static_cast<std::vector<Listed>*>(data)->push_back(
            {type, number, std::string(name + 1, name + 1 + name[0])});
        return 0;
      },
      &all);
  return all;
}

Trouble Check(const Options& options, Streams&) {
  CRezFmt source;
  Trouble trouble = OpenSource(options, true, &source);
  if (trouble) return trouble;
  for (const Listed& one : AllOf(source)) {
    ZRHandle body = source.GetResource(one.type, one.number);
    if (body == 0) {
      return Failed("cannot read " + TypeText(one.type) + " " + std::to_string(one.number) + " of",
                    options, ZRErrResDamaged);
    }
    source.ReleaseResource(&body);
  }
  return std::nullopt;
}

Trouble List(const Options& options, Streams& streams) {
  CRezFmt source;
  Trouble trouble = OpenSource(options, true, &source);
  if (trouble) return trouble;
  for (const Listed& one : AllOf(source)) {
    const int32_t size = source.GetResourceSize(one.type, one.number);
    const int32_t attributes = source.GetAttributes(one.type, one.number);
    const bool written = streams.output.Write(
        TypeText(one.type) + "\t" + std::to_string(one.number) + "\t" +
        (size < 0 ? "-" : std::to_string(size)) + "\t" + std::to_string(attributes) + "\t" +
        program::OneLine(NameText(one.name, source.code_page())) + "\n");
    if (!written) break;
  }
  return std::nullopt;
}

Trouble Get(const Options& options, Streams& streams) {
  CRezFmt source;
  Trouble trouble = OpenSource(options, true, &source);
  if (trouble) return trouble;
  const auto type = TypeOf(options.type);
  const bool is_there = source.GetAttributes(*type, options.number) >= 0;
  const qv::LockedHandle body(source.GetResource(*type, options.number));
  if (body.data() == nullptr) {
    return Failed("cannot read from", options, is_there ? ZRErrResDamaged : ZRErrResNotFound);
  }
  streams.output.Write({reinterpret_cast<const char*>(body.data()), body.bytes().size()});
  return std::nullopt;
}

// --- changes ---

Trouble Create(const Options& options, Streams&) {
  std::unique_ptr<CDiskFile> file;
  Trouble trouble = NameFile(options, &file);
  if (trouble) return trouble;
  CRezFmt source;
  const ZRError error = source.Create(file.get(), 0, 0);
  if (error != ZRErrNone) return Failed("cannot create", options, error);
  file.release();  // it is the source's
  return std::nullopt;
}

// Opens the file, makes one change in memory and writes it.
template <class Change>
Trouble ChangeFile(const Options& options, Change change) {
  CRezFmt source;
  Trouble trouble = OpenSource(options, false, &source);
  if (trouble) return trouble;
  const auto name = NameBytes(options.name, source.code_page());
  if (!name) return "the file's code page has no such name, or it has more than 255 bytes";
  Str255 bytes;
  qv::SetLStr(bytes, kMostLStr, name->data(), static_cast<int32_t>(name->size()));
  ZRError error = change(source, *TypeOf(options.type), bytes);
  if (error == ZRErrNone) error = source.UpdateFile();
  return error == ZRErrNone ? Trouble() : Failed("cannot change", options, error);
}

ZRError AddBody(CRezFmt& source, const Options& options, qv::ResourceTypeCode type,
                const uint8_t* name, const std::string& body) {
  ZRHandle handle = 0;
  const auto size = static_cast<uint32_t>(body.size());
  if (ZRHandleFromBytes(body.data(), &handle, size) != ZRErrNone) return ZRErrResMemory;
  const ZRError error = source.AddResource(handle, type, options.number, name);
  if (error != ZRErrNone) ZRDisposeHandle(&handle);
  return error;
}

// Puts the body in the place of one that is there, whose name stays unless another one is given.
ZRError ReplaceBody(CRezFmt& source, const Options& options, qv::ResourceTypeCode type,
                    const uint8_t* name, const std::string& body) {
  const ZRHandle handle = source.GetResource(type, options.number);
  if (handle == 0) {  // what is there cannot be read
    Str255 old_name;
    ZRError error = source.GetResourceName(type, options.number, old_name);
    if (error == ZRErrNone) error = source.RemoveResource(type, options.number);
    if (error != ZRErrNone) return error;
    return AddBody(source, options, type, options.name_option->IsGiven() ? name : old_name, body);
  }
  ZRError error = ZRSetHandleBytes(body.data(), handle, static_cast<uint32_t>(body.size()));
  if (error == ZRErrNone) error = source.ChangedResource(type, options.number);
  if (error != ZRErrNone || !options.name_option->IsGiven()) return error;
  return source.SetResourceName(type, options.number, name);
}

Trouble Add(const Options& options, Streams& streams) {
  std::string body;
  const bool whole = ForEachPiece(streams.input, "reading", [&](std::string_view piece) {
    body += piece;
    return body.size() <= kMostBody;
  });
  if (body.size() > kMostBody) return "the body has more than 256 MiB";
  if (!whole) return std::nullopt;
  return ChangeFile(options, [&](CRezFmt& source, qv::ResourceTypeCode type, const uint8_t* name) {
    const bool is_there = source.GetAttributes(type, options.number) >= 0;
    return is_there ? ReplaceBody(source, options, type, name, body)
                    : AddBody(source, options, type, name, body);
  });
}

Trouble Remove(const Options& options, Streams&) {
  return ChangeFile(options, [&](CRezFmt& source, qv::ResourceTypeCode type, const uint8_t*) {
    return source.RemoveResource(type, options.number);
  });
}

Trouble Rename(const Options& options, Streams&) {
  return ChangeFile(options, [&](CRezFmt& source, qv::ResourceTypeCode type, const uint8_t* name) {
    return source.SetResourceName(type, options.number, name);
  });
}

// --- the command line ---

void AddFile(const CommandPart& form, Options& options) {
  form.Add("FILE", options.file, "A resource file").Required().Type("FILE");
}

void AddResourceOptions(const CommandPart& form, Options& options) {
  AddFile(form, options);
  form.Add("TYPE", options.type, "Four characters (fewer: blanks follow) or 0xHHHHHHHH")
      .Required()
      .Type("TYPE")
      .Check([](const std::string& text) {
        return TypeOf(text) ? "" : "not a type of four characters: " + program::OneLine(text);
      });
  form.Add("NUMBER", options.number, "-32768 to 32767")
      .Required()
      .Type("NUMBER")
      .Range(INT16_MIN, INT16_MAX);
}

}  // namespace

Work DescribeRez(const CommandPart& command) {
  const Forms<Options> forms(command);
  Options& options = forms.options();
  AddFile(forms.Add("create", "A new file without resources", Create), options);
  AddFile(forms.Add("check", "Whether every resource can be read", Check), options);
  AddFile(forms.Add("list", "Lines of type, number, size, attributes and name", List), options);
  AddResourceOptions(forms.Add("get", "Write a resource to standard output", Get), options);
  const CommandPart add = forms.Add("add", "Add standard input as a resource, or replace one", Add);
  AddResourceOptions(add, options);
  options.name_option = add.Add("--name", options.name, "Its name").TakeLast().Type("NAME");
  AddResourceOptions(forms.Add("remove", "Remove a resource", Remove), options);
  const CommandPart rename = forms.Add("rename", "Give a resource another name, or none", Rename);
  AddResourceOptions(rename, options);
  rename.Add("NAME", options.name, "The new name").Type("NAME");
  return forms.work();
}

}  // namespace qvtool
