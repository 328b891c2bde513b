// The emulator's TCP side: one poll loop on a thread of its own serves the
// listener and every connection, sends replies when their delay is up, ends
// raw data when the line goes quiet and keeps the port shut during a reset.
#include "EmulatorServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>

#include "Log.h"

namespace {

using Clock = std::chrono::steady_clock;

void SetNonBlocking(int fd) { fcntl(fd, F_SETFL, fcntl(fd, F_GETFL, 0) | O_NONBLOCK); }

int MillisecondsUntil(Clock::time_point when, Clock::time_point now) {
  if (when <= now) return 0;
  return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(when - now).count()) + 1;
}

}  // namespace

struct EmulatorServer::Peer {
  struct Pending {
    PrinterEngine::Output output;
    Clock::time_point due;
  };
  int fd = -1;
  int id = 0;     // engine connection id
  int index = 0;  // position in transcripts_
  std::deque<Pending> queue;
  std::string out;           // bytes due and not yet written
  bool closeAfterFlush = false;
  int resetAfterFlush = -1;  // refusal time of a reset waiting for its connection to flush
  bool dead = false;
  Clock::time_point lastReceive;
};

EmulatorServer::EmulatorServer(PrinterProfile profile) : engine_(std::move(profile)) {}

EmulatorServer::~EmulatorServer() { Stop(); }

PrinterEngine& EmulatorServer::Engine() { return engine_; }

int EmulatorServer::Port() const { return port_; }

bool EmulatorServer::Refusing() const { return refusing_; }

bool EmulatorServer::SetTranscriptFile(const std::string& path) {
  std::lock_guard lock(mutex_);
  transcriptFile_.reset(std::fopen(path.c_str(), "ab"));
  return transcriptFile_ != nullptr;
}

std::vector<std::string> EmulatorServer::ConnectionTranscripts() const {
  std::lock_guard lock(mutex_);
  return transcripts_;
}

int EmulatorServer::ConnectionCount() const {
  std::lock_guard lock(mutex_);
  return static_cast<int>(transcripts_.size());
}

bool EmulatorServer::OpenListener() {
  int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  int one = 1;
  setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port_));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || listen(fd, 16) != 0) {
    close(fd);
    return false;
  }
  socklen_t length = sizeof address;
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
  port_ = ntohs(address.sin_port);
  SetNonBlocking(fd);
  listenFd_ = fd;
  return true;
}

void EmulatorServer::CloseListener() {
  if (listenFd_ >= 0) close(listenFd_);
  listenFd_ = -1;
}

bool EmulatorServer::Start(int port) {
  if (running_ || port < 0 || port > 65535) return false;
  port_ = port;
  if (!OpenListener()) return false;
  if (pipe2(wakeFd_, O_CLOEXEC | O_NONBLOCK) != 0) {
    CloseListener();
    return false;
  }
  running_ = true;
  thread_ = std::thread(&EmulatorServer::Run, this);
  return true;
}

void EmulatorServer::Stop() {
  if (!thread_.joinable()) return;
  running_ = false;
  char byte = 1;
  ssize_t ignored = write(wakeFd_[1], &byte, 1);
  (void)ignored;
  thread_.join();
  close(wakeFd_[0]);
  close(wakeFd_[1]);
  wakeFd_[0] = wakeFd_[1] = -1;
}

void EmulatorServer::WriteTranscript(int connection, const char* direction, const std::string& bytes) {
  std::lock_guard lock(mutex_);
  if (!transcriptFile_) return;
  std::string line = StringPrintf("c%d %s", connection, direction);
  if (!bytes.empty()) line += " " + EncodeEscapes(bytes);
  line += "\n";
  std::fwrite(line.data(), 1, line.size(), transcriptFile_.get());
  std::fflush(transcriptFile_.get());
}

void EmulatorServer::AcceptAll(std::vector<std::unique_ptr<Peer>>* peers) {
  for (;;) {
    int fd = accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0) return;
    auto peer = std::make_unique<Peer>();
    peer->fd = fd;
    peer->id = engine_.OpenConnection();
    peer->lastReceive = Clock::now();
    {
      std::lock_guard lock(mutex_);
      peer->index = static_cast<int>(transcripts_.size());
      transcripts_.emplace_back();
    }
    WriteTranscript(peer->id, "open", "");
    peers->push_back(std::move(peer));
  }
}

void EmulatorServer::ReadFrom(Peer* peer) {
  char buffer[65536];
  ssize_t count = read(peer->fd, buffer, sizeof buffer);
  if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
  if (count <= 0) {
    peer->dead = true;
    return;
  }
  std::string bytes(buffer, static_cast<size_t>(count));
  {
    std::lock_guard lock(mutex_);
    transcripts_[peer->index] += bytes;
  }
  WriteTranscript(peer->id, ">", bytes);
  Clock::time_point now = Clock::now();
  peer->lastReceive = now;
  for (auto& output : engine_.Feed(peer->id, bytes)) {
    // Replies leave in order: one never overtakes a delayed one before it.
    Clock::time_point due = now + std::chrono::milliseconds(output.delayMs);
    if (!peer->queue.empty()) due = std::max(due, peer->queue.back().due);
    peer->queue.push_back({std::move(output), due});
  }
}

