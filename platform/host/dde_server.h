// The server's half of DDE: one service, its socket and its conversations.
//
// The thread that initialised the instance reads the sockets itself, when it looks at its message
// queue; as on Windows, a program that does not is not reached. What is taken in goes into that
// queue: a connect as sent work, the rest as posted work, and the callback runs from there.
// A peer can be anything. One that says nothing is dropped after a while, one that sends garbage at
// once; a conversation is not read while its last request is being worked on, so a peer cannot
// pile up requests.
// One server has a service; others of the same name wait until it is gone.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/host/dde_instance.h"
#include "platform/host/dde_wire.h"
#include "platform/host/message_queue.h"

namespace host {

// A socket that a client has opened. The thread of the instance only.
class DdePeer {
 public:
  explicit DdePeer(Descriptor socket);

  // Sends unless the peer is gone, and lets the socket be read again.
  void Answer(const Frame& frame);
  // The peer is dropped at the next look.
  void Hang() { hung_ = true; }
  // Ends the connection while work that waits in the queue still holds the peer.
  void Shut();

 private:
  friend class DdeServer;
  Descriptor socket_;
  const uint64_t since_;
  bool busy_ = false;      // a request is with the callback
  bool has_more_ = false;  // the next request may be read already
  bool hung_ = false;
  bool greeted_ = false;  // has asked for a conversation
  FrameReader reader_;
  HCONV conversation_ = nullptr;  // once it is accepted
  std::string topic_;
};

class DdeServer : public QueueSource, public std::enable_shared_from_this<DdeServer> {
 public:
  DdeServer(const std::shared_ptr<DdeInstance>& instance, std::string service);
  DdeServer(const DdeServer&) = delete;
  DdeServer& operator=(const DdeServer&) = delete;

  void Start();
  // Any thread. Takes no new conversations from now on; with `all` the open ones end too, at the
  // latest when the thread looks at its queue.
  void Stop(bool all);

  bool Prepare(std::vector<pollfd>* entries, int* milliseconds) override;
  void Serve(std::span<const pollfd> entries) override;

 private:
  using Peer = std::shared_ptr<DdePeer>;

  bool Finished();
  void DropAll();
  void TryToOwn();
  void Accept();
  bool MakeRoom();
  void DropSilent();
  bool Keep(const Peer& peer, bool ready);
  bool Read(const Peer& peer);
  bool TakeFrames(const Peer& peer);
  bool TakeFrame(const Peer& peer, const Frame& frame);
  void Lose(const Peer& peer);

  // Work in the queue.
  void Greet(const Peer& peer, const std::string& topic);
  void Execute(const Peer& peer, uint32_t number, const std::string& data);
  void Disconnect(const Peer& peer);

  const std::weak_ptr<DdeInstance> instance_;
  const DWORD thread_;
  const std::string service_;
  std::vector<Peer> peers_;  // of the instance's thread only
  std::mutex mutex_;         // guards what follows
  bool stopped_ = false, ended_ = false;
  uint64_t next_attempt_ = 0;  // when to try again to own the service
  Descriptor lock_, listener_;
};

}  // namespace host
