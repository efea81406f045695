#include "programs/qvtool/library_resources.h"

#include "platform/windows_api.h"
#include "resources/charset_loader.h"
#include "resources/module_source.h"

namespace qvtool {

program::Trouble LoadTables() {
  ZRInitModuleResources(GetModuleHandleA(nullptr));
  const ZRError error = LoadCharsetTables();
  if (error == ZRErrNone) return std::nullopt;
  return "cannot load the character set tables: error " + std::to_string(error);
}

}  // namespace qvtool
