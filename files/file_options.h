// What holds for all file objects of the process: how files are opened, whether workers are used,
// and how many files are open.
//
//   ZRFileIOInit();                        // once, when the program starts
//   ZRStartFileWorkers(true, true);        // when the kernel runs
//   ZRFileIOOptions options = {.overlapped = 0, .write_through = 1};
//   ZRSetFileIOOptions(&options);
//   ...
//   ZRFileIOEnd();                         // when the last file is closed
//
// Threads: any; a change holds for the calls that begin after it. Defaults before ZRFileIOInit are
// those that it sets.
#pragma once

#include <cstdint>

struct ZRFileIOOptions {
  uint16_t overlapped = 0;  // not 0: files that a worker opens may have several transfers at once
  uint16_t write_through = 0;  // not 0: writes reach the disk before they are done
};

// Keeps the system from showing boxes of its own when a disk is not ready, clears both options, and
// reads "ReportMissing" anew.
void ZRFileIOInit();

// Null clears both.
void ZRSetFileIOOptions(const ZRFileIOOptions* options);
void ZRGetFileIOOptions(ZRFileIOOptions* options);

// Starts the worker threads, once in the process, where the system has threads and both arguments
// are true; then decides whether new file objects hand their requests to workers: they do when
// workers run. Until it is called they do too, and requests run on the caller. Later calls do
// nothing.
void ZRStartFileWorkers(bool may_use_workers, bool may_use_threads);

// The end: finishes what workers have begun and stops them (ZRWorkersStop, which takes a second
// where workers ran), and gives back the memory of the file cache and what was taken out of the
// system's libraries. What is done with files afterwards is done on the caller.
void ZRFileIOEnd();

namespace qv {

// Whether path checks say what is wrong.
bool ReportsMissing();

// What a new file object takes.
bool FileWorkersByDefault();

// How many files are open through file objects, after the change.
uint32_t ChangeOpenFiles(int32_t by);

// Calls that write, among them those of no bytes, and the bytes that were asked for.
struct FileWriteCounts {
  uint64_t calls = 0, empty = 0, bytes = 0;
};
void CountWrite(uint32_t bytes);
FileWriteCounts GetFileWriteCounts();

// Everything as in a new process. No file may be open.
void ResetFileOptionsForTest();

}  // namespace qv
