// Named streams of files: "letter:AFP_Resource" is a stream of the file letter.
//
// The machine's file systems have none that are large enough, so a stream is a file of its own: in
// the folder of its file, `.qvsmapi-streams/letter/AFP_Resource`. Listings do not show that folder,
// and it is there only while a file has streams. Streams go where their file goes: they are moved,
// copied and deleted with it by the calls, not by other programs of the machine; what was left of a
// file that such a program took away is deleted when a file of that name is made again.
//
// Only files have streams, folders have none. Names of streams match without regard to letter case.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/host/types.h"

namespace host {

// Whether an entry of a folder is where streams are kept.
bool IsStreamFolder(std::string_view name);

// The native path of a file's stream, whether it is there or not.
std::string StreamPath(const std::string& file, const std::string& stream);

// Makes what has to be there before the stream itself can be made. 0, or the Windows error.
DWORD PrepareStream(const std::string& file);
// After a stream was deleted, or could not be made: removes what is not needed any more.
void ForgetEmptyStreams(const std::string& file);

// Calls for each stream of a file, with its native path, while the answer is 0; returns the last
// answer.
DWORD EachStream(const std::string& file,
                 const std::function<DWORD(const std::string& path)>& call);

// The streams of a file whose name changed. 0, or the Windows error and nothing moved.
DWORD MoveStreams(const std::string& from, const std::string& to);
void DeleteStreams(const std::string& file);
// Copies one by one with `copy`; the target has no streams after an error.
DWORD CopyStreams(const std::string& from, const std::string& to,
                  const std::function<DWORD(const std::string& from, const std::string& to)>& copy);

// Removes from a folder what files that are no longer there have left, if nothing else is in it.
void ForgetLeftStreams(const std::string& folder);

}  // namespace host
