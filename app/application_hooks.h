// Lets the layers below the application layer read settings and write debug output.
#pragma once

namespace qv {

// Puts this layer's functions into the hooks: debug text, debugger text, the clock's settings. At
// start-up, before a second thread runs.
void InstallApplicationHooks();

}  // namespace qv
