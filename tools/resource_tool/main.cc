#include <iostream>

#include "tools/resource_tool/tool.h"

int main(int argc, char** argv) {
  return qvresource::RunTool({argv + 1, argv + argc}, std::cout, std::cerr);
}
