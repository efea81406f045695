#include "tools/resource_tool/writers.h"

namespace qvresource {

bool WriteScript(const std::string& path, const ResourceSet& set, Problem& problem) {
  std::string script;
  for (const auto& [key, bytes] : set.resources()) {
    const auto& [type, number] = key;
    const std::string type_text = type.name.empty() ? std::to_string(type.number) : type.name;
    const std::string body = path + "." + type_text + "." + std::to_string(number);
    if (!WriteFile(body, std::string(bytes.begin(), bytes.end()), problem)) return false;
    script += std::to_string(number) + " " + type_text + " \"" + body + "\"\n";
  }
  return WriteFile(path, script, problem);
}

}  // namespace qvresource
