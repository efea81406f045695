#include "tools/resource_tool/description.h"

#include <filesystem>
#include <map>

#include "tools/resource_tool/charset_tables.h"
#include "tools/resource_tool/decompositions.h"
#include "tools/resource_tool/line_break_lists.h"
#include "tools/resource_tool/time_zones.h"
#include "tools/resource_tool/version_record.h"
#include "tools/resource_tool/wide_tables.h"

namespace qvresource {
namespace {

constexpr uint32_t kStringsOfList = 16;
constexpr uint32_t kMostNumber = 0xFFFF;

struct Context {
  std::filesystem::path folder;
  SourceReader& reader;
  ResourceSet& set;
  Problem& problem;
  std::map<uint32_t, WidePage> wide_pages = {};  // those that may be a base of others

  // The number in field `index`.
  bool Number(const Line& line, size_t index, uint32_t& value) {
    if (index >= line.fields.size()) return problem.Set(line.place, "a number is missing");
    return ParseDecimal(line.place, line.fields[index].text, kMostNumber, value, problem);
  }
  bool Quoted(const Line& line, size_t index, std::string& text) {
    if (index >= line.fields.size() || !line.fields[index].quoted) {
      return problem.Set(line.place, "a string in quotation marks is missing");
    }
    text = line.fields[index].text;
    return true;
  }
  // The lines of the file that field `index` names.
  bool Read(const Line& line, size_t index, SourceLines& source) {
    source.file.file = (folder / line.fields[index].text).string();
    return reader.Read(source.file.file, Quotes::kPlain, source.lines, problem);
  }
  // Under the numbers from `first` on.
  bool AddAll(const Line& line, const char* type, uint32_t first, std::vector<ByteVector>& bodies) {
    for (ByteVector& body : bodies) {
      if (!set.Add(line.place, {type, 0}, first++, std::move(body), problem)) return false;
    }
    return true;
  }
  bool CountIs(const Line& line, size_t least, size_t most) {
    const size_t count = line.fields.size() - 1;
    if (count >= least && count <= most) return true;
    return problem.Set(line.place, line.fields[0].text + (count < least ? " needs more fields"
                                                                        : " takes fewer fields"));
  }
};

// string NUMBER "TEXT"
bool ReadString(Context& context, const Line& line) {
  uint32_t number = 0;
  std::string text;
  return context.CountIs(line, 2, 2) && context.Number(line, 1, number) &&
         context.Quoted(line, 2, text) &&
         context.set.AddString(line.place, number, text, context.problem);
}

// list LIST "TEXT" ...
bool ReadList(Context& context, const Line& line) {
  uint32_t list = 0;
  if (!context.CountIs(line, 2, 1 + kStringsOfList) || !context.Number(line, 1, list)) return false;
  if (list > kMostNumber / kStringsOfList) {
    return context.problem.Set(line.place, "the list's number is out of range");
  }
  for (size_t i = 2; i < line.fields.size(); ++i) {
    const uint32_t number = list * kStringsOfList + static_cast<uint32_t>(i) - 2;
    std::string text;
    if (!context.Quoted(line, i, text)) return false;
    if (!context.set.AddString(line.place, number, text, context.problem)) return false;
  }
  return true;
}

// chst FIRST COUNT FILE
bool ReadByteMapFile(Context& context, const Line& line) {
  uint32_t number = 0, count = 0;
  if (!context.CountIs(line, 3, 3) || !context.Number(line, 1, number) ||
      !context.Number(line, 2, count)) {
    return false;
  }
  SourceLines source;
  std::vector<ByteVector> maps;
  return context.Read(line, 3, source) &&
         EncodeByteMaps(source.file, source.lines, count, maps, context.problem) &&
         context.AddAll(line, "CHST", number, maps);
}

// Both tables of a page, under two numbers.
bool AddTables(Context& context, const Line& line, uint32_t number, PageTables& tables) {
  return context.set.Add(line.place, {"CHUC", 0}, number, std::move(tables.to_unicode),
                         context.problem) &&
         context.set.Add(line.place, {"CHUC", 0}, number + 1, std::move(tables.from_unicode),
                         context.problem);
}

bool AddPage(Context& context, const Line& line, uint32_t page, uint32_t number) {
  const std::string path =
      (context.folder / line.fields[2].text / (std::to_string(page) + ".txt")).string();
  std::vector<Line> lines;
  PageTables tables;
  return context.reader.Read(path, Quotes::kPlain, lines, context.problem) &&
         EncodeSingleBytePage({path, 0}, lines, page, tables, context.problem) &&
         AddTables(context, line, number, tables);
}

// chuc FIRST FOLDER PAGE ...
bool ReadPages(Context& context, const Line& line) {
  uint32_t number = 0;
  if (!context.CountIs(line, 3, kMostNumber) || !context.Number(line, 1, number)) return false;
  for (size_t i = 3; i < line.fields.size(); ++i, number += 2) {
    uint32_t page = 0;
    if (!context.Number(line, i, page) || !AddPage(context, line, page, number)) return false;
  }
  return true;
}

bool ReadWideFiles(Context& context, const Line& line, WidePage& page) {
  const std::string stem = (context.folder / line.fields[3].text).string();
  const std::string table = stem + ".txt", reverse = stem + "-reverse.txt";
  std::vector<Line> rows, entries;
  return context.reader.Read(table, Quotes::kPlain, rows, context.problem) &&
         context.reader.Read(reverse, Quotes::kPlain, entries, context.problem) &&
         ReadWidePage({table, 0}, rows, entries, page, context.problem);
}

// wide FIRST PAGE FILE [BASE]
bool ReadWide(Context& context, const Line& line) {
  uint32_t number = 0, base_number = 0;
  WidePage page;
  if (!context.CountIs(line, 3, 4) || !context.Number(line, 1, number) ||
      !context.Number(line, 2, page.number)) {
    return false;
  }
  const bool based = line.fields.size() == 5;
  if (based && !context.Number(line, 4, base_number)) return false;
  const auto base = context.wide_pages.find(base_number);
  if (based && base == context.wide_pages.end()) {
    return context.problem.Set(line.place, "the base has to stand above");
  }
  if (!ReadWideFiles(context, line, page)) return false;
  PageTables tables = based ? EncodeBasedPage(page, base->second) : EncodeWidePage(page);
  if (!based) context.wide_pages[page.number] = std::move(page);
  return AddTables(context, line, number, tables);
}

// decompositions FIRST FILE
bool ReadDecompositions(Context& context, const Line& line) {
  uint32_t number = 0;
  if (!context.CountIs(line, 2, 2) || !context.Number(line, 1, number)) return false;
  SourceLines source;
  std::vector<ByteVector> resources;
  return context.Read(line, 2, source) &&
         EncodeDecompositions(source.lines, resources, context.problem) &&
         context.AddAll(line, "CHUC", number, resources);
}

// qvlb FILE
bool ReadLineBreaks(Context& context, const Line& line) {
  if (!context.CountIs(line, 1, 1)) return false;
  SourceLines source;
  std::map<uint32_t, ByteVector> pages;
  if (!context.Read(line, 1, source) ||
      !EncodeLineBreakLists(source.file, source.lines, pages, context.problem)) {
    return false;
  }
  for (auto& [page, body] : pages) {
    if (!context.set.Add(line.place, {"QVLB", 0}, page, std::move(body), context.problem)) {
      return false;
    }
  }
  return true;
}

// timezones FIRST VERSIONFILE LISTFILE RULESFILE
bool ReadTimeZones(Context& context, const Line& line) {
  uint32_t number = 0;
  if (!context.CountIs(line, 4, 4) || !context.Number(line, 1, number)) return false;
  SourceLines sources[3];
  for (size_t i = 0; i < std::size(sources); ++i) {
    if (!context.Read(line, i + 2, sources[i])) return false;
  }
  std::vector<ByteVector> resources;
  if (!EncodeTimeZones(sources[0], sources[1], sources[2], resources, context.problem)) {
    return false;
  }
  return context.AddAll(line, "ZRTZ", number, resources);
}

// joined NUMBER FILE
bool ReadJoined(Context& context, const Line& line) {
  uint32_t number = 0;
  SourceLines source;
  return context.CountIs(line, 2, 2) && context.Number(line, 1, number) &&
         context.Read(line, 2, source) &&
         context.set.AddString(line.place, number, JoinEntries(source.lines), context.problem);
}

// zrcs NUMBER PAGE
bool ReadCodePage(Context& context, const Line& line) {
  uint32_t number = 0, page = 0;
  if (!context.CountIs(line, 2, 2) || !context.Number(line, 1, number) ||
      !context.Number(line, 2, page)) {
    return false;
  }
  ByteVector bytes;
  AppendBig(bytes, page, 2);
  return context.set.Add(line.place, {"ZRCS", 0}, number, std::move(bytes), context.problem);
}

// A type or resource by its name, in upper case.
TypeKey Named(std::string name) {
  for (char& c : name) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  return {std::move(name), 0};
}

// A type by its name, or one of the platform's by its number.
bool ReadType(Context& context, const Line& line, TypeKey* type) {
  const std::string& text = line.fields[1].text;
  *type = Named(text);
  if (text.find_first_not_of("0123456789") != std::string::npos) return true;
  *type = {"", 0};
  return context.Number(line, 1, type->number);
}

// The hexadecimal bytes from the fourth field on, as a resource of the type in the second.
bool AddBytes(Context& context, const Line& line, const NameKey& name) {
  ByteVector bytes;
  for (size_t i = 3; i < line.fields.size(); ++i) {
    uint32_t value = 0;
    if (!ParseHex(line.place, line.fields[i].text, 2, value, context.problem)) return false;
    AppendBig(bytes, value, 1);
  }
  TypeKey type;
  return ReadType(context, line, &type) &&
         context.set.Add(line.place, type, name, std::move(bytes), context.problem);
}

// bytes TYPE NUMBER HEX ...
bool ReadBytes(Context& context, const Line& line) {
  uint32_t number = 0;
  return context.CountIs(line, 2, kMostNumber) && context.Number(line, 2, number) &&
         AddBytes(context, line, {"", number});
}

// named TYPE NAME HEX ...
bool ReadNamed(Context& context, const Line& line) {
  return context.CountIs(line, 2, kMostNumber) &&
         AddBytes(context, line, Named(line.fields[2].text));
}

bool ParseVersionNumber(const Place& place, std::string_view text, VersionRecord& record,
                        Problem& problem) {
  for (size_t i = 0; i < record.number.size(); ++i) {
    const size_t dot = text.find('.');
    if ((dot == std::string_view::npos) != (i + 1 == record.number.size())) {
      return problem.Set(place, "a version has four numbers");
    }
    uint32_t value = 0;
    if (!ParseDecimal(place, text.substr(0, dot), kMostNumber, value, problem)) return false;
    record.number[i] = static_cast<uint16_t>(value);
    text.remove_prefix(dot == std::string_view::npos ? text.size() : dot + 1);
  }
  return true;
}

// version A.B.C.D KEY "TEXT" ...
bool ReadVersion(Context& context, const Line& line) {
  VersionRecord record;
  if (!context.CountIs(line, 1, kMostNumber) ||
      !ParseVersionNumber(line.place, line.fields[1].text, record, context.problem)) {
    return false;
  }
  for (size_t i = 2; i < line.fields.size(); i += 2) {
    std::string text;
    if (!context.Quoted(line, i + 1, text)) return false;
    record.texts.emplace_back(line.fields[i].text, text);
  }
  return context.set.Add(line.place, {"", kVersionType}, 1, EncodeVersionRecord(record),
                         context.problem);
}

struct Directive {
  const char* word;
  bool (*read)(Context&, const Line&);
};
constexpr Directive kDirectives[] = {
    {"string", ReadString},    {"list", ReadList},
    {"chst", ReadByteMapFile}, {"chuc", ReadPages},
    {"zrcs", ReadCodePage},    {"version", ReadVersion},
    {"bytes", ReadBytes},      {"named", ReadNamed},
    {"wide", ReadWide},        {"decompositions", ReadDecompositions},
    {"qvlb", ReadLineBreaks},  {"timezones", ReadTimeZones},
    {"joined", ReadJoined},
};

}  // namespace

bool ReadDescription(const std::string& path, SourceReader& reader, ResourceSet& set,
                     Problem& problem) {
  std::vector<Line> lines;
  if (!reader.Read(path, Quotes::kString, lines, problem)) return false;
  Context context{std::filesystem::path(path).parent_path(), reader, set, problem};
  for (const Line& line : lines) {
    const Directive* found = nullptr;
    for (const Directive& directive : kDirectives) {
      if (line.fields[0].text == directive.word) found = &directive;
    }
    if (found == nullptr) {
      return problem.Set(line.place, "no kind of resource: " + line.fields[0].text);
    }
    if (!found->read(context, line)) return false;
  }
  return true;
}

}  // namespace qvresource
