// Resource files for tests of the chain: what is asked for is recorded, what was provided is opened
// as a source in memory.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "resources/resource_chain.h"
#include "tests/resources/memory_source.h"

namespace test {

class OpenedFilesState {
 public:
  // From here on the chain opens its files here.
  void Install();
  // A file that is there, by its path or the end of it.
  void Provide(const std::string& name) {
    Install();
    sources_[name] = nullptr;
  }
  // The source of a provided file, once it was opened; the chain owns it.
  MemorySource* source(const std::string& name) { return sources_[name]; }
  const std::vector<std::string>& asked() const { return asked_; }

  CResSource* Open(const std::string& path) {
    asked_.push_back(path);
    for (auto& [name, source] : sources_) {
      if (path.size() < name.size() || path.substr(path.size() - name.size()) != name) continue;
      return source = new MemorySource;
    }
    return nullptr;
  }

 private:
  std::map<std::string, MemorySource*> sources_;
  std::vector<std::string> asked_;
};

inline OpenedFilesState& OpenedFiles() {
  static OpenedFilesState state;
  return state;
}

inline void OpenedFilesState::Install() {
  qv::SetResourceFileOpener([](const char* path) { return OpenedFiles().Open(path); });
}

// Opens the program's own file in the chain, under whatever name the user's language gives it. Null
// when the chain has not taken it.
inline MemorySource* OpenMainFile() {
  constexpr char kAnyLanguage[] = ".rez";
  OpenedFiles().Provide(kAnyLanguage);
  const bool is_open = ZROpenResourceFiles(GetModuleHandleA(nullptr)) == ZRErrNone;
  return is_open ? OpenedFiles().source(kAnyLanguage) : nullptr;
}

}  // namespace test
