// The server of the library's requests: DDE service "QUORVANTIS", topic "WWW_OpenURL", one execute
// per request.
//
//   std::string trouble = StartRequestServer({.accept = ...});   // "" when it answers
//   RunRequestServer();         // until StopRequestServer, from any thread
//   EndRequestServer();         // the service is gone
//
// A process has one. All but StopRequestServer belong to one thread, on which `accept` runs too.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace qvclient {

struct RequestServerOptions {
  // Takes a request over; false refuses it, and the sender learns that it was not delivered.
  // It must come back at once: the sender waits for the acknowledgement, a second at most.
  std::function<bool(const std::string& request)> accept;
  uint32_t acknowledge_after = 0;  // milliseconds
};

std::string StartRequestServer(const RequestServerOptions& options);
void RunRequestServer();
void StopRequestServer();
void EndRequestServer();

}  // namespace qvclient
