#include "sim/vpcd_client.h"

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>
#include <thread>
#include <utility>

namespace lumivex::sim {

namespace {

constexpr std::uint8_t kPowerOff = 0;
constexpr std::uint8_t kPowerOn = 1;
constexpr std::uint8_t kReset = 2;
constexpr std::uint8_t kGetAtr = 4;
constexpr int kPollMilliseconds = 100;

class Socket {
 public:
  Socket() = default;
  explicit Socket(int fd) : fd_(fd) {}
  Socket(Socket&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Socket& operator=(Socket&&) = delete;
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  ~Socket() {
    if (fd_ >= 0) ::close(fd_);
  }
  [[nodiscard]] int fd() const { return fd_; }

 private:
  int fd_ = -1;
};

Socket ConnectTo(const std::string& host, std::uint16_t port) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) return {};
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(found, &::freeaddrinfo);
  for (const addrinfo* a = found; a != nullptr; a = a->ai_next) {
    const int fd = ::socket(a->ai_family, a->ai_socktype, a->ai_protocol);
    if (fd < 0) continue;
    Socket socket(fd);
    if (::connect(fd, a->ai_addr, a->ai_addrlen) == 0) return socket;
  }
  return {};
}

enum class Io { Done, Closed, Stopped };

// Reads exactly buffer.size() bytes, looking at the stop flag while it waits.
Io ReadExactly(int fd, std::span<std::uint8_t> buffer, const std::atomic<bool>& stop) {
  std::size_t done = 0;
  while (done < buffer.size()) {
    if (stop) return Io::Stopped;
    pollfd p{fd, POLLIN, 0};
    const int ready = ::poll(&p, 1, kPollMilliseconds);
    if (ready < 0 && errno != EINTR) return Io::Closed;
    if (ready <= 0) continue;
    const ssize_t n = ::recv(fd, buffer.data() + done, buffer.size() - done, 0);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return Io::Closed;
    done += static_cast<std::size_t>(n);
  }
  return Io::Done;
}

bool WriteAll(int fd, std::span<const std::uint8_t> bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::send(fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<std::size_t>(n);
  }
  return true;
}

bool SendMessage(int fd, std::span<const std::uint8_t> payload) {
  std::vector<std::uint8_t> frame;
  frame.reserve(payload.size() + 2);
  frame.push_back(static_cast<std::uint8_t>(payload.size() >> 8));
  frame.push_back(static_cast<std::uint8_t>(payload.size() & 0xFF));
  frame.insert(frame.end(), payload.begin(), payload.end());
  return WriteAll(fd, frame);
}

}  // namespace

VpcdClient::VpcdClient(SimulatedReader& reader, std::string host, std::uint16_t port)
    : reader_(reader), host_(std::move(host)), port_(port) {}

std::optional<std::vector<std::uint8_t>> VpcdClient::Answer(std::span<const std::uint8_t> message) {
  if (message.size() == 1) {
    switch (message[0]) {
      case kPowerOff:
      case kReset:
        reader_.PowerCycle();
        return std::nullopt;
      case kPowerOn:
        return std::nullopt;
      case kGetAtr:
        if (!reader_.HasCard()) return std::vector<std::uint8_t>{};
        return reader_.card()->Atr();
      default:
        Log("unknown control message " + std::to_string(message[0]) + " ignored");
        return std::nullopt;
    }
  }
  // Every other message is a command APDU, an empty one included: the driver waits for an answer.
  Exchange exchange = reader_.Transmit(message);
  if (exchange.failure) {
    dropLink_ = true;
    return std::vector<std::uint8_t>{};
  }
  return std::move(exchange.response);
}

VpcdClient::Outcome VpcdClient::ServeOnce(const std::atomic<bool>& stop) {
  const Socket socket = ConnectTo(host_, port_);
  if (socket.fd() < 0) return Outcome::Unreachable;
  Log("connected to vpcd at " + host_ + ":" + std::to_string(port_));
  dropLink_ = false;
  reader_.PowerCycle();
  std::vector<std::uint8_t> message;
  bool atrSent = false;  // the driver asks for the ATR again and again: report the first only
  while (true) {
    std::array<std::uint8_t, 2> header{};
    Io io = ReadExactly(socket.fd(), header, stop);
    if (io == Io::Done) {
      message.resize(static_cast<std::size_t>((header[0] << 8) | header[1]));
      io = ReadExactly(socket.fd(), message, stop);
    }
    if (io == Io::Stopped) return Outcome::Stopped;
    if (io == Io::Closed) {
      Log("vpcd closed the connection");
      return Outcome::DriverClosed;
    }
    const bool atrRequest = message.size() == 1 && message[0] == kGetAtr;
    const auto answer = Answer(message);
    if (dropLink_) {
      Log(reader_.HasCard() ? "the card did not answer: link closed" : "the card left the reader");
      return Outcome::LinkDropped;
    }
    if (answer && !SendMessage(socket.fd(), *answer)) {
      Log("vpcd closed the connection");
      return Outcome::DriverClosed;
    }
    if (atrRequest && !atrSent) Log("ATR sent");
    atrSent = atrSent || atrRequest;
  }
}

void VpcdClient::Run(const std::atomic<bool>& stop, std::chrono::milliseconds retryDelay) {
  bool reported = false;
  while (!stop) {
    if (reader_.HasCard()) {
      const Outcome outcome = ServeOnce(stop);
      if (outcome == Outcome::Stopped) return;
      if (outcome == Outcome::Unreachable && !reported) {
        Log("waiting for vpcd at " + host_ + ":" + std::to_string(port_));
      }
      reported = outcome == Outcome::Unreachable;
    }
    // Sleep in short steps so that a stop request is seen quickly.
    for (auto waited = std::chrono::milliseconds(0); waited < retryDelay && !stop;
         waited += std::chrono::milliseconds(kPollMilliseconds)) {
      std::this_thread::sleep_for(std::chrono::milliseconds(kPollMilliseconds));
    }
  }
}

}  // namespace lumivex::sim
