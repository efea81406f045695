// Threads of the stand-in itself.
#pragma once

#include <functional>

namespace host {

// Starts a detached thread that no signal of the process reaches. False when there is none to be
// had. What it uses must live as long as the process, or be owned by the function.
bool StartServiceThread(std::function<void()> body);

}  // namespace host
