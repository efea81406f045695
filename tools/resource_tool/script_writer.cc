#include "tools/resource_tool/writers.h"

namespace qvresource {

bool WriteScript(const std::string& path, const ResourceSet& set, Problem& problem) {
  std::string script;
  for (const auto& [key, bytes] : set.resources()) {
    const auto& [type, name] = key;
    const std::string body = path + "." + type.text() + "." + name.text();
    if (!WriteFile(body, std::string(bytes.begin(), bytes.end()), problem)) return false;
    script += name.text() + " " + type.text() + " \"" + body + "\"\n";
  }
  return WriteFile(path, script, problem);
}

}  // namespace qvresource
