#include "platform/host/dde_server.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

#include "platform/host/calls.h"
#include "platform/host/clock.h"
#include "platform/host/dde_data.h"
#include "platform/host/process.h"
#include "platform/host/text.h"

namespace host {
namespace {

constexpr uint64_t kSilentMilliseconds = 10000;
constexpr int kOwnMilliseconds = 100;       // between attempts to take over a service
constexpr int kSilenceMilliseconds = 1000;  // between looks at peers that say nothing
constexpr int kExhaustedMilliseconds = 20;
constexpr size_t kMostPeers = 64;

// The server's end of a conversation, as the program sees it.
struct ServerConversation : DdeConversation {
  std::shared_ptr<DdePeer> peer;

  void Close() override { peer->Hang(); }
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
  has_more_ = reader_.size() > 0;
}

void DdePeer::Shut() { shutdown(socket_.number(), SHUT_RDWR); }

DdeServer::DdeServer(const std::shared_ptr<DdeInstance>& instance, std::string service)
    : instance_(instance), thread_(instance->thread), service_(std::move(service)) {}

void DdeServer::Start() {
  TryToOwn();
  AddQueueSource(thread_, shared_from_this());
}

void DdeServer::Stop(bool all) {
  if (all && GetCurrentThreadId() == thread_) DropAll();
  {
    std::lock_guard hold(mutex_);
    stopped_ = true;
    ended_ = ended_ || all;
    // While the lock is held, the socket of this name is ours.
    if (lock_.is_open()) RemoveServiceSocket(service_);
    lock_.Close();
    listener_.Close();
  }
  WakeQueue(thread_);
}

void DdeServer::DropAll() {
  for (const Peer& peer : peers_) peer->Shut();
  peers_.clear();
}

void DdeServer::TryToOwn() {
  std::lock_guard hold(mutex_);
  const uint64_t now = RealMilliseconds();
  if (stopped_ || listener_.is_open() || now < next_attempt_) return;
  next_attempt_ = now + kOwnMilliseconds;
  if (!lock_.is_open()) lock_ = LockService(service_);
  if (lock_.is_open()) listener_ = ListenForService(service_);
}

bool DdeServer::Finished() {
  std::lock_guard hold(mutex_);
  return ended_ || (stopped_ && peers_.empty());
}

bool DdeServer::Prepare(std::vector<pollfd>* entries, int* milliseconds) {
  if (Finished()) {
    DropAll();
    return false;
  }
  TryToOwn();
  DropSilent();
  std::lock_guard hold(mutex_);
  bool any_silent = false, any_more = false;
  entries->push_back({listener_.number(), POLLIN, 0});
  for (const Peer& peer : peers_) {
    const bool readable = !peer->busy_ && !peer->hung_;
    entries->push_back({peer->socket_.number(), static_cast<short>(readable ? POLLIN : 0), 0});
    any_silent = any_silent || !peer->greeted_;
    any_more = any_more || peer->has_more_ || peer->hung_;
  }
  int limit = *milliseconds;
  if (any_silent) limit = kSilenceMilliseconds;
  if (!stopped_ && !listener_.is_open()) limit = kOwnMilliseconds;
  if (any_more) limit = 0;
  if (*milliseconds < 0 || limit < *milliseconds) *milliseconds = limit;
  return true;
}

// The peers are those of Prepare: only work from the queue, which runs later, could change them.
void DdeServer::Serve(std::span<const pollfd> entries) {
  std::vector<Peer> kept;
  for (size_t i = 0; i < peers_.size(); ++i) {
    if (Keep(peers_[i], entries[i + 1].revents != 0)) {
      kept.push_back(peers_[i]);
    } else {
      Lose(peers_[i]);
    }
  }
  peers_ = std::move(kept);
  if (entries[0].revents != 0) Accept();
}

// False when the peer is to be dropped.
bool DdeServer::Keep(const Peer& peer, bool ready) {
  return !peer->hung_ && (!ready || Read(peer)) && TakeFrames(peer);
}

void DdeServer::Accept() {
  Descriptor socket;
  {
    std::lock_guard hold(mutex_);
    if (!listener_.is_open()) return;
    socket =
        Descriptor(accept4(listener_.number(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  }
  if (!socket.is_open()) {
    // Without descriptors the peer stays in the backlog, and poll would report it at once again.
    bool exhausted = errno == EMFILE || errno == ENFILE;
    if (exhausted) std::this_thread::sleep_for(std::chrono::milliseconds(kExhaustedMilliseconds));
    return;
  }
  if (!MakeRoom()) return;
  auto peer = std::make_shared<DdePeer>(std::move(socket));
  // Its greeting is most often there already.
  if (Keep(peer, true)) peers_.push_back(peer);
}

// In favour of a new peer one goes that has said nothing. False when all have.
bool DdeServer::MakeRoom() {
  if (peers_.size() < kMostPeers) return true;
  auto silent =
      std::find_if(peers_.begin(), peers_.end(), [](const Peer& peer) { return !peer->greeted_; });
  if (silent == peers_.end()) return false;
  peers_.erase(silent);
  return true;
}

void DdeServer::DropSilent() {
  uint64_t now = RealMilliseconds();
  std::erase_if(peers_, [now](const Peer& peer) {
    return !peer->greeted_ && now - peer->since_ > kSilentMilliseconds;
  });
}

// False when the peer is to be dropped.
bool DdeServer::Read(const Peer& peer) {
  // A peer that left while its request is worked on; nothing more is read.
  if (peer->busy_) return false;
  char block[32768];
  for (;;) {
    const ssize_t count = recv(peer->socket_.number(), block, sizeof block, MSG_DONTWAIT);
    if (count == 0) return false;
    if (count < 0) return errno == EAGAIN || errno == EINTR;
    peer->reader_.Append({block, static_cast<size_t>(count)});
    // The rest of a short read is not there yet; one frame at a time of what never ends.
    if (static_cast<size_t>(count) < sizeof block || peer->reader_.size() > kLargestBody)
      return true;
  }
}

// What was read before the last answer counts too. False when the peer is to be dropped.
bool DdeServer::TakeFrames(const Peer& peer) {
  peer->has_more_ = false;
  while (!peer->busy_) {
    std::optional<Frame> frame = peer->reader_.Next();
    if (!frame) return !peer->reader_.broken();
    if (!TakeFrame(peer, *frame)) return false;
  }
  return true;
}

// Hands a request to the callback's thread. False for one that makes no sense here.
bool DdeServer::TakeFrame(const Peer& peer, const Frame& frame) {
  auto self = shared_from_this();
  std::string_view body = frame.body;
  peer->busy_ = true;
  if (frame.kind == FrameKind::kConnect && !peer->greeted_) {
    size_t end = body.find('\0');
    if (end == std::string_view::npos) return false;
    if (!SameIgnoringCase(body.substr(0, end), service_)) return false;
    peer->greeted_ = true;
    std::string topic(body.substr(end + 1));
    return SendWork(thread_, [self, peer, topic] { self->Greet(peer, topic); });
  }
  if (frame.kind == FrameKind::kExecute && peer->greeted_) {
    std::optional<uint32_t> number = TakeNumber(&body);
    if (!number) return false;
    std::string data(body);
    return PostWork(thread_, [self, peer, number, data] { self->Execute(peer, *number, data); });
  }
  return false;
}

void DdeServer::Lose(const Peer& peer) {
  peer->Shut();
  if (!peer->greeted_) return;
  PostWork(thread_, [self = shared_from_this(), peer] { self->Disconnect(peer); });
}

void DdeServer::Greet(const Peer& peer, const std::string& topic) {
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
    peer->topic_ = topic;
    peer->conversation_ = AddConversation(instance, conversation);
  }
  peer->Answer({accepted ? FrameKind::kAccepted : FrameKind::kRefused, ""});
  if (!accepted) peer->Hang();
}

void DdeServer::Execute(const Peer& peer, uint32_t number, const std::string& data) {
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
}

void DdeServer::Disconnect(const Peer& peer) {
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
    server->Start();
    instance->servers.emplace(key, server);
  }
  return reinterpret_cast<HDDEDATA>(uintptr_t{TRUE});
}
