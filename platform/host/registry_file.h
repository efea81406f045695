// The registry's content and its file.
//
// registry.txt, one key or value a line:
//   [HKEY_CURRENT_USER\SOFTWARE\Clients\Mail]
//   "DllPath"=1:"C:\mail\qvsmapi.dll%00"
// A value line gives name, type number and the exact bytes. Bytes that are not plain text, and
// " and %, are written as % and two hex digits. Lines of any other form are passed over. A missing
// file means the registry of a fresh system.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/host/types.h"

namespace host {

struct RegistryValue {
  std::string name;  // UTF-8, as it was first written
  DWORD type = 0;
  std::string data;
};

struct RegistryKey {
  std::string path;                             // UTF-8, as it was first written
  std::map<std::string, RegistryValue> values;  // by upper-case name
};

// Keys by full path, "HKEY_CURRENT_USER\SOFTWARE"; letter case is ignored. The keys above a key are
// always there too.
class RegistryTree {
 public:
  RegistryKey* Find(std::string_view path);
  const RegistryKey* Find(std::string_view path) const;
  // Makes the key and those above it. False when it was there already.
  bool Create(std::string_view path);
  // Removes everything below the key.
  void RemoveBelow(std::string_view path);
  void Remove(std::string_view path);

  void Parse(std::string_view text);
  std::string Format() const;

 private:
  void ParseLine(std::string_view line, RegistryKey** current);
  std::map<std::string, RegistryKey> keys_;  // by upper-case path
};

// The present content. 0, or the Windows error with no tree. Several calls give the same tree for
// as long as nobody, in any process, has changed the file.
DWORD ReadRegistry(std::shared_ptr<const RegistryTree>* tree);

// Runs `change` on the present content, with every other writer locked out, and writes the result
// unless `change` answers an error. 0, or the Windows error with nothing written.
DWORD ChangeRegistry(const std::function<DWORD(RegistryTree&)>& change);

}  // namespace host
