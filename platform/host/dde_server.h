// The server's half of DDE: one service, its socket and its conversations.
//
// A thread of the stand-in reads the sockets. What it takes in goes to the thread that initialised
// the instance: a connect as sent work, the rest as posted work, and the callback runs there.
// A peer can be anything. One that says nothing is dropped after a while, one that sends garbage at
// once; a conversation is not read while its last request is being worked on, so a peer cannot
// pile up requests.
// One server has a service; others of the same name wait until it is gone.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/host/dde_instance.h"
#include "platform/host/dde_wire.h"

namespace host {

// A socket that a client has opened.
class DdePeer {
 public:
  explicit DdePeer(Descriptor socket);

  // Sends unless the peer is gone, and lets the socket be read again.
  void Answer(const Frame& frame);
  // Called from the callback's thread: the reading thread then drops the peer.
  void Hang() { hung_ = true; }

  // For the reading thread.
  int number() const { return socket_.number(); }
  bool Readable() const { return !busy_ && !hung_; }
  bool hung() const { return hung_; }
  // Ends the connection while work that waits in the queue still holds the peer.
  void Shut();
  bool silent() const { return !greeted_; }
  uint64_t since() const { return since_; }

 private:
  friend class DdeServer;
  Descriptor socket_;
  const uint64_t since_;
  std::atomic<bool> busy_{false};  // a request is with the callback
  std::atomic<bool> hung_{false};
  // Reading thread only.
  bool greeted_ = false;  // has asked for a conversation
  FrameReader reader_;
  // Callback's thread only: the conversation once it is accepted, and its topic.
  HCONV conversation_ = nullptr;
  std::string topic_;
};

class DdeServer : public std::enable_shared_from_this<DdeServer> {
 public:
  DdeServer(const std::shared_ptr<DdeInstance>& instance, std::string service);
  ~DdeServer();
  DdeServer(const DdeServer&) = delete;
  DdeServer& operator=(const DdeServer&) = delete;

  // False when there is no thread to be had.
  bool Start();
  // Takes no new conversations from now on; with `all` the open ones end too.
  void Stop(bool all);
  void Wake() const;

 private:
  // The reading thread's.
  void Serve();
  bool Finished();
  void TryToOwn();
  int PollTimeout() const;
  void Poll();
  void Accept();
  void DropSilent();
  bool Read(const std::shared_ptr<DdePeer>& peer);
  bool TakeFrames(const std::shared_ptr<DdePeer>& peer);
  bool TakeFrame(const std::shared_ptr<DdePeer>& peer, const Frame& frame);
  void Lose(const std::shared_ptr<DdePeer>& peer);

  // The callback's thread's.
  void Greet(const std::shared_ptr<DdePeer>& peer, const std::string& topic);
  void Execute(const std::shared_ptr<DdePeer>& peer, uint32_t number, const std::string& data);
  void Disconnect(const std::shared_ptr<DdePeer>& peer);

  const std::weak_ptr<DdeInstance> instance_;
  const DWORD thread_;
  const std::string service_;
  const Descriptor wake_;
  std::mutex mutex_;  // guards the four below
  bool stopped_ = false, ended_ = false;
  Descriptor lock_, listener_;
  std::vector<std::shared_ptr<DdePeer>> peers_;  // reading thread only
};

}  // namespace host
