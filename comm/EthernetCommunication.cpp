// TCP transport to the printer's raw port and the SNMP availability probe.
#include "EthernetCommunication.h"

#include <arpa/inet.h>
#include <cups/cups.h>
#include <cups/http.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "Log.h"
#include "Waits.h"

namespace {

constexpr int kDefaultPrinterPort = 9100;
// The longest a send may wait for the printer to take bytes.
constexpr time_t kSendWaitSeconds = 30;

struct AddrListDeleter {
  void operator()(http_addrlist_t* list) const { httpAddrFreeList(list); }
};
using AddrListPtr = std::unique_ptr<http_addrlist_t, AddrListDeleter>;

// Closes a descriptor on scope exit.
class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : fd_(fd) {}
  ~FileDescriptor() {
    if (fd_ >= 0) close(fd_);
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

// SNMPv1 GetRequest, community "snmprd", request id 0x1DAA, sysDescr.0.
constexpr unsigned char kSysDescrRequest[41] = {
    0x30, 0x27,                                            // SEQUENCE, 39
    0x02, 0x01, 0x00,                                      // version 0
    0x04, 0x06, 's', 'n', 'm', 'p', 'r', 'd',              // community
    0xA0, 0x1A,                                            // GetRequest-PDU, 26
    0x02, 0x02, 0x1D, 0xAA,                                // request id
    0x02, 0x01, 0x00,                                      // error status
    0x02, 0x01, 0x00,                                      // error index
    0x30, 0x0E,                                            // variable bindings
    0x30, 0x0C,                                            // one binding
    0x06, 0x08, 0x2B, 0x06, 0x01, 0x02, 0x01, 0x01, 0x01, 0x00,  // 1.3.6.1.2.1.1.1.0
    0x05, 0x00,                                            // NULL
};
constexpr int kProbeBufferSize = 4096;

}  // namespace

EthernetCommunication::EthernetCommunication(const std::string& deviceUri, std::chrono::milliseconds readWait)
    : deviceUri_(deviceUri), readWait_(readWait) {
  GetPrinterHandle();
  if (socket_ > 0) FlushPrinterEndPoint();
}

EthernetCommunication::~EthernetCommunication() { ClosePrinterHandle(); }

int EthernetCommunication::GetPrinterHandle() {
  // A second connect on an open transport would otherwise leak the socket.
  ClosePrinterHandle();
  char scheme[255] = {};
  char user[255] = {};
  char host[1024] = {};
  char resource[1024] = {};
  int port = 0;
  httpSeparateURI(HTTP_URI_CODING_ALL, deviceUri_.c_str(), scheme, sizeof scheme, user, sizeof user, host,
                  sizeof host, &port, resource, sizeof resource);
  if (port == 0) port = kDefaultPrinterPort;
  char service[16];
  std::snprintf(service, sizeof service, "%d", port);

  AddrListPtr addresses(httpAddrGetList(host, AF_UNSPEC, service));
  if (!addresses) {
    VktLog("Unable to locate printer %s", host);
    // Gives a printer that is still booting time before the caller retries.
    Waits::Current().Sleep(std::chrono::seconds(10));
    socket_ = -1;
    return -1;
  }
  ipAddress_ = host;

  if (!httpAddrConnect(addresses.get(), &socket_)) {
    int error = errno;
    socket_ = -1;
    VktLog("DEBUG: Connection error: %s\n", strerror(error));
    // Only these mean the printer is not there; any other failure (a time-out
    // while connecting, say) is reported as success with no socket.
    if (error == ECONNREFUSED || error == EHOSTDOWN || error == EHOSTUNREACH) return -1;
    return 1;
  }
  // A printer that stops taking bytes must not hold a send for good: after
  // the bound the send fails like any other.
  const timeval bound{kSendWaitSeconds, 0};
  (void)setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &bound, sizeof bound);
  return 1;
}

int EthernetCommunication::GetDataFromPrinter(ReplyBuffer* buffer) {
  if (socket_ == 0) return -1;
  auto reply = std::make_unique<char[]>(kReplyBufferSize);  // zero-filled

  // poll rather than select: the same wait, without the FD_SETSIZE limit and
  // without building a descriptor set from a closed socket (-1).
  int ready = 0;
  if (socket_ < 0) {
    errno = EBADF;
  } else {
    pollfd entry{socket_, POLLIN, 0};
    ready = poll(&entry, 1, static_cast<int>(readWait_.count()));
    if (ready > 0 && !(entry.revents & (POLLIN | POLLHUP | POLLERR))) ready = 0;
  }
  if (ready < 0) {
    VktLog("Select Time Out %s", strerror(errno));
    return -1;
  }
  if (ready == 0) {
    VktLog("FD Not Set for Reading  %s", strerror(errno));
    return -1;
  }
  ssize_t count = read(socket_, reply.get(), kReplyBufferSize);
  if (buffer) *buffer = std::move(reply);
  return static_cast<int>(count);
}

