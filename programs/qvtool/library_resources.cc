#include "programs/qvtool/library_resources.h"

#include "platform/windows_api.h"
#include "resources/charset_loader.h"
#include "resources/module_source.h"

namespace qvtool {
namespace {

program::Trouble CannotLoad(const char* what, ZRError error) {
  if (error == ZRErrNone) return std::nullopt;
  return std::string("cannot load ") + what + ": error " + std::to_string(error);
}

}  // namespace

program::Trouble OpenResources() {
  return CannotLoad("the library's resources", ZRInitModuleResources(GetModuleHandleA(nullptr)));
}

program::Trouble LoadTables() {
  if (program::Trouble trouble = OpenResources()) return trouble;
  return CannotLoad("the character set tables", LoadCharsetTables());
}

}  // namespace qvtool
