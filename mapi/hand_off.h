// Delivers the finished MailRequest to the desktop client over DDE, starting the client when it
// does not run.
//
// Each failing step leaves one line in the system's debugger output, with the step and its error
// number and never any of the message; the failures of the retry loop are summed into one line.
// Blocks the caller for up to ten seconds and the last attempt. One send at a time.
#pragma once

namespace qv {

// A DDE conversation is offered again for this long after the client was started.
constexpr unsigned kRetryMilliseconds = 10000;
// The client has this long to acknowledge; one that does not is taken to have the request.
// (The platform reports that as DMLERR_DATAACKTIMEOUT or, for an execute, DMLERR_EXECACKTIMEOUT.)
constexpr unsigned kAcknowledgeMilliseconds = 1000;

}  // namespace qv

// Appends "&" to the request and offers it; when no client takes it, starts the client and
// offers it again until it is accepted or the time is up. True when a client has the request.
bool DeliverMailRequest();

// One complete conversation: service "QUORVANTIS", topic "WWW_OpenURL", one execute.
bool SendRequestOverDde(const char* request);

// Starts the client from the command registered under HKEY_CLASSES_ROOT\qvp\shell\open\command,
// which must be the bare path of its executable (double quotes are taken off). True when the
// process was created; it is not tracked.
bool LaunchMailClient();
