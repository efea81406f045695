// A call of the system that not every system has: looked up on its first use, in the first of two
// libraries that is there.
//
//   using Function = BOOL(WINAPI*)(LPCSTR);
//   SystemCall<Function> call;
//   if (Function f = call.Get("ThisCallA", "KERNEL32.DLL")) f(path);
//
// Threads: any.
#pragma once

#include <mutex>

#include "platform/windows_api.h"

namespace qv {

template <typename Function>
class SystemCall {
 public:
  // Null where the system has none. Later calls give what the first one found.
  Function Get(const char* name, const char* library, const char* other_library = nullptr) {
    std::lock_guard hold(mutex_);
    if (!looked_up_) LookUp(name, library, other_library);
    return function_;
  }

  // Gives the library back; the next use looks the call up anew.
  void Release() {
    std::lock_guard hold(mutex_);
    if (library_ != nullptr) FreeLibrary(library_);
    looked_up_ = false;
    library_ = nullptr;
    function_ = nullptr;
  }

 private:
  void LookUp(const char* name, const char* library, const char* other_library) {
    looked_up_ = true;
    library_ = LoadLibraryA(library);
    if (library_ == nullptr && other_library != nullptr) library_ = LoadLibraryA(other_library);
    if (library_ == nullptr) return;
    const FARPROC found = GetProcAddress(library_, name);
    function_ = reinterpret_cast<Function>(reinterpret_cast<void*>(found));
  }

  std::mutex mutex_;  // around the rest
  bool looked_up_ = false;
  HMODULE library_ = nullptr;
  Function function_ = nullptr;
};

}  // namespace qv
