// An application that takes its texts out of resource files beside it. Prints string INDEX of list
// LIST for each argument "LIST:INDEX", and whole string NUMBER for each "NUMBER"; "-" when there is
// none. Behind "+" the extra files are asked too.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/windows_api.h"
#include "resources/resource_chain.h"

namespace {

void Show(const char* argument) {
  char text[256] = "";
  char* end = nullptr;
  const auto number = static_cast<int32_t>(std::strtol(argument, &end, 10));
  const bool found = *end == ':'
                         ? ZRGetIndCString(text, number, std::atoi(end + 1), sizeof text - 1)
                         : ZRGetString(text, number, sizeof text);
  std::printf("%s\n", found ? text : "-");
}

}  // namespace

int main(int argc, char** argv) {
  if (ZROpenResourceFiles(GetModuleHandleA(nullptr)) != 0) return 1;
  for (int i = 1; i < argc; ++i) {
    if (std::string(argv[i]) == "+") {
      ZRUseExtraResourceFiles(true);
    } else {
      Show(argv[i]);
    }
  }
  return 0;
}
