#include "programs/qvsend/diagnosis.h"

#include <algorithm>

#include "programs/common/file_names.h"
#include "programs/common/files.h"
#include "programs/common/registry_text.h"
#include "programs/common/text.h"

namespace qvsend {
namespace {

// The library copies each file into the staging folder and leaves the copies there when the send
// fails, so a copy that is missing or short is what went wrong.
std::string FileNotCopied(const Letter& letter, const Outgoing& outgoing, uint32_t code_page) {
  std::string folder = program::StagingFolder();
  for (size_t i = 0; i < outgoing.files.size(); ++i) {
    const std::string& bytes = outgoing.files[i].name;
    std::string name = program::FromCodePage(bytes, code_page).value_or(bytes);
    uint64_t size = 0;
    DWORD error = program::FileSize(program::Joined(folder, name), &size);
    if (error == ERROR_SUCCESS && size == letter.files[i].size) continue;
    return "cannot copy " + letter.files[i].shown + " into " + program::ShownPath(folder) +
           ": make room there, and see that files can be written";
  }
  return "";
}

}  // namespace

std::string WhyNotSent(const Letter& letter, const Outgoing& outgoing, uint32_t code_page) {
  std::string file = FileNotCopied(letter, outgoing, code_page);
  if (!file.empty()) return file;
  std::string command = program::RegisteredCommand();
  if (command.empty()) {
    return "no client took the message and none is registered: start qvclient, or register it with "
           "qvclient --register";
  }
  command.erase(std::remove(command.begin(), command.end(), '"'), command.end());
  if (!program::IsThere(command)) {
    return "no client took the message and the registered one is not there: " +
           program::ShownPath(command) + "; register it again with qvclient --register";
  }
  return "the client did not take the message: " + program::ShownPath(command) +
         "; see why it does not start or refuses, then send again";
}

}  // namespace qvsend
