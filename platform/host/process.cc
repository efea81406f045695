#include "platform/host/process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include "platform/host/calls.h"
#include "platform/host/exceptions.h"
#include "platform/host/native_errors.h"
#include "platform/host/paths.h"
#include "platform/host/service_thread.h"
#include "platform/host/text.h"
#include "platform/host/waitable.h"

extern char** environ;

namespace host {
namespace {

constexpr DWORD kFaultExitCode = EXCEPTION_ACCESS_VIOLATION;
constexpr DWORD kInterruptedExitCode = 0xC000013A;
constexpr DWORD kAbortExitCode = 3;

// What a new process is made of, in native form.
struct LaunchRequest {
  std::string file, folder;
  std::vector<std::string> arguments;  // the first is the program's name
  bool own_group = false;
};

DWORD ExitCodeOf(const siginfo_t& info) {
  if (info.si_code == CLD_EXITED) return static_cast<DWORD>(info.si_status);
  if (info.si_status == SIGABRT) return kAbortExitCode;
  bool fault = info.si_status == SIGSEGV || info.si_status == SIGBUS || info.si_status == SIGILL;
  return fault ? kFaultExitCode : kInterruptedExitCode;
}

// A child. A thread of its own starts it and waits for its end, so it never stays a zombie, and no
// other child of the program is waited for.
class Process : public Waitable {
 public:
  // Runs on the child's thread: starts the child, then waits for it.
  void Run(const LaunchRequest& request);
  // 0, or the Windows error of the start.
  DWORD WaitUntilStarted();
  DWORD ExitCode();
  void Kill(DWORD code);
  pid_t number() const { return number_; }

 private:
  bool TakeSignal() override { return ended_; }

