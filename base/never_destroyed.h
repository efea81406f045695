// Process-wide state that lives from the loading of the module to its end, in static storage, and
// is not destroyed: threads and hooks may still use it while the destructors of the process run.
//
//   PrinterState& State() {
//     static constinit NeverDestroyed<PrinterState> state;
//     return state.value;
//   }
//
// For state that holds no memory of its own: a module that is unloaded would lose that. State with
// a std::mutex goes without constinit, since not every library's has a constant initial value.
#pragma once

#include <utility>

namespace qv {

template <typename T>
union NeverDestroyed {
  T value;

  template <typename... Arguments>
  constexpr explicit NeverDestroyed(Arguments&&... arguments)
      : value(std::forward<Arguments>(arguments)...) {}
  ~NeverDestroyed() {}
  NeverDestroyed(const NeverDestroyed&) = delete;
  NeverDestroyed& operator=(const NeverDestroyed&) = delete;
};

}  // namespace qv
