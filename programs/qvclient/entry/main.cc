// qvclient: a stand-in for the desktop client that the mail library delivers to.
#include <atomic>
#include <cstdlib>

#include "platform/native_files.h"
#include "platform/state_folder.h"
#include "platform/windows_api.h"
#include "programs/common/command_line.h"
#include "programs/common/file_names.h"
#include "programs/common/files.h"
#include "programs/common/program_settings.h"
#include "programs/common/registry_text.h"
#include "programs/common/reporter.h"
#include "programs/qvclient/mail_queue.h"
#include "programs/qvclient/mailbox.h"
#include "programs/qvclient/registration.h"
#include "programs/qvclient/request_server.h"

namespace qvclient {
namespace {

constexpr char kFolderSetting[] = "Folder", kCountSetting[] = "Count";

constexpr char kExample[] =
    "  qvclient --folder mail --count 1\n"
    "  qvclient --register --folder mail\n"
    "The library starts a registered client without arguments; folder and count then come from\n"
    "the settings that --register wrote. Without a folder, messages go to \"mail\" in the state\n"
    "directory.";

struct Options {
  std::string folder;  // as given on the command line
  uint32_t count = 0;  // 0: no end
  uint32_t acknowledge_after = 0;
  bool keep_copies = false, quiet = false, show_request = false;
  bool do_register = false, do_unregister = false, do_make_default = false;
  std::string library;
};

void Describe(const program::CommandPart& line, Options& options) {
  line.Add("--folder", options.folder, "Where the messages go").Type("DIR");
  line.Add("--count", options.count, "End after this many requests").Type("N");
  line.AddFlag("--keep-copies", options.keep_copies, "Leave the attachment copies where they are");
  line.Add("--acknowledge-after", options.acknowledge_after,
           "Wait before each acknowledgement, as a busy client does")
      .Type("MS");
  line.AddFlag("--quiet", options.quiet, "No line for a message that was stored");
  line.AddFlag("--show-request", options.show_request, "Print each request as it came");
  const program::Option enter = line.AddFlag(
      "--register", options.do_register, "Let the library start this program when no client runs");
  const program::Option leave =
      line.AddFlag("--unregister", options.do_unregister, "Take that back");
  const program::Option make = line.AddFlag("--make-default", options.do_make_default,
                                            "Make this the user's default mail client");
  line.Add("--library", options.library, "The mail library, for --make-default").Type("PATH");
  enter.Excludes(leave).Excludes(make);
  leave.Excludes(make);
}

int Failed(const program::Reporter& reporter, const std::string& what) {
  reporter.Error(what);
  return program::kFailed;
}

// --- Registration ---

// A path that the user named, in the form of the system's calls; "" when none was named. False when
// it has no such form, which is reported.
bool NamedPath(const std::string& named, const program::Reporter& reporter, std::string* path) {
  *path = named.empty() ? "" : platform::PlatformPath(named);
  if (named.empty() || !path->empty()) return true;
  reporter.Error("the path " + named + " is not valid: choose another");
  return false;
}

int Register(const Options& options, const program::Reporter& reporter) {
  std::string folder;
  if (!NamedPath(options.folder, reporter, &folder)) return program::kFailed;
  std::string count = options.count == 0 ? "" : std::to_string(options.count);
  bool kept = program::WriteProgramSetting(kFolderSetting, folder) &&
              program::WriteProgramSetting(kCountSetting, count);
  if (!kept) return Failed(reporter, "cannot write the settings: is the disk full?");
  std::string trouble = RegisterCommand(program::ProgramPath());
  if (!trouble.empty()) return Failed(reporter, trouble);
  reporter.Line("registered: " + program::ShownPath(program::RegisteredCommand()));
  return program::kDone;
}

int Unregister(const program::Reporter& reporter) {
  std::string command = program::RegisteredCommand();
  std::string trouble = UnregisterCommand();
  if (!trouble.empty()) return Failed(reporter, trouble);
  program::WriteProgramSetting(kFolderSetting, "");
  program::WriteProgramSetting(kCountSetting, "");
  reporter.Line(command.empty() ? "nothing was registered"
                                : "no longer registered: " + program::ShownPath(command));
  return program::kDone;
}

int MakeDefaultClientNow(const Options& options, const program::Reporter& reporter) {
  std::string library;
  if (!NamedPath(options.library, reporter, &library)) return program::kFailed;
  std::string trouble = MakeDefaultClient(library);
  if (!trouble.empty()) return Failed(reporter, trouble);
  reporter.Line("Quorvantis is now the default mail client");
  return program::kDone;
}

// --- Serving ---

std::string MessageFolder(const std::string& named) {
  if (!named.empty()) return named;
  std::string folder = program::ReadProgramSetting(kFolderSetting);
  return folder.empty() ? program::Joined(platform::StateFolder(), "mail") : folder;
}

uint32_t MessageCount(const Options& options) {
  if (options.count != 0) return options.count;
  return static_cast<uint32_t>(std::atol(program::ReadProgramSetting(kCountSetting).c_str()));
}

BOOL WINAPI OnConsoleEvent(DWORD event) {
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) return FALSE;
  StopRequestServer();
  return TRUE;
}

// Requests from the first to the last: every one that was accepted is stored before the program
// ends, and no more are accepted than it is to take.
class Service {
 public:
  Service(const MailboxOptions& mailbox, uint32_t count, const program::Reporter& reporter)
      : reporter_(reporter),
        count_(count),
        mailbox_(mailbox, reporter),
        queue_([this](Delivery& delivery) { Store(delivery); }) {}

