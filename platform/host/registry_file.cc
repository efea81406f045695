#include "platform/host/registry_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <utility>

#include "platform/host/native_errors.h"
#include "platform/host/native_files.h"
#include "platform/host/registry.h"
#include "platform/host/state_directory.h"
#include "platform/host/text.h"

namespace host {
namespace {

constexpr size_t kLargestFile = 64u << 20;
constexpr char kHeading[] = "; The registry of this state directory.\n";
// What a fresh system holds, as far as anything here looks at it.
constexpr char kFreshSystem[] =
    "[HKEY_CURRENT_USER\\SOFTWARE\\Microsoft\\Windows]\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes]\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows]\n"
    "[HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\Nls\\CodePage]\n"
    "\"ACP\"=1:\"1252%00\"\n";
constexpr char kProcessorKey[] =
    "[HKEY_LOCAL_MACHINE\\HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0]\n";

// What the machine says of its first processor: "cpu MHz		: 2394.454"; 0 when it does
// not.
uint32_t ProcessorMegahertz() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);) {
    if (!line.starts_with("cpu MHz")) continue;
    size_t colon = line.find(':');
    if (colon != std::string::npos) {
      return static_cast<uint32_t>(std::strtod(line.c_str() + colon + 1, nullptr));
    }
  }
  return 0;
}

std::string FreshRegistry() {
  std::string text = kFreshSystem;
  uint32_t speed = ProcessorMegahertz();
  if (speed == 0) return text;
  text += kProcessorKey;
  char value[32];
  std::snprintf(value, sizeof value, "\"~MHz\"=%d:\"%%%02X%%%02X%%%02X%%%02X\"\n", REG_DWORD,
                speed & 255, speed >> 8 & 255, speed >> 16 & 255, speed >> 24);
  return text + value;
}

void AppendEscaped(std::string& out, std::string_view text, bool escape_high) {
  constexpr char kHex[] = "0123456789ABCDEF";
  for (char c : text) {
    auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F || c == '"' || c == '%' || (escape_high && byte > 0x7F)) {
      out += '%';
      out += kHex[byte >> 4];
      out += kHex[byte & 15];
    } else {
      out += c;
    }
  }
}

// Takes escaped text up to a character that ends it, which is taken too. False when there is no
// such character or an escape is broken.
bool TakeEscaped(std::string_view* line, char end, std::string* text) {
  text->clear();
  for (size_t i = 0; i < line->size(); ++i) {
    char c = (*line)[i];
    if (c == end) {
      line->remove_prefix(i + 1);
      return true;
    }
    if (c == '%') {
      unsigned value = 0;
      std::string_view digits = line->substr(i + 1, 2);
      auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
      if (error != std::errc() || stop != digits.data() + 2) return false;
      c = static_cast<char>(value);
      i += 2;
    }
    *text += c;
  }
  return false;
}

// "name"=type:"bytes"
bool ParseValue(std::string_view line, RegistryValue* value) {
  if (line.empty() || line[0] != '"') return false;
  line.remove_prefix(1);
  if (!TakeEscaped(&line, '"', &value->name) || line.empty() || line[0] != '=') return false;
  line.remove_prefix(1);
  auto [stop, error] = std::from_chars(line.data(), line.data() + line.size(), value->type);
  if (error != std::errc()) return false;
  line.remove_prefix(static_cast<size_t>(stop - line.data()));
  if (line.substr(0, 2) != ":\"") return false;
  line.remove_prefix(2);
  return TakeEscaped(&line, '"', &value->data);
}

bool IsKeyPath(std::string_view path) {
  return !path.empty() && path.front() != '\\' && path.back() != '\\' &&
         path.find("\\\\") == std::string_view::npos;
}

std::string RegistryPath() { return StatePath("registry.txt"); }

DWORD ReadText(std::string* text) {
  DWORD error = ReadNativeFile(RegistryPath(), kLargestFile, text);
  if (error == ERROR_FILE_NOT_FOUND) {
    *text = FreshRegistry();
    return 0;
  }
  return error;
}

// The content as it was read last, and the file it was read from. The file stays open, so that
// another one cannot get its number.
struct Snapshot {
  std::mutex mutex;  // guards all below
  std::shared_ptr<const RegistryTree> tree;
  std::string path;
  Descriptor file;
  bool present = false;  // false: there was no file
  struct stat status = {};
};

Snapshot& KeptSnapshot() {
  static Snapshot& snapshot = *new Snapshot;
  return snapshot;
}