  // All under the mutex.
  bool tried_ = false, ended_ = false, killed_ = false;
  DWORD start_error_ = 0, exit_code_ = STILL_ACTIVE;
  pid_t number_ = -1;
};

struct FirstThread : KernelObject {};

// The attributes of a child: no blocked or ignored signals, a group of its own when asked for, no
// stream of ours but the console.
class SpawnSettings {
 public:
  explicit SpawnSettings(const LaunchRequest& request) {
    posix_spawnattr_init(&attributes_);
    posix_spawn_file_actions_init(&actions_);
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    int flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    if (request.own_group) flags |= POSIX_SPAWN_SETPGROUP;
    posix_spawnattr_setflags(&attributes_, static_cast<short>(flags));
    if (!request.folder.empty()) {
      posix_spawn_file_actions_addchdir_np(&actions_, request.folder.c_str());
    }
    LeaveStreams();
    posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
  }
  ~SpawnSettings() {
    posix_spawnattr_destroy(&attributes_);
    posix_spawn_file_actions_destroy(&actions_);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  // 0, or the machine's error.
  int Spawn(const LaunchRequest& request, pid_t* child) const {
    std::vector<char*> arguments;
    for (const std::string& argument : request.arguments) {
      arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    return posix_spawn(child, request.file.c_str(), &actions_, &attributes_, arguments.data(),
                       environ);
  }

 private:
  // A child shares the console, but no pipe or file: who reads a program's output would wait for
  // the end of a client that it started.
  void LeaveStreams() {
    for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      if (isatty(stream)) continue;
      int mode = stream == STDIN_FILENO ? O_RDONLY : O_WRONLY;
      posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", mode, 0);
    }
  }

  posix_spawnattr_t attributes_;
  posix_spawn_file_actions_t actions_;
};

void Process::Run(const LaunchRequest& request) {
  pid_t child = -1;
  int error = SpawnSettings(request).Spawn(request, &child);
  {
    std::lock_guard hold(mutex_);
    tried_ = true;
    number_ = child;
    start_error_ = error == 0 ? 0 : ErrorFromNative(error);
    changed_.notify_all();
  }
  if (error != 0) return;
  // First only look, so that the number stays the child's until we hold the lock.
  siginfo_t info{};
  while (waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
  }
  std::lock_guard hold(mutex_);
  waitpid(child, nullptr, 0);
  if (!killed_) exit_code_ = ExitCodeOf(info);
  ended_ = true;
  changed_.notify_all();
}

DWORD Process::WaitUntilStarted() {
  std::unique_lock hold(mutex_);
  changed_.wait(hold, [this] { return tried_; });
  return start_error_;
}

DWORD Process::ExitCode() {
  std::lock_guard hold(mutex_);
  return ended_ ? exit_code_ : STILL_ACTIVE;
}

void Process::Kill(DWORD code) {
  std::lock_guard hold(mutex_);
  if (ended_) return;
  killed_ = true;
  exit_code_ = code;
  kill(number_, SIGKILL);
}

// One argument of a command line, by the rules of Windows programs: blanks separate, quotes hold
// together, backslashes before a quote escape.
std::string TakeArgument(std::string_view* line) {
  std::string argument;
  bool quoted = false;
  size_t at = 0;
  for (; at < line->size(); ++at) {
    char c = (*line)[at];
    if (!quoted && (c == ' ' || c == '\t')) break;
    size_t end = line->find_first_not_of('\\', at);
    size_t backslashes = std::min(end, line->size()) - at;
    bool before_quote = end < line->size() && (*line)[end] == '"';
    if (backslashes > 0 && before_quote) {
      argument.append(backslashes / 2, '\\');
      at = end - 1 + backslashes % 2;
      if (backslashes % 2) argument += '"';
    } else if (c == '"') {
      quoted = !quoted;
    } else {
      argument += c;
    }
  }
  line->remove_prefix(std::min(at, line->size()));
  line->remove_prefix(std::min(line->find_first_not_of(" \t"), line->size()));
  return argument;
}

std::vector<std::string> SplitCommandLine(LPCSTR command_line) {
  std::string text = Utf8FromAnsi(command_line ? command_line : "");
  std::string_view rest = text;
  rest.remove_prefix(std::min(rest.find_first_not_of(" \t"), rest.size()));
  std::vector<std::string> arguments;
  while (!rest.empty()) arguments.push_back(TakeArgument(&rest));
  return arguments;
}

// Whether the file can be started; tells folders and texts from programs as Windows does.
DWORD CheckProgram(const FoundName& name) {
  if (name.error != 0) return name.error;
  struct stat status;
  if (stat(name.path.c_str(), &status) != 0) return ErrorFromNative(errno);
  if (S_ISDIR(status.st_mode)) return ERROR_ACCESS_DENIED;
  bool runs = S_ISREG(status.st_mode) && (status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0;
  return runs ? 0 : ERROR_BAD_EXE_FORMAT;
}

DWORD PrepareLaunch(LPCSTR application, LPCSTR command_line, LPCSTR folder, DWORD flags,
                    LaunchRequest* request) {
  request->arguments = SplitCommandLine(command_line);
  if (!application && request->arguments.empty()) return ERROR_INVALID_PARAMETER;
  FoundName program =
      application ? FindNative(application) : FindNative(WideFromUtf8(request->arguments[0]));
  if (DWORD error = CheckProgram(program)) return error;
  request->file = program.path;
  if (request->arguments.empty()) request->arguments.push_back(program.path);
  request->own_group = (flags & CREATE_NEW_PROCESS_GROUP) != 0;
  if (!folder) return 0;
  FoundName start = FindNative(folder);
  request->folder = start.path;
  struct stat status;
  bool is_folder = start.error == 0 && stat(start.path.c_str(), &status) == 0;
  return is_folder && S_ISDIR(status.st_mode) ? 0 : ERROR_DIRECTORY;
}

// Starts the child. Null with the error when it did not start.
std::shared_ptr<Process> Launch(const LaunchRequest& request, DWORD* error) {
  auto child = std::make_shared<Process>();
  bool started = StartServiceThread([child, request] { child->Run(request); });
  *error = started ? child->WaitUntilStarted() : ERROR_NOT_ENOUGH_MEMORY;
  return *error == 0 ? child : nullptr;
}

}  // namespace
}  // namespace host

using host::Enter;
using host::Fail;

BOOL CreateProcessA(LPCSTR application, LPSTR command_line, LPSECURITY_ATTRIBUTES,
                    LPSECURITY_ATTRIBUTES, BOOL, DWORD flags, LPVOID environment, LPCSTR folder,
                    STARTUPINFOA*, PROCESS_INFORMATION* process) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  if (environment || !process) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  *process = {};
  host::LaunchRequest request;
  DWORD error = host::PrepareLaunch(application, command_line, folder, flags, &request);
  if (error != 0) return Fail(error, FALSE);
  std::shared_ptr<host::Process> child = host::Launch(request, &error);
  if (!child) return Fail(error, FALSE);
  process->dwProcessId = process->dwThreadId = static_cast<DWORD>(child->number());
  process->hProcess = host::AddHandle<HANDLE>(child);
  process->hThread = host::AddHandle<HANDLE>(std::make_shared<host::FirstThread>());
  return TRUE;
}

BOOL GetExitCodeProcess(HANDLE handle, LPDWORD code) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  auto process = host::FindHandle<host::Process>(handle);
  if (!process) return Fail(ERROR_INVALID_HANDLE, FALSE);
  *code = process->ExitCode();
  return TRUE;
}

BOOL TerminateProcess(HANDLE handle, UINT code) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  auto process = host::FindHandle<host::Process>(handle);
  if (!process) return Fail(ERROR_INVALID_HANDLE, FALSE);
  process->Kill(code);
  return TRUE;
}

DWORD GetCurrentProcessId(void) { return static_cast<DWORD>(getpid()); }
DWORD GetCurrentThreadId(void) {
  [[gnu::tls_model("initial-exec")]] static thread_local const auto id =
      static_cast<DWORD>(gettid());
  return id;
}

void ExitProcess(UINT code) {
  host::Enter(__func__);
  std::exit(static_cast<int>(code));
}
