// The resource tool's command line, apart from main so that tests can run it.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace qvresource {

// Runs the tool with the arguments behind its name; returns the exit code: 0 done, 1 wrong data,
// 2 wrong arguments.
int RunTool(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& errors);

}  // namespace qvresource