int EthernetCommunication::SendDataToPrinter(const char* data, int length) {
  if (socket_ < 0 || !data || length < 0) return -1;
  // MSG_NOSIGNAL: a dropped connection must come back as EPIPE, not end the
  // process with SIGPIPE.
  ssize_t written = send(socket_, data, static_cast<size_t>(length), MSG_NOSIGNAL);
  if (written >= 0) return static_cast<int>(written);

  int error = errno;
  std::printf("Error String is %d :: %s\n", error, strerror(error));
  std::fflush(stdout);
  if (error != EPIPE && error != ECONNRESET) return static_cast<int>(written);
  // The printer dropped or reset the connection (after a reset, say):
  // reconnect once and send the same bytes again.
  ClosePrinterHandle();
  GetPrinterHandle();
  if (socket_ < 0) return -1;
  return static_cast<int>(send(socket_, data, static_cast<size_t>(length), MSG_NOSIGNAL));
}

bool EthernetCommunication::SendStreamPart(const char* data, int length) {
  if (socket_ < 0 || !data || length < 0) return false;
  for (int sent = 0; sent < length;) {
    const ssize_t written = send(socket_, data + sent, static_cast<size_t>(length - sent), MSG_NOSIGNAL);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      VktLog("The printer took %d of %d bytes: %s\n", sent, length, strerror(errno));
      return false;
    }
    sent += static_cast<int>(written);
  }
  return true;
}

void EthernetCommunication::FlushPrinterEndPoint() { RunFlushHandshake(); }

void EthernetCommunication::ClosePrinterHandle() {
  if (socket_ > 0) {
    shutdown(socket_, SHUT_RDWR);
    close(socket_);
    socket_ = -1;
  }
}

uint32_t EthernetCommunication::GetDeviceStatus() { return static_cast<uint32_t>(socket_); }

std::optional<std::string> EthernetCommunication::GetIPAddress() { return ipAddress_; }

bool EthernetCommunication::CheckAvailability(const char* ip, int port) {
  if (!ip) return false;
  FileDescriptor probe(socket(AF_INET, SOCK_DGRAM, 0));
  if (probe.get() < 0) return false;
  // A 4-byte value is not a valid receive time-out on this platform; the
  // request is kept and its outcome ignored, the rounds below do the waiting.
  int receiveTimeout = 1;
  (void)setsockopt(probe.get(), SOL_SOCKET, SO_RCVTIMEO, &receiveTimeout, 4);

  sockaddr_in destination{};
  destination.sin_family = AF_INET;
  destination.sin_port = htons(static_cast<uint16_t>(port));
  destination.sin_addr.s_addr = inet_addr(ip);

  int nonBlocking = 1;
  if (ioctl(probe.get(), FIONBIO, &nonBlocking) < 0) return false;

  // Request and reply share one buffer; zeroing its head after each send
  // makes the second round repeat a malformed datagram. That round mostly
  // gives a late answer to the first request another chance.
  auto buffer = std::make_unique<unsigned char[]>(kProbeBufferSize);
  std::memcpy(buffer.get(), kSysDescrRequest, sizeof kSysDescrRequest);
  ssize_t received = 0;
  int tries = 0;
  while (received <= 0) {
    if (++tries > 2) break;
    errno = 0;
    sendto(probe.get(), buffer.get(), sizeof kSysDescrRequest, 0, reinterpret_cast<sockaddr*>(&destination),
           sizeof destination);
    std::memset(buffer.get(), 0, 5);
    errno = 0;
    received = recvfrom(probe.get(), buffer.get(), kProbeBufferSize, 0, nullptr, nullptr);
    if (received <= 0) {
      Waits::Current().Sleep(std::chrono::seconds(1));
      sockaddr_in from{};
      socklen_t fromLength = 8;
      received = recvfrom(probe.get(), buffer.get(), kProbeBufferSize, 0, reinterpret_cast<sockaddr*>(&from),
                          &fromLength);
    }
  }
  shutdown(probe.get(), SHUT_RDWR);
  return received > 0;
}
