// Every key of the settings file, each declared once: section, key, default, meaning. No other
// file holds a key's text; docs/settings.md shows this table and is tested against it.
//
//   int32_t limit = qv::ReadSetting(qv::setting::kCachedIOLimit);
#pragma once

#include <cstdint>

namespace qv {

struct SettingKey {
  enum Kind : uint8_t {
    kNumber,
    kText,
    kComputed,  // a number whose default the reader works out and passes
  };

  const char* section;
  const char* key;
  Kind kind;
  int32_t default_number;    // for kNumber
  const char* default_text;  // for kText; the longest text that a reader takes is its buffer's
  bool written;              // the library stores it too
  const char* meaning;
};

namespace setting {

inline constexpr char kConsoleSection[] = "Console", kDebugSection[] = "Debug";
inline constexpr char kInputOutputSection[] = "QVDebug", kSetupSection[] = "QVSetup";

constexpr SettingKey Number(const char* section, const char* key, int32_t default_number,
                            const char* meaning) {
  return {section, key, SettingKey::kNumber, default_number, nullptr, false, meaning};
}
constexpr SettingKey Stored(const char* section, const char* key, int32_t default_number,
                            const char* meaning) {
  return {section, key, SettingKey::kNumber, default_number, nullptr, true, meaning};
}
constexpr SettingKey Text(const char* section, const char* key, const char* default_text,
                          const char* meaning) {
  return {section, key, SettingKey::kText, 0, default_text, false, meaning};
}
constexpr SettingKey Computed(const char* section, const char* key, const char* meaning) {
  return {section, key, SettingKey::kComputed, 0, nullptr, false, meaning};
}

// --- console window ---
inline constexpr SettingKey
    kConsoleBuffer = Number(kConsoleSection, "Buffer", 250, "lines kept"),
    kConsoleWidth = Stored(kConsoleSection, "Width", 120, "columns of the window"),
    kConsoleHeight = Stored(kConsoleSection, "Height", 25, "lines of the window"),
    kConsolePosX = Stored(kConsoleSection, "PosX", 10, "left edge, pixels"),
    kConsolePosY = Stored(kConsoleSection, "PosY", 10, "upper edge, pixels"),
    kConsoleState = Stored(kConsoleSection, "State", 1, "0: hidden or minimised, 2: shown"),
    kConsoleTray =
        Stored(kConsoleSection, "Tray", 0, "1: hide into the notification area, not minimise"),
    kUISanity = Number(kDebugSection, "UISanity", 1,
                       "1: window messages give the task a new activity number"),
    kSlice = Number(kSetupSection, "Slice", 25, "milliseconds between the console's timer ticks");

// --- debug output ---
inline constexpr SettingKey kDebugFlag =
    Number(kSetupSection, "DEBUG", 0, "1 or more: the debug log and the console echo are on");

// --- memory ---
inline constexpr SettingKey
    kCheckFree = Number(kDebugSection, "CheckFree", 0, "1: signatures around plain blocks"),
    kHeapChecks = Number(kDebugSection, "HeapChecks", 1,
                         "checks of freed pointers: 1 range, 2 readable, 3 writable, 5 logged"),
    kHeapTracebacks = Computed(kDebugSection, "HeapTracebacks",
                               "1: a traceback behind each message about a handle"),
    kHeapLocks = Number(kDebugSection, "HeapLocks", 0, "1: report locks of locked handles"),
    kTrackLockers = Number(kDebugSection, "TrackLockers", 0,
                           "1: remember where handles are locked; switches HeapLocks and "
                           "HeapTracebacks on");

// --- files ---
inline constexpr SettingKey
    kCachedIOLimit =
        Number(kSetupSection, "CachedIOLimit", 128, "cached reads of a task before it yields"),
    kAsyncIOCount =
        Number(kInputOutputSection, "AsyncIOCount", 0, "1: report the file requests under way"),
    kReportMissing = Number(kSetupSection, "ReportMissing", 0, "1: path checks say what is wrong"),
    kReportFileErrors =
        Number(kDebugSection, "FSERR", 0, "level from which platform errors of files are reported"),
    kTraceFileErrors = Number(kDebugSection, "FSTB", 0, "1: a traceback behind each of them"),
    kSilentFileError = Number(kDebugSection, "FSERRNO", 0, "a platform error not to report"),
    kSkipVolumes = Text(kSetupSection, "SkipVol", "", "drive letters that are left out");

// --- tasks ---
inline constexpr SettingKey
    kTrackLimit = Computed(kSetupSection, "TrackLimit",
                           "not 0: report operations that take more microseconds"),
    kLimitIO = Number(kSetupSection, "LimitIO", 128, "blocking requests of a task before a yield"),
    kIOYield =
        Number(kSetupSection, "IOYield", 0, "1: yield after each read that the cache answers"),
    kFastCheckIO =
        Number(kSetupSection, "FastCheckIO", 1, "1: look for finished requests at every switch"),
    kTaskDiagnostics = Number(kDebugSection, "TaskDiag", 0, "1: check the stacks of tasks"),
    kHotLimit = Number(kSetupSection, "HotLimit", 100, "hot picks in a loop at least"),
    kHotLimitPerTask = Number(kSetupSection, "HotLimitPerTask", 100, "hot picks for each hot task"),
    kHotCycle = Number(kSetupSection, "HotCycle", 3, "switches between two hot picks"),
    kUseParkedTasks = Number(kSetupSection, "UseParkedTasks", 0, "1: lists for common waits"),
    kTaskTrace = Number(kDebugSection, "Tasks", 0, "trace level of the scheduler"),
    kMultiprocessorSleep =
        Number(kSetupSection, "SMPSleep", 1, "read with several processors; without effect"),
    kSleep =
        Number(kSetupSection, "Sleep", -1, "milliseconds of sleep in each loop of tasks, -1: none"),
    kIdleSleep = Number(kSetupSection, "IdleSleep", -2,
                        "milliseconds of sleep when idle, -1: none, -2: automatic"),
    kUsePerformanceCounter =
        Number(kSetupSection, "UseHPET", 0, "1: the clock follows the performance counter"),
    kLeastCounterFrequency =
        Number(kSetupSection, "HPETMinimum", 27, "slowest counter taken, in units of 100 kHz");

// --- threads ---
inline constexpr SettingKey
    kThreadTrace = Number(kDebugSection, "Threads", 0, "trace level of threads and workers"),
    kMaxWorkers = Computed(kSetupSection, "MaxWorkers", "worker threads for files"),
    kMaxDedicatedWorkers =
        Computed(kSetupSection, "MaxDedicatedWorkers", "worker threads for long requests"),
    kWorkerPriority = Number(kSetupSection, "WorkerPrio", 1, "priority level of workers"),
    kDedicatedWorkerPriority =
        Number(kSetupSection, "DedicatedWorkerPrio", 1, "priority level of dedicated workers"),
    kFibers = Number(kSetupSection, "Fibers", 1, "0: tasks on stacks of our own, not on fibers");

// --- diagnostics ---
inline constexpr SettingKey
    kTracebacks = Number(kSetupSection, "Tracebacks", 1, "0: no tracebacks"),
    kCrashDumpType = Number(kSetupSection, "CrashDumpType", 17, "what a minidump holds"),
    kExceptions = Number(kSetupSection, "Exceptions", 0,
                         "after a report: 0 end, 2 ask the user, else pass the fault on"),
    kCrashDump = Number(kSetupSection, "CrashDump", 1, "1: write a dump with each report"),
    kCrashReports =
        Number(kSetupSection, "CrashReports", 3, "reports kept, 9 at most; 0: none written"),
    kDumpGlobals = Number(kSetupSection, "DumpGlobals", 1, "1: reports show global variables"),
    kSymbolNesting = Number(kSetupSection, "SymbolNesting", 10, "levels of nested values shown"),
    kSymbolModules =
        Text(kSetupSection, "DLL",
             "NTDLL.DLL;KERNEL32.DLL;USER32.DLL;GDI32.DLL;MPR.DLL;WSOCK32.DLL;WS2_32.DLL;"
             "ADVAPI32.DLL;SHELL32.DLL;MSWSOCK.DLL;WSHTCPIP.DLL",
             "modules whose symbols are loaded"),
    kSamplerSleep = Number(kSetupSection, "SamplerSleep", 1, "milliseconds between two samples");

// All of them, in the order of the table.
inline constexpr const SettingKey* kAll[] = {&kConsoleBuffer,
                                             &kConsoleWidth,
                                             &kConsoleHeight,
                                             &kConsolePosX,
                                             &kConsolePosY,
                                             &kConsoleState,
                                             &kConsoleTray,
                                             &kUISanity,
                                             &kSlice,
                                             &kDebugFlag,
                                             &kCheckFree,
                                             &kHeapChecks,
                                             &kHeapTracebacks,
                                             &kHeapLocks,
                                             &kTrackLockers,
                                             &kCachedIOLimit,
                                             &kAsyncIOCount,
                                             &kReportMissing,
                                             &kReportFileErrors,
                                             &kTraceFileErrors,
                                             &kSilentFileError,
                                             &kSkipVolumes,
                                             &kTrackLimit,
                                             &kLimitIO,
                                             &kIOYield,
                                             &kFastCheckIO,
                                             &kTaskDiagnostics,
                                             &kHotLimit,
                                             &kHotLimitPerTask,
                                             &kHotCycle,
                                             &kUseParkedTasks,
                                             &kTaskTrace,
                                             &kMultiprocessorSleep,
                                             &kSleep,
                                             &kIdleSleep,
                                             &kUsePerformanceCounter,
                                             &kLeastCounterFrequency,
                                             &kThreadTrace,
                                             &kMaxWorkers,
                                             &kMaxDedicatedWorkers,
                                             &kWorkerPriority,
                                             &kDedicatedWorkerPriority,
                                             &kFibers,
                                             &kTracebacks,
                                             &kCrashDumpType,
                                             &kExceptions,
                                             &kCrashDump,
                                             &kCrashReports,
                                             &kDumpGlobals,
                                             &kSymbolNesting,
                                             &kSymbolModules,
                                             &kSamplerSleep};

}  // namespace setting
}  // namespace qv
