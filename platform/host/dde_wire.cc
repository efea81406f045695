#include "platform/host/dde_wire.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/host/clock.h"
#include "platform/host/state_directory.h"
#include "platform/host/text.h"

namespace host {
namespace {

constexpr size_t kHeaderSize = 8;
constexpr int kBacklog = 64;

// Waits until the socket is ready for `events`; false when the deadline passes first.
bool WaitFor(int socket, short events, uint64_t deadline) {
  for (;;) {
    uint64_t now = RealMilliseconds();
    int left = now >= deadline ? 0 : static_cast<int>(std::min<uint64_t>(deadline - now, 60000));
    pollfd entry{socket, events, 0};
    int ready = poll(&entry, 1, left);
    if (ready > 0) return true;
    if (ready == 0 && RealMilliseconds() >= deadline) return false;
    if (ready < 0 && errno != EINTR) return false;
  }
}

// Short, and free of characters that a file name cannot have, whatever the service is called.
std::string FileNameOf(const std::string& service) {
  uint64_t hash = 0xCBF29CE484222325;  // FNV-1a
  for (char c : UpperCaseUtf8(service)) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  }
  char name[20];
  std::snprintf(name, sizeof name, "%016llx", static_cast<unsigned long long>(hash));
  return name;
}

std::string SocketFolder() { return StatePath("dde"); }

// The address of a service's socket. An address holds only a short path: a longer one goes through
// the descriptor of the folder, so that the state directory may lie as deep as it likes.
class ServiceAddress {
 public:
  explicit ServiceAddress(const std::string& service) {
    std::string folder = SocketFolder();
    const std::string file = "/" + FileNameOf(service) + ".sock";
    if (folder.size() + file.size() >= sizeof address_.sun_path) {
      folder_ = Descriptor(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
      folder = "/proc/self/fd/" + std::to_string(folder_.number());
    }
    address_.sun_family = AF_UNIX;
    (folder + file).copy(address_.sun_path, sizeof address_.sun_path - 1);
  }
  const sockaddr* pointer() const { return reinterpret_cast<const sockaddr*>(&address_); }
  socklen_t size() const { return sizeof address_; }

 private:
  Descriptor folder_;
  sockaddr_un address_{};
};

Descriptor NewSocket() {
  return Descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

}  // namespace

std::string NumberBytes(uint32_t number) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(number >> shift & 0xFF);
  return bytes;
}

std::optional<uint32_t> TakeNumber(std::string_view* body) {
  if (body->size() < 4) return std::nullopt;
  uint32_t number = 0;
  for (size_t i = 4; i-- > 0;) number = number << 8 | static_cast<unsigned char>((*body)[i]);
  body->remove_prefix(4);
  return number;
}

std::optional<Frame> FrameReader::Next() {
  if (broken_ || bytes_.size() < kHeaderSize) return std::nullopt;
  std::string_view rest = bytes_;
  uint32_t kind = *TakeNumber(&rest), size = *TakeNumber(&rest);
  bool known = kind >= static_cast<uint32_t>(FrameKind::kConnect) &&
               kind <= static_cast<uint32_t>(FrameKind::kAcknowledged);
  if (!known || size > kLargestBody) {
    broken_ = true;
    bytes_.clear();
    return std::nullopt;
  }
  if (rest.size() < size) return std::nullopt;
  Frame frame{static_cast<FrameKind>(kind), std::string(rest.substr(0, size))};
  bytes_.erase(0, kHeaderSize + size);
  return frame;
}

bool SendFrame(int socket, const Frame& frame, uint32_t milliseconds) {
  uint64_t deadline = RealMilliseconds() + milliseconds;
  std::string bytes = NumberBytes(static_cast<uint32_t>(frame.kind)) +
                      NumberBytes(static_cast<uint32_t>(frame.body.size())) + frame.body;
  std::string_view rest = bytes;
  while (!rest.empty()) {
    ssize_t done = send(socket, rest.data(), rest.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (done > 0) {
      rest.remove_prefix(static_cast<size_t>(done));
    } else if (errno == EAGAIN) {
      if (milliseconds == 0 || !WaitFor(socket, POLLOUT, deadline)) return false;
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

std::optional<Frame> ReceiveFrame(int socket, FrameReader* reader, uint64_t deadline, bool* gone) {
  *gone = false;
  char block[4096];
  for (;;) {
    if (std::optional<Frame> frame = reader->Next()) return frame;
    if (reader->broken()) break;
    if (!WaitFor(socket, POLLIN, deadline)) return std::nullopt;
    ssize_t count = recv(socket, block, sizeof block, MSG_DONTWAIT);
    if (count > 0) {
      reader->Append({block, static_cast<size_t>(count)});
    } else if (count == 0 || (errno != EINTR && errno != EAGAIN)) {
      break;
    }
  }
  *gone = true;
  return std::nullopt;
}

Descriptor ListenForService(const std::string& service) {
  RemoveServiceSocket(service);
  ServiceAddress address(service);
  Descriptor listener = NewSocket();
  if (!listener.is_open() || bind(listener.number(), address.pointer(), address.size()) != 0 ||
      listen(listener.number(), kBacklog) != 0) {
    return Descriptor();
  }
  return listener;
}

Descriptor ConnectToService(const std::string& service) {
  ServiceAddress address(service);
  Descriptor client = NewSocket();
  if (client.is_open() && connect(client.number(), address.pointer(), address.size()) != 0) {
    client.Close();
  }
  return client;
}

void RemoveServiceSocket(const std::string& service) {
  unlink((SocketFolder() + "/" + FileNameOf(service) + ".sock").c_str());
}

Descriptor LockService(const std::string& service) {
  MakeFolders(SocketFolder());
  return LockFile(SocketFolder() + "/" + FileNameOf(service) + ".lock", false);
}

}  // namespace host
