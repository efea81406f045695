// What goes over a DDE socket: frames of a kind, a size and so many bytes.
//
//   client                     server
//   kConnect service\0topic -> kAccepted or kRefused
//   kExecute number, data   -> kAcknowledged number, flags
//
// Numbers are 32 bits, little-endian. The peer may be anything: a reader takes nothing for granted
// and never holds more than one frame of the greatest size.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/host/native_files.h"

namespace host {

enum class FrameKind : uint32_t { kConnect = 1, kAccepted, kRefused, kExecute, kAcknowledged };

struct Frame {
  FrameKind kind;
  std::string body;
};

constexpr size_t kLargestBody = size_t{16} << 20;

std::string NumberBytes(uint32_t number);
// The number at the front of a body, which is taken off; nothing when the body is too short.
std::optional<uint32_t> TakeNumber(std::string_view* body);

class FrameReader {
 public:
  void Append(std::string_view bytes) { bytes_.append(bytes); }
  // The next whole frame. Nothing when more bytes are needed, or when broken().
  std::optional<Frame> Next();
  // The peer sent what is no frame; the conversation has no future.
  bool broken() const { return broken_; }
  // Bytes that make no frame yet.
  size_t size() const { return bytes_.size(); }

 private:
  std::string bytes_;
  bool broken_ = false;
};

// Sends a frame without waiting longer than `milliseconds` (of the machine's clock) for room.
bool SendFrame(int socket, const Frame& frame, uint32_t milliseconds);

// Waits for the next frame until the deadline (RealMilliseconds). Nothing when the time is up or,
// with *gone set, when the peer has left or sends garbage.
std::optional<Frame> ReceiveFrame(int socket, FrameReader* reader, uint64_t deadline, bool* gone);

// A socket for the service of this name (UTF-8, letter case ignored), below the state directory.
// Not open when it fails.
Descriptor ListenForService(const std::string& service);
Descriptor ConnectToService(const std::string& service);
void RemoveServiceSocket(const std::string& service);
// Held by the service's one server while it lives. Not open when another holds it.
Descriptor LockService(const std::string& service);

}  // namespace host
