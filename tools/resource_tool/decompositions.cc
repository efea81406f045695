#include "tools/resource_tool/decompositions.h"

namespace qvresource {
namespace {

constexpr uint32_t kFirstKind = 0xF000, kPage = 2048;
constexpr uint32_t kMostParts = 0xFFFF;  // of all characters together: places have two bytes

struct Form {
  ByteVector index, companion;
  uint32_t last = 0, parts = 0;
};

bool ParseCharacter(const Line& line, size_t field, uint32_t& code, Problem& problem) {
  const std::string& text = line.fields[field].text;
  const size_t digits = text.size() < 4 || text.size() > 6 ? 4 : text.size();
  return ParseHex(line.place, text, digits, code, problem);
}

bool ReadLine(const Line& line, Form& form, Problem& problem) {
  uint32_t code = 0;
  if (line.fields.size() < 3) return problem.Set(line.place, "a part is missing");
  if (!ParseCharacter(line, 1, code, problem)) return false;
  if (code <= form.last) return problem.Set(line.place, "characters do not ascend");
  form.last = code;
  const auto count = static_cast<uint32_t>(line.fields.size() - 2);
  if (form.parts + count > kMostParts) return problem.Set(line.place, "too many parts");
  AppendBig(form.index, code, 4);
  AppendBig(form.index, form.parts, 2);
  AppendBig(form.index, count, 2);
  form.parts += count;
  for (size_t i = 2; i < line.fields.size(); ++i) {
    if (!ParseCharacter(line, i, code, problem)) return false;
    AppendBig(form.companion, code, 4);
  }
  return true;
}

}  // namespace

bool EncodeDecompositions(const std::vector<Line>& lines, std::vector<ByteVector>& resources,
                          Problem& problem) {
  Form canonical, compatibility;
  for (const Line& line : lines) {
    const std::string& word = line.fields[0].text;
    if (word != "C" && word != "K") return problem.Set(line.place, "C or K expected");
    if (!ReadLine(line, word == "C" ? canonical : compatibility, problem)) return false;
  }
  uint32_t kind = kFirstKind;
  for (const ByteVector* body :
       {&canonical.index, &canonical.companion, &compatibility.index, &compatibility.companion}) {
    ByteVector resource;
    AppendBig(resource, kind++, 2);
    AppendBig(resource, kPage, 2);
    resource.insert(resource.end(), body->begin(), body->end());
    resources.push_back(std::move(resource));
  }
  return true;
}

}  // namespace qvresource
