#include "programs/qvsend/diagnosis.h"

#include <algorithm>

#include "programs/common/file_names.h"
#include "programs/common/files.h"
#include "programs/common/registry_text.h"
#include "programs/qvsend/client_probe.h"
#include "programs/qvsend/copies_ahead.h"

namespace qvsend {
namespace {

// The library copies each file into the staging folder and leaves the copies there when the send
// fails, so a copy that is missing or short is what went wrong. A file may change meanwhile: a copy
// of its size before or after is whole.
std::string FileNotCopied(const Letter& letter, const Outgoing& outgoing, uint32_t code_page) {
  for (size_t i = 0; i < outgoing.files.size(); ++i) {
    const AttachmentFile& file = letter.files[i];
    uint64_t size = 0, copied = 0;
    DWORD error = program::FileSize(file.path, &size);
    if (error != ERROR_SUCCESS) {
      return "cannot read the attachment " + file.shown + " any more: " + program::ErrorText(error);
    }
    error = program::FileSize(CopyPath(outgoing.files[i], code_page), &copied);
    if (error == ERROR_SUCCESS && copied >= std::min(size, file.size)) continue;
    return CannotCopy(file, MakeCopy(outgoing.files[i], code_page));
  }
  return "";
}

// The command without its quotes, as the library starts it, begins with a program's path.
bool HasArguments(const std::string& command) {
  for (size_t at = command.find(' '); at != std::string::npos; at = command.find(' ', at + 1)) {
    if (program::IsOrdinaryFile(command.substr(0, at))) return true;
  }
  return false;
}

std::string CommandTrouble(const std::string& command) {
  if (command.empty()) {
    return "none is registered: start qvclient, or register it with qvclient --register";
  }
  std::string shown = program::ShownPath(command);
  if (program::IsOrdinaryFile(command)) {
    return "the registered one does not start or does not answer: " + shown +
           "; start it by hand to see why";
  }
  std::string remedy = "; register it again with qvclient --register";
  if (HasArguments(command)) {
    return "the registered one cannot be started with arguments: " + shown + remedy;
  }
  return "the registered one is not there: " + shown + remedy;
}

}  // namespace

std::string WhyNotSent(const Letter& letter, const Outgoing& outgoing, uint32_t code_page) {
  std::string file = FileNotCopied(letter, outgoing, code_page);
  if (!file.empty()) return file;
  if (ClientAnswers()) {
    return "the running client refused the message: see what it reports, then send again";
  }
  std::string command = program::RegisteredCommand();
  command.erase(std::remove(command.begin(), command.end(), '"'), command.end());
  return "no client took the message and " + CommandTrouble(command);
}

}  // namespace qvsend