void EmulatorServer::FlushOutput(Peer* peer) {
  while (!peer->out.empty()) {
    ssize_t sent = send(peer->fd, peer->out.data(), peer->out.size(), MSG_NOSIGNAL);
    if (sent < 0) {
      if (errno == EAGAIN || errno == EINTR) return;
      peer->dead = true;
      return;
    }
    peer->out.erase(0, static_cast<size_t>(sent));
  }
}

void EmulatorServer::Drop(Peer* peer) {
  if (peer->fd >= 0) {
    shutdown(peer->fd, SHUT_RDWR);
    close(peer->fd);
    peer->fd = -1;
    engine_.CloseConnection(peer->id);
    WriteTranscript(peer->id, "closed", "");
  }
  peer->dead = true;
}

void EmulatorServer::Reset(std::vector<std::unique_ptr<Peer>>* peers, int refuseMs) {
  // The port shuts before any connection drops, so whoever sees the drop
  // also finds new connections refused.
  if (refuseMs > 0) {
    CloseListener();
    refuseUntil_ = Clock::now() + std::chrono::milliseconds(refuseMs);
    refusing_ = true;
  }
  // A resetting printer drops every connection, not only the one that asked.
  for (auto& peer : *peers) Drop(peer.get());
}

void EmulatorServer::Run() {
  std::vector<std::unique_ptr<Peer>> peers;
  const auto rawIdle = std::chrono::milliseconds(engine_.State().rawIdleMs);

  while (running_) {
    Clock::time_point now = Clock::now();
    if (refusing_ && now >= refuseUntil_) {
      if (OpenListener()) {
        refusing_ = false;
      } else {
        refuseUntil_ = now + std::chrono::milliseconds(50);  // port still busy: try again shortly
      }
    }

    int resetMs = -1;
    for (auto& peer : peers) {
      if (peer->dead) continue;
      while (!peer->queue.empty() && peer->queue.front().due <= now && !peer->closeAfterFlush) {
        Peer::Pending pending = std::move(peer->queue.front());
        peer->queue.pop_front();
        if (!pending.output.bytes.empty()) WriteTranscript(peer->id, "<", pending.output.bytes);
        peer->out += pending.output.bytes;
        if (pending.output.closeConnection) {
          peer->closeAfterFlush = true;
          if (pending.output.refuseConnectionsMs > 0) peer->resetAfterFlush = pending.output.refuseConnectionsMs;
          peer->queue.clear();
        }
      }
      FlushOutput(peer.get());
      if (peer->closeAfterFlush && peer->out.empty()) {
        if (peer->resetAfterFlush > 0) {
          resetMs = std::max(resetMs, peer->resetAfterFlush);  // Reset drops it with the others
        } else {
          Drop(peer.get());
        }
      }
    }
    if (resetMs >= 0) Reset(&peers, resetMs);
    for (auto& peer : peers)
      if (peer->dead) Drop(peer.get());
    std::erase_if(peers, [](const std::unique_ptr<Peer>& peer) { return peer->dead; });

    // Sleep until the next thing that is due.
    int timeout = 1000;
    for (auto& peer : peers) {
      if (!peer->queue.empty()) timeout = std::min(timeout, MillisecondsUntil(peer->queue.front().due, now));
      if (engine_.InRawData(peer->id)) timeout = std::min(timeout, MillisecondsUntil(peer->lastReceive + rawIdle, now));
    }
    if (refusing_) timeout = std::min(timeout, MillisecondsUntil(refuseUntil_, now));

    std::vector<pollfd> fds;
    fds.push_back({wakeFd_[0], POLLIN, 0});
    if (listenFd_ >= 0) fds.push_back({listenFd_, POLLIN, 0});
    size_t firstPeer = fds.size();
    for (auto& peer : peers) {
      short events = peer->closeAfterFlush ? 0 : POLLIN;
      if (!peer->out.empty()) events |= POLLOUT;
      fds.push_back({peer->fd, events, 0});
    }
    int ready = poll(fds.data(), fds.size(), timeout);
    if (ready < 0) {
      if (errno == EINTR) continue;
      VktLog("vkt-emulator: poll failed: %s", strerror(errno));
      break;
    }
    if (fds[0].revents & POLLIN) {
      char drain[64];
      while (read(wakeFd_[0], drain, sizeof drain) > 0) {
      }
    }
    if (listenFd_ >= 0 && firstPeer == 2 && (fds[1].revents & POLLIN)) AcceptAll(&peers);
    Clock::time_point after = Clock::now();
    for (size_t i = firstPeer; i < fds.size(); ++i) {
      Peer* peer = peers[i - firstPeer].get();
      if (fds[i].revents & (POLLIN | POLLHUP | POLLERR)) {
        ReadFrom(peer);
      } else if (after - peer->lastReceive >= rawIdle && engine_.InRawData(peer->id)) {
        // Quiet only when poll found nothing to read: a slow loop never cuts data in two.
        engine_.EndRawData(peer->id);
      }
      if (!peer->dead && (fds[i].revents & POLLOUT)) FlushOutput(peer);
    }
  }

  for (auto& peer : peers) Drop(peer.get());
  CloseListener();
  refusing_ = false;
}
