#include "platform/host/state_directory.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <mutex>

#include "platform/host/calls.h"
#include "platform/host/control.h"

namespace host {
namespace {

struct StateFolder {
  std::mutex mutex;
  std::string path;  // empty until it is first asked for
};

StateFolder& State() {
  static auto& state = *new StateFolder;
  return state;
}

std::string EnvironmentPath(const char* name) {
  const char* value = std::getenv(name);
  return value && *value ? value : "";
}

std::string HomeFolder() {
  if (std::string home = EnvironmentPath("HOME"); !home.empty()) return home;
  const passwd* user = getpwuid(getuid());
  return user && user->pw_dir ? user->pw_dir : "/";
}

std::string ChosenPath() {
  std::string path = EnvironmentPath("QVSMAPI_HOME");
  if (path.empty()) {
    std::string states = EnvironmentPath("XDG_STATE_HOME");
    if (states.empty() || states[0] != '/') states = HomeFolder() + "/.local/state";
    path = states + "/qvsmapi";
  }
  std::error_code error;
  std::filesystem::path absolute = std::filesystem::absolute(path, error);
  std::string result = error ? path : absolute.lexically_normal().string();
  while (result.size() > 1 && result.back() == '/') result.pop_back();
  return result;
}

// What a fresh system holds of folders.
void MakeFreshFolders(const std::string& root) {
  const std::string user = root + "/drive_c/users/" + UserName();
  for (const std::string& folder :
       {root + "/drive_c/Temp", root + "/drive_c/windows", root + "/drive_c/ProgramData",
        user + "/Documents", user + "/AppData/Roaming", user + "/AppData/Local"}) {
    MakeFolders(folder);
  }
}

}  // namespace

bool MakeFolders(const std::string& path) {
  for (size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
    // Mail passes through here: nobody else may read it.
    mkdir(path.substr(0, end).c_str(), 0700);
    if (end == std::string::npos) break;
  }
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::string UserName() {
  const passwd* user = getpwuid(getuid());
  std::string name = user && user->pw_name ? user->pw_name : "";
  for (char& c : name) {
    if (static_cast<unsigned char>(c) < ' ' ||
        std::string_view("\\/:*?\"<>|").find(c) != std::string_view::npos)
      c = '_';
  }
  return name.empty() || name[0] == '.' ? "user" : name;
}

std::string StateDirectory() {
  StateFolder& folder = State();
  std::lock_guard hold(folder.mutex);
  if (folder.path.empty()) {
    folder.path = ChosenPath();
    MakeFreshFolders(folder.path);
  }
  return folder.path;
}

std::string StatePath(const std::string& name) { return StateDirectory() + "/" + name; }

void ResetState() {
  std::string root = StateDirectory();
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(root, error)) {
    std::filesystem::remove_all(entry.path(), error);
  }
  MakeFreshFolders(root);
  ClearFaults();
  ThawTicks();
  ResetSystem();
  RemoveAddedDrives();
  TakeMessageBoxes();
  TakeDebugOutput();
}

}  // namespace host