bool IsCurrent(const Snapshot& kept, const std::string& path) {
  if (kept.path != path) return false;
  struct stat now;
  if (stat(path.c_str(), &now) != 0) return !kept.present;
  // Writers replace the file; time and size tell of one that was edited by hand.
  return kept.present && now.st_ino == kept.status.st_ino && now.st_dev == kept.status.st_dev &&
         now.st_size == kept.status.st_size && now.st_mtim.tv_sec == kept.status.st_mtim.tv_sec &&
         now.st_mtim.tv_nsec == kept.status.st_mtim.tv_nsec;
}

}  // namespace

const RegistryKey* RegistryTree::Find(std::string_view path) const {
  auto found = keys_.find(UpperCaseUtf8(path));
  return found == keys_.end() ? nullptr : &found->second;
}

RegistryKey* RegistryTree::Find(std::string_view path) {
  return const_cast<RegistryKey*>(std::as_const(*this).Find(path));
}

bool RegistryTree::Create(std::string_view path) {
  if (Find(path)) return false;
  for (size_t end = path.find('\\');; end = path.find('\\', end + 1)) {
    std::string_view part = path.substr(0, end);
    keys_.try_emplace(UpperCaseUtf8(part), RegistryKey{std::string(part), {}});
    if (end == std::string_view::npos) return true;
  }
}

void RegistryTree::RemoveBelow(std::string_view path) {
  std::string prefix = UpperCaseUtf8(path) + "\\";
  auto at = keys_.lower_bound(prefix);
  while (at != keys_.end() && at->first.starts_with(prefix)) at = keys_.erase(at);
}

void RegistryTree::Remove(std::string_view path) {
  RemoveBelow(path);
  keys_.erase(UpperCaseUtf8(path));
}

void RegistryTree::ParseLine(std::string_view line, RegistryKey** current) {
  if (!line.empty() && line[0] == '[') {
    line.remove_prefix(1);
    std::string path;
    bool good = TakeEscaped(&line, ']', &path) && IsKeyPath(path);
    if (good) Create(path);
    *current = good ? Find(path) : nullptr;
    return;
  }
  RegistryValue value;
  if (*current && ParseValue(line, &value)) {
    (*current)->values.insert_or_assign(UpperCaseUtf8(value.name), value);
  }
}

void RegistryTree::Parse(std::string_view text) {
  RegistryKey* current = nullptr;
  while (!text.empty()) {
    size_t end = text.find('\n');
    ParseLine(text.substr(0, end), &current);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
}

std::string RegistryTree::Format() const {
  std::string text = kHeading;
  for (const auto& [upper, key] : keys_) {
    text += '[';
    for (char c : key.path) {
      // The bracket that ends a path must not stand in it.
      if (c == ']') {
        text += "%5D";
      } else {
        AppendEscaped(text, {&c, 1}, false);
      }
    }
    text += "]\n";
    for (const auto& [upper_name, value] : key.values) {
      text += '"';
      AppendEscaped(text, value.name, false);
      text += "\"=" + std::to_string(value.type) + ":\"";
      AppendEscaped(text, value.data, true);
      text += "\"\n";
    }
  }
  return text;
}

DWORD ReadRegistry(std::shared_ptr<const RegistryTree>* tree) {
  Snapshot& kept = KeptSnapshot();
  std::lock_guard hold(kept.mutex);
  std::string path = RegistryPath();
  if (!kept.tree || !IsCurrent(kept, path)) {
    kept.tree = nullptr;
    // Opened before it is read: a file that replaces it meanwhile is noticed at the next call.
    kept.path = path;
    kept.file = Descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    kept.present = kept.file.is_open() && fstat(kept.file.number(), &kept.status) == 0;
    std::string text;
    if (DWORD error = ReadText(&text)) return error;
    auto parsed = std::make_shared<RegistryTree>();
    parsed->Parse(text);
    kept.tree = parsed;
  }
  *tree = kept.tree;
  return 0;
}

DWORD ChangeRegistry(const std::function<DWORD(RegistryTree&)>& change) {
  Descriptor lock = LockFile(StatePath("registry.lock"));
  if (!lock.is_open()) return ErrorFromNative(errno);
  std::string text;
  if (DWORD error = ReadText(&text)) return error;
  RegistryTree tree;
  tree.Parse(text);
  if (DWORD error = change(tree)) return error;
  std::string changed = tree.Format();
  return changed == text ? 0 : ReplaceNativeFile(RegistryPath(), changed);
}

}  // namespace host
