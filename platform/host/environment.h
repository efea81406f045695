// The environment of the process, UTF-8.
#pragma once

#include <optional>
#include <string>

namespace host {

std::optional<std::string> EnvironmentValue(const std::string& name);

}  // namespace host
