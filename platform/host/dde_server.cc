#include "platform/host/dde_server.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

#include "platform/host/calls.h"
#include "platform/host/clock.h"
#include "platform/host/dde_data.h"
#include "platform/host/message_queue.h"
#include "platform/host/service_thread.h"
#include "platform/host/text.h"

namespace host {
namespace {

constexpr uint64_t kSilentMilliseconds = 10000;
constexpr int kOwnMilliseconds = 100;  // between attempts to take over a service
constexpr int kExhaustedMilliseconds = 20;
constexpr size_t kMostPeers = 64;

// The server's end of a conversation, as the program sees it.
struct ServerConversation : DdeConversation {
  std::shared_ptr<DdePeer> peer;
  std::weak_ptr<DdeServer> server;

  void Close() override {
    peer->Hang();
    if (auto alive = server.lock()) alive->Wake();
  }
};

// A string handle for the length of a callback.
class CallbackString {
 public:
  CallbackString(const std::shared_ptr<DdeInstance>& instance, const std::string& text)
      : instance_(instance), handle_(MakeString(instance, text)) {}
  ~CallbackString() { ReleaseString(instance_, handle_); }
  CallbackString(const CallbackString&) = delete;
  CallbackString& operator=(const CallbackString&) = delete;
  HSZ handle() const { return handle_; }

