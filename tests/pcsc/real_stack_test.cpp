// The simulated card behind the real libpcsclite and pcscd, exactly as a USB reader would be seen.
#include <gtest/gtest.h>
#include <winscard.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr DWORD kReceiveBuffer = 4096;

std::string Env(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

std::string Hex(const BYTE* bytes, DWORD length) {
  static const char* digits = "0123456789ABCDEF";
  std::string text;
  for (DWORD i = 0; i < length; ++i) {
    text += digits[bytes[i] >> 4];
    text += digits[bytes[i] & 0x0F];
  }
  return text;
}

std::vector<BYTE> Bytes(const std::string& hex) {
  std::vector<BYTE> bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<BYTE>(std::stoul(hex.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

class RealStack : public testing::Test {
 protected:
  void SetUp() override {
    if (Env("LUMIVEX_PCSC_HARNESS").empty()) {
      GTEST_SKIP() << "needs the real PC/SC stack: run inside tests/pcsc/with-pcscd.sh";
    }
    card_ = Env("LUMIVEX_SIM_CARD");
    ASSERT_EQ(SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context_),
              SCARD_S_SUCCESS);
    reader_ = Env("LUMIVEX_PCSC_READER");
    if (reader_.empty()) reader_ = FirstReader();
    ASSERT_FALSE(reader_.empty()) << "no reader";
    ASSERT_NO_FATAL_FAILURE(WaitForCard());
  }

  void TearDown() override {
    if (handle_ != 0) SCardDisconnect(handle_, SCARD_LEAVE_CARD);
    if (context_ != 0) SCardReleaseContext(context_);
  }

  std::string FirstReader() {
    DWORD length = 0;
    if (SCardListReaders(context_, nullptr, nullptr, &length) != SCARD_S_SUCCESS) return {};
    std::string list(length, '\0');
    if (SCardListReaders(context_, nullptr, list.data(), &length) != SCARD_S_SUCCESS) return {};
    return list.substr(0, list.find('\0'));  // the first name
  }

  // pcscd polls the virtual reader: the card may show up a moment after the driver saw it.
  void WaitForCard() {
    SCARD_READERSTATE state{};
    state.szReader = reader_.c_str();
    state.dwCurrentState = SCARD_STATE_UNAWARE;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < deadline) {
      const LONG result = SCardGetStatusChange(context_, 1000, &state, 1);
      if (result == SCARD_S_SUCCESS && (state.dwEventState & SCARD_STATE_PRESENT) != 0) return;
      state.dwCurrentState = state.dwEventState;
    }
    FAIL() << "no card in " << reader_;
  }

  LONG Connect(SCARDHANDLE* handle) {
    DWORD protocol = 0;
    return SCardConnect(context_, reader_.c_str(), SCARD_SHARE_EXCLUSIVE, SCARD_PROTOCOL_T0, handle,
                        &protocol);
  }

  // The answer as hex text, as the component sends it: T=0 header, 4096-byte receive buffer.
  std::string Send(const std::string& hex) {
    const std::vector<BYTE> command = Bytes(hex);
    std::vector<BYTE> buffer(kReceiveBuffer);
    DWORD length = kReceiveBuffer;
    const SCARD_IO_REQUEST header{SCARD_PROTOCOL_T0, 8};
    const LONG result =
        SCardTransmit(handle_, &header, command.data(), static_cast<DWORD>(command.size()), nullptr,
                      buffer.data(), &length);
    EXPECT_EQ(result, SCARD_S_SUCCESS) << hex;
    return result == SCARD_S_SUCCESS ? Hex(buffer.data(), length) : std::string();
  }

  std::string card_;
  std::string reader_;
  SCARDCONTEXT context_ = 0;
  SCARDHANDLE handle_ = 0;
};

TEST_F(RealStack, ExclusiveConnectionReadsTheUid) {
  ASSERT_EQ(Connect(&handle_), SCARD_S_SUCCESS);

  SCARDCONTEXT other = 0;
  ASSERT_EQ(SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &other), SCARD_S_SUCCESS);
  SCARDHANDLE second = 0;
  DWORD protocol = 0;
  EXPECT_EQ(SCardConnect(other, reader_.c_str(), SCARD_SHARE_SHARED, SCARD_PROTOCOL_T0, &second,
                         &protocol),
            SCARD_E_SHARING_VIOLATION);
  SCardReleaseContext(other);

  BYTE atr[MAX_ATR_SIZE];
  DWORD atrLength = sizeof atr;
  DWORD state = 0;
  ASSERT_EQ(SCardStatus(handle_, nullptr, nullptr, &state, &protocol, atr, &atrLength),
            SCARD_S_SUCCESS);
  EXPECT_EQ(protocol, static_cast<DWORD>(SCARD_PROTOCOL_T0));
  if (card_ == "mifare1k") {
    EXPECT_EQ(Hex(atr, atrLength), "3B8F8001804F0CA000000306030001000000006A");
  } else if (card_ == "mifare4k") {
    EXPECT_EQ(Hex(atr, atrLength), "3B8F8001804F0CA0000003060300020000000069");
  }
  const std::string uid = Send("FFCA000000");
  ASSERT_GE(uid.size(), 12U);
  EXPECT_EQ(uid.substr(uid.size() - 4), "9000");
  if (card_.starts_with("mifare")) {
    EXPECT_EQ(uid, "123456789000");
  }
}

TEST_F(RealStack, MifareBlocksWithKeys) {
  if (!card_.starts_with("mifare")) GTEST_SKIP() << "the first slot holds a " << card_ << " card";
  ASSERT_EQ(Connect(&handle_), SCARD_S_SUCCESS);
  EXPECT_EQ(Send("FFF3000006FFFFFFFFFFFF10").substr(0, 10), "1234567808");
  const std::string data = "0102030405060708090A0B0C0D0E0F10";
  EXPECT_EQ(Send("FFF4000216" + data + "FFFFFFFFFFFF"), "9000");
  EXPECT_EQ(Send("FFF3000206FFFFFFFFFFFF10"), data + "9000");
  EXPECT_EQ(Send("FFF3000206A0A1A2A3A4A510"), "6982");

  // An answer that does not fit the receive buffer.
  const std::vector<BYTE> read = Bytes("FFF3000206FFFFFFFFFFFF10");
  BYTE small[4];
  DWORD length = sizeof small;
  const SCARD_IO_REQUEST header{SCARD_PROTOCOL_T0, 8};
  EXPECT_EQ(SCardTransmit(handle_, &header, read.data(), static_cast<DWORD>(read.size()), nullptr,
                          small, &length),
            SCARD_E_INSUFFICIENT_BUFFER);
}

}  // namespace

TEST_F(RealStack, SecondSlotHoldsTheDesfireCard) {
  const std::string second = Env("LUMIVEX_PCSC_READER2");
  if (Env("LUMIVEX_SIM_CARD2") != "desfire" || second.empty()) {
    GTEST_SKIP() << "no DESFire card in a second slot of ours";
  }
  reader_ = second;
  ASSERT_NO_FATAL_FAILURE(WaitForCard());
  ASSERT_EQ(Connect(&handle_), SCARD_S_SUCCESS);
  EXPECT_EQ(Send("FFCA000000"), "041122334455669000");
  const std::string version = Send("9060000000");  // GetVersion: the first of three frames
  ASSERT_GE(version.size(), 4U);
  EXPECT_EQ(version.substr(version.size() - 4), "91AF");
}
