#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <future>

#include "sim/mifare/mifare_classic_card.h"
#include "sim/vpcd_client.h"
#include "tests/sim/apdu_text.h"

namespace lumivex::sim::test {
namespace {

// The driver's end of the link: a listening socket on an ephemeral local port.
class FakeDriver {
 public:
  FakeDriver() {
    listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* raw = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(::bind(listener_, raw, size), 0);
    EXPECT_EQ(::listen(listener_, 1), 0);
    EXPECT_EQ(::getsockname(listener_, raw, &size), 0);
    port_ = ntohs(address.sin_port);
  }
  ~FakeDriver() {
    if (link_ >= 0) ::close(link_);
    ::close(listener_);
  }
  [[nodiscard]] std::uint16_t port() const { return port_; }
  void Accept() { link_ = ::accept(listener_, nullptr, nullptr); }
  void Hangup() {
    ::close(link_);
    link_ = -1;
  }

  void Send(const std::string& hex) {
    std::vector<std::uint8_t> frame = Bytes(hex);
    frame.insert(frame.begin(), {static_cast<std::uint8_t>(frame.size() >> 8),
                                 static_cast<std::uint8_t>(frame.size() & 0xFF)});
    ASSERT_EQ(::send(link_, frame.data(), frame.size(), 0), static_cast<ssize_t>(frame.size()));
  }
  // The next message as hex, or "closed".
  std::string Receive() {
    std::uint8_t header[2];
    if (::recv(link_, header, 2, MSG_WAITALL) != 2) return "closed";
    std::vector<std::uint8_t> payload((header[0] << 8) | header[1]);
    if (!payload.empty() && ::recv(link_, payload.data(), payload.size(), MSG_WAITALL) !=
                                static_cast<ssize_t>(payload.size())) {
      return "closed";
    }
    return Hex(payload);
  }

 private:
  int listener_ = -1;
  int link_ = -1;
  std::uint16_t port_ = 0;
};

TEST(VpcdClient, AnswersControlsAndCommands) {
  SimulatedReader reader;
  reader.InsertCard(MakeMifareClassic());
  VpcdClient client(reader, "127.0.0.1", 1);
  EXPECT_EQ(Hex(*client.Answer(Bytes("04"))), "3B8F8001804F0CA000000306030001000000006A");
  EXPECT_FALSE(client.Answer(Bytes("00")).has_value());
  EXPECT_FALSE(client.Answer(Bytes("01")).has_value());
  EXPECT_FALSE(client.Answer(Bytes("02")).has_value());
  EXPECT_EQ(Hex(*client.Answer(Bytes("FFCA000000"))), "123456789000");
  EXPECT_EQ(Hex(*client.Answer({})), "6700") << "an empty command still gets an answer";
  reader.SetFault(Fault::Mute);
  EXPECT_EQ(client.Answer(Bytes("FFCA000000")), std::vector<std::uint8_t>{});
}

TEST(VpcdClient, ServesTheDriverUntilItHangsUp) {
  FakeDriver driver;
  SimulatedReader reader;
  reader.InsertCard(MakeMifareClassic());
  VpcdClient client(reader, "127.0.0.1", driver.port());
  std::atomic<bool> stop{false};

  auto serving = std::async(std::launch::async, [&] { return client.ServeOnce(stop); });
  driver.Accept();
  driver.Send("01");  // power on: no answer expected
  driver.Send("04");
  EXPECT_EQ(driver.Receive(), "3B8F8001804F0CA000000306030001000000006A");
  driver.Send("FFF3000006FFFFFFFFFFFF10");
  EXPECT_EQ(driver.Receive().substr(0, 10), "1234567808");
  driver.Hangup();
  EXPECT_EQ(serving.get(), VpcdClient::Outcome::DriverClosed);

  // The card leaves the reader: the link is closed so that the driver sees it gone.
  serving = std::async(std::launch::async, [&] { return client.ServeOnce(stop); });
  driver.Accept();
  reader.SetFault(Fault::RemoveAfter, 0);
  driver.Send("FFCA000000");
  EXPECT_EQ(driver.Receive(), "closed");
  EXPECT_EQ(serving.get(), VpcdClient::Outcome::CardGone);

  // A stop request ends a connection that is waiting for the driver.
  reader.InsertCard(MakeMifareClassic());
  serving = std::async(std::launch::async, [&] { return client.ServeOnce(stop); });
  driver.Accept();
  stop = true;
  EXPECT_EQ(serving.get(), VpcdClient::Outcome::Stopped);
}

TEST(VpcdClient, NoDriverListening) {
  std::uint16_t port = 0;
  {
    FakeDriver closed;
    port = closed.port();
  }
  SimulatedReader reader;
  reader.InsertCard(MakeMifareClassic());
  VpcdClient client(reader, "127.0.0.1", port);
  std::atomic<bool> stop{false};
  EXPECT_EQ(client.ServeOnce(stop), VpcdClient::Outcome::Unreachable);
}

}  // namespace
}  // namespace lumivex::sim::test