 private:
  const std::shared_ptr<DdeInstance>& instance_;
  const HSZ handle_;
};

}  // namespace

DdePeer::DdePeer(Descriptor socket) : socket_(std::move(socket)), since_(RealMilliseconds()) {}

void DdePeer::Answer(const Frame& frame) {
  // Answers are short; a peer whose buffer is full of them does not read any.
  if (!SendFrame(socket_.number(), frame, 0)) Hang();
  busy_ = false;
}

void DdePeer::Shut() { shutdown(socket_.number(), SHUT_RDWR); }

DdeServer::DdeServer(const std::shared_ptr<DdeInstance>& instance, std::string service)
    : instance_(instance),
      thread_(instance->thread),
      service_(std::move(service)),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

DdeServer::~DdeServer() = default;

bool DdeServer::Start() {
  TryToOwn();
  return wake_.is_open() && StartServiceThread([self = shared_from_this()] { self->Serve(); });
}

void DdeServer::Stop(bool all) {
  std::lock_guard hold(mutex_);
  stopped_ = true;
  ended_ = ended_ || all;
  // While the lock is held, the socket of this name is ours.
  if (lock_.is_open()) RemoveServiceSocket(service_);
  lock_.Close();
  Wake();
}

void DdeServer::Wake() const {
  uint64_t one = 1;
  if (write(wake_.number(), &one, sizeof one) < 0) return;  // full: it is awake already
}

void DdeServer::TryToOwn() {
  std::lock_guard hold(mutex_);
  if (stopped_ || listener_.is_open()) return;
  if (!lock_.is_open()) lock_ = LockService(service_);
  if (lock_.is_open()) listener_ = ListenForService(service_);
}

bool DdeServer::Finished() {
  std::lock_guard hold(mutex_);
  if (stopped_) listener_.Close();
  return ended_ || (stopped_ && peers_.empty());
}

void DdeServer::Serve() {
  while (!Finished()) {
    TryToOwn();
    Poll();
    DropSilent();
  }
  for (const auto& peer : peers_) peer->Shut();
  peers_.clear();
}

int DdeServer::PollTimeout() const {
  bool any_silent =
      std::any_of(peers_.begin(), peers_.end(), [](const auto& peer) { return peer->silent(); });
  if (!listener_.is_open()) return kOwnMilliseconds;
  return any_silent ? 1000 : -1;
}

// Waits for the sockets and serves those that have something.
void DdeServer::Poll() {
  std::vector<pollfd> entries{{wake_.number(), POLLIN, 0}, {listener_.number(), POLLIN, 0}};
  for (const auto& peer : peers_) {
    entries.push_back({peer->number(), static_cast<short>(peer->Readable() ? POLLIN : 0), 0});
  }
  if (poll(entries.data(), entries.size(), PollTimeout()) < 0) return;
  uint64_t count;
  if (entries[0].revents != 0 && read(wake_.number(), &count, sizeof count) < 0) return;
  std::vector<std::shared_ptr<DdePeer>> kept;
  for (size_t i = 0; i < peers_.size(); ++i) {
    bool keep = !peers_[i]->hung() && (entries[i + 2].revents == 0 || Read(peers_[i])) &&
                TakeFrames(peers_[i]);
    if (keep) {
      kept.push_back(peers_[i]);
    } else {
      Lose(peers_[i]);
    }
  }
  peers_ = std::move(kept);
  if (entries[1].revents != 0) Accept();
}

void DdeServer::Accept() {
  Descriptor socket(accept4(listener_.number(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (!socket.is_open()) {
    // Without descriptors the peer stays in the backlog, and poll would report it at once again.
    bool exhausted = errno == EMFILE || errno == ENFILE;
    if (exhausted) std::this_thread::sleep_for(std::chrono::milliseconds(kExhaustedMilliseconds));
    return;
  }
  if (peers_.size() >= kMostPeers) {
    auto silent =
        std::find_if(peers_.begin(), peers_.end(), [](const auto& peer) { return peer->silent(); });
    if (silent == peers_.end()) return;
    peers_.erase(silent);
  }
  peers_.push_back(std::make_shared<DdePeer>(std::move(socket)));
}

void DdeServer::DropSilent() {
  uint64_t now = RealMilliseconds();
  std::erase_if(peers_, [now](const auto& peer) {
    return peer->silent() && now - peer->since() > kSilentMilliseconds;
  });
}

// False when the peer is to be dropped.
bool DdeServer::Read(const std::shared_ptr<DdePeer>& peer) {
  // A peer that left while its request is worked on; nothing more is read.
  if (peer->busy_) return false;
  char block[16384];
  ssize_t count = recv(peer->number(), block, sizeof block, MSG_DONTWAIT);
  if (count == 0) return false;
  if (count < 0) return errno == EAGAIN || errno == EINTR;
  peer->reader_.Append({block, static_cast<size_t>(count)});
  return true;
}

// What was read before the last answer counts too. False when the peer is to be dropped.
bool DdeServer::TakeFrames(const std::shared_ptr<DdePeer>& peer) {
  while (!peer->busy_) {
    std::optional<Frame> frame = peer->reader_.Next();
    if (!frame) return !peer->reader_.broken();
    if (!TakeFrame(peer, *frame)) return false;
  }
  return true;
}

// Hands a request to the callback's thread. False for one that makes no sense here.
bool DdeServer::TakeFrame(const std::shared_ptr<DdePeer>& peer, const Frame& frame) {
  auto self = shared_from_this();
  std::string_view body = frame.body;
  peer->busy_ = true;
  if (frame.kind == FrameKind::kConnect && peer->silent()) {
    size_t end = body.find('\0');
    if (end == std::string_view::npos) return false;
    if (!SameIgnoringCase(body.substr(0, end), service_)) return false;
    peer->greeted_ = true;
    std::string topic(body.substr(end + 1));
    return SendWork(thread_, [self, peer, topic] { self->Greet(peer, topic); });
  }
  if (frame.kind == FrameKind::kExecute && !peer->silent()) {
    std::optional<uint32_t> number = TakeNumber(&body);
    if (!number) return false;
    std::string data(body);
    return PostWork(thread_, [self, peer, number, data] { self->Execute(peer, *number, data); });
  }
  return false;
}

void DdeServer::Lose(const std::shared_ptr<DdePeer>& peer) {
  peer->Shut();
  if (peer->silent()) return;
  PostWork(thread_, [self = shared_from_this(), peer] { self->Disconnect(peer); });
}

void DdeServer::Greet(const std::shared_ptr<DdePeer>& peer, const std::string& topic) {
  auto instance = instance_.lock();
  bool accepted = false;
  if (instance && !topic.empty()) {
    CallbackString topic_handle(instance, topic), service_handle(instance, service_);
    accepted = topic_handle.handle() &&
               instance->callback(XTYP_CONNECT, 0, nullptr, topic_handle.handle(),
                                  service_handle.handle(), nullptr, 0, 0) != nullptr;
  }
  if (accepted) {
    auto conversation = std::make_shared<ServerConversation>();
    conversation->peer = peer;
    conversation->server = weak_from_this();
    peer->topic_ = topic;
    peer->conversation_ = AddConversation(instance, conversation);
  }
  peer->Answer({accepted ? FrameKind::kAccepted : FrameKind::kRefused, ""});
  if (!accepted) peer->Hang();
  Wake();
}

void DdeServer::Execute(const std::shared_ptr<DdePeer>& peer, uint32_t number,
                        const std::string& data) {
  auto instance = instance_.lock();
  uintptr_t flags = DDE_FNOTPROCESSED;
  if (instance && peer->conversation_) {
    auto bytes = std::make_shared<DdeData>();
    bytes->bytes = data;
    auto handle = AddHandle<HDDEDATA>(bytes);
    CallbackString topic(instance, peer->topic_);
    flags = reinterpret_cast<uintptr_t>(instance->callback(XTYP_EXECUTE, 0, peer->conversation_,
                                                           topic.handle(), nullptr, handle, 0, 0));
    RemoveObject(reinterpret_cast<uintptr_t>(handle));
  }
  peer->Answer({FrameKind::kAcknowledged,
                NumberBytes(number) + NumberBytes(static_cast<uint32_t>(flags & 0xFFFF))});
  Wake();
}

void DdeServer::Disconnect(const std::shared_ptr<DdePeer>& peer) {
  auto instance = instance_.lock();
  // A peer that was refused never had a conversation.
  if (!instance || !FindHandle<ServerConversation>(peer->conversation_)) return;
  instance->callback(XTYP_DISCONNECT, 0, peer->conversation_, nullptr, nullptr, nullptr, 0, 0);
  RemoveConversation(peer->conversation_);
}

}  // namespace host

using host::Enter;
using host::FailDde;

HDDEDATA DdeNameService(DWORD number, HSZ service, HSZ, UINT command) {
  auto instance = host::FindInstance(number);
  if (DWORD fault = Enter(__func__)) return FailDde(instance, fault, HDDEDATA{});
  std::string name = host::TextOf(service);
  if (!instance || instance->client_only || name.empty()) {
    return FailDde(instance, DMLERR_INVALIDPARAMETER, HDDEDATA{});
  }
  std::string key = host::UpperCaseUtf8(name);
  std::lock_guard hold(instance->mutex);
  auto found = instance->servers.find(key);
  if (command == DNS_UNREGISTER) {
    if (found == instance->servers.end()) return FailDde(instance, DMLERR_NO_ERROR, HDDEDATA{});
    found->second->Stop(false);
    instance->servers.erase(found);
  } else if (found == instance->servers.end()) {
    auto server = std::make_shared<host::DdeServer>(instance, name);
    if (!server->Start()) return FailDde(instance, DMLERR_SYS_ERROR, HDDEDATA{});
    instance->servers.emplace(key, server);
  }
  return reinterpret_cast<HDDEDATA>(uintptr_t{TRUE});
}