  int Run(uint32_t acknowledge_after) {
    std::string trouble = StartRequestServer(
        {[this](const std::string& request) { return Accept(request); }, acknowledge_after});
    if (trouble.empty()) {
      SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
      reporter_.Line("ready");
      RunRequestServer();
    }
    EndRequestServer();
    queue_.Finish();
    if (!trouble.empty()) {
      return Failed(reporter_, "cannot serve requests: " + trouble + "; does another client run?");
    }
    return all_well_ ? program::kDone : program::kFailed;
  }

 private:
  bool Accept(const std::string& request) {
    if (count_ != 0 && accepted_ == count_) return false;
    ++accepted_;
    queue_.Add(mailbox_.Receive(request));
    return true;
  }

  // On the queue's thread.
  void Store(Delivery& delivery) {
    if (!mailbox_.Store(delivery)) all_well_ = false;
    if (++stored_ == count_) StopRequestServer();
  }

  const program::Reporter& reporter_;
  const uint32_t count_;
  uint32_t accepted_ = 0;
  uint32_t stored_ = 0;
  std::atomic<bool> all_well_{true};
  Mailbox mailbox_;
  MailQueue queue_;  // last: its thread uses all the others
};

int Serve(const Options& options, const program::Reporter& reporter) {
  MailboxOptions mailbox;
  if (!NamedPath(options.folder, reporter, &mailbox.folder)) return program::kFailed;
  mailbox.folder = MessageFolder(mailbox.folder);
  mailbox.staging_folder = program::StagingFolder();
  mailbox.keep_copies = options.keep_copies;
  mailbox.quiet = options.quiet;
  mailbox.show_requests = options.show_request;
  DWORD error = program::MakeFolders(mailbox.folder);
  if (error == ERROR_SUCCESS) error = MessageStore(mailbox.folder).Check();
  if (error != ERROR_SUCCESS) {
    std::string shown =
        options.folder.empty() ? program::ShownPath(mailbox.folder) : options.folder;
    return Failed(reporter, "cannot store messages in " + shown + ": " + program::ErrorText(error) +
                                "; choose another folder with --folder");
  }
  return Service(mailbox, MessageCount(options), reporter).Run(options.acknowledge_after);
}

int Run(const std::vector<std::string>& arguments) {
  program::Reporter reporter("qvclient");
  const program::CommandLine line(
      "qvclient", "Receives the messages that the mail library delivers and stores them as files.",
      kExample);
  Options options;
  Describe(line.part(), options);
  if (auto end = line.Parse(arguments, reporter)) return *end;
  if (!program::UseProgramSettings()) reporter.Warn("there is no place for settings");
  if (options.do_register) return Register(options, reporter);
  if (options.do_unregister) return Unregister(reporter);
  if (options.do_make_default) return MakeDefaultClientNow(options, reporter);
  return Serve(options, reporter);
}

}  // namespace
}  // namespace qvclient

int main(int argc, char** argv) {
  platform::UseBinaryStreams();
  return qvclient::Run(platform::Utf8Arguments(argc, argv));
}
