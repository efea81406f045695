#include "platform/host/streams.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <vector>

#include "platform/host/native_errors.h"
#include "platform/host/paths.h"

namespace host {
namespace {

constexpr std::string_view kStreamFolder = ".qvsmapi-streams";

struct Place {
  std::string all;  // where the streams of all files of the folder are kept
  std::string own;  // where those of this file are
};

Place PlaceOf(const std::string& file) {
  const size_t cut = file.rfind('/') + 1;
  std::string all = file.substr(0, cut).append(kStreamFolder);
  std::string own = all + "/" + file.substr(cut);
  return {std::move(all), std::move(own)};
}

std::vector<std::string> EntriesOf(const std::string& folder) {
  std::vector<std::string> names;
  DIR* list = opendir(folder.c_str());
  if (!list) return names;
  while (const dirent* entry = readdir(list)) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
  }
  closedir(list);
  return names;
}

DWORD MakeFolder(const std::string& path) {
  if (mkdir(path.c_str(), 0777) == 0 || errno == EEXIST) return 0;
  return ErrorFromNative(errno);
}

}  // namespace

bool IsStreamFolder(std::string_view name) { return name == kStreamFolder; }

std::string StreamPath(const std::string& file, const std::string& stream) {
  const std::string folder = PlaceOf(file).own;
  std::string path = folder + "/" + stream;
  if (NativeExists(path) || !NativeExists(folder)) return path;
  const std::string other = FindIgnoringCase(folder, stream);
  return other.empty() ? path : folder + "/" + other;
}

DWORD PrepareStream(const std::string& file) {
  struct stat status;
  if (stat(file.c_str(), &status) != 0) return ErrorFromNative(errno);
  if (!S_ISREG(status.st_mode)) return ERROR_ACCESS_DENIED;
  const Place place = PlaceOf(file);
  if (DWORD error = MakeFolder(place.all)) return error;
  return MakeFolder(place.own);
}

void ForgetEmptyStreams(const std::string& file) {
  const Place place = PlaceOf(file);
  if (rmdir(place.own.c_str()) == 0 || errno == ENOENT) rmdir(place.all.c_str());
}

DWORD EachStream(const std::string& file,
                 const std::function<DWORD(const std::string& path)>& call) {
  const std::string folder = PlaceOf(file).own;
  for (const std::string& name : EntriesOf(folder)) {
    if (DWORD error = call(folder + "/" + name)) return error;
  }
  return 0;
}

DWORD MoveStreams(const std::string& from, const std::string& to) {
  const Place source = PlaceOf(from), target = PlaceOf(to);
  if (!NativeExists(source.own)) return 0;
  DWORD error = MakeFolder(target.all);
  if (error == 0 && rename(source.own.c_str(), target.own.c_str()) != 0) {
    error = ErrorFromNative(errno);
  }
  rmdir((error == 0 ? source : target).all.c_str());
  return error;
}

void DeleteStreams(const std::string& file) {
  EachStream(file, [](const std::string& path) -> DWORD {
    unlink(path.c_str());
    return 0;
  });
  ForgetEmptyStreams(file);
}

DWORD CopyStreams(const std::string& from, const std::string& to,
                  const std::function<DWORD(const std::string&, const std::string&)>& copy) {
  const DWORD error = EachStream(from, [&](const std::string& path) -> DWORD {
    if (DWORD refusal = PrepareStream(to)) return refusal;
    return copy(path, PlaceOf(to).own + path.substr(path.rfind('/')));
  });
  if (error != 0) DeleteStreams(to);
  return error;
}

void ForgetLeftStreams(const std::string& folder) {
  const auto entries = EntriesOf(folder);
  if (entries.size() != 1 || !IsStreamFolder(entries[0])) return;
  const std::string all = folder + "/" + entries[0];
  for (const std::string& name : EntriesOf(all)) DeleteStreams(folder + "/" + name);
}

}  // namespace host
