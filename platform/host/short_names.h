// Short (8.3) names: for names that are too long or odd to be one, and for native names that the
// calls could not show at all. A short name follows from the long one alone, so it is the same at
// every time and in every process, and files open by it. Two names of one folder may share a short
// name (about one chance in 8 * 10^10 for two of the same extension): it then means the first.
#pragma once

#include <string>
#include <string_view>

namespace host {

// Upper case; "" when `name`, a native one, is itself of the short form.
std::string ShortName(std::string_view name);

// Whether the calls can show the name at all: UTF-8 without characters that Windows refuses.
bool HasLongForm(std::string_view name);

// The entry of a native folder that has this short name; "" when there is none.
std::string FindByShortName(const std::string& folder, std::string_view short_name);

}  // namespace host
