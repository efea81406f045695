// Names and paths in the form of the Windows calls, as UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace program {

// True for the name of a file directly inside a folder: no separator, drive, stream, wildcard or
// control character, not "." or "..", no device ("NUL", "com1.txt"), not empty, at most 255 units.
bool IsPlainName(std::string_view name);

// `name` with every character that a plain name cannot hold replaced by "_"; a device's name gets a
// "_" before it. A plain name stays as it is.
std::string PlainName(std::string_view name);

// The part behind the last "\" or "/".
std::string LastPart(std::string_view path);

// "C:\Temp" and "a" give "C:\Temp\a".
std::string Joined(const std::string& folder, const std::string& name);

// The path as the user's shell takes it; as it is where it has no such form (its folder is gone).
std::string ShownPath(const std::string& path);

// "report.pdf" and 2 give "report (2).pdf".
std::string Numbered(const std::string& name, int number);

// The folder that holds the copies of attachments on their way to the client: "Quorvantis" in the
// user's temporary folder. "" when the system has no temporary folder.
std::string StagingFolder();

// Full path of the running program.
std::string ProgramPath();
// The folder that it lies in.
std::string ProgramFolder();

}  // namespace program
