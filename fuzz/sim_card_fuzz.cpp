// The simulated cards fed arbitrary frames and well-formed reader commands. The MIFARE Classic
// card gets reads, writes and authentications with the keys it holds (the factory key and any key
// a trailer write gave it), so that trailer writes with any access bits reach every branch; every
// answer is a known status word, with one block of data for a successful read. The DESFire card
// gets wrapped native commands, authentications with the factory key and enciphered commands under
// the session key they give; every answer carries a status word and at most one frame of data.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "crypto/des_block.h"
#include "fuzz/fuzz_check.h"
#include "sim/desfire/desfire_card.h"
#include "sim/mifare/mifare_classic_card.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using Key = std::array<std::uint8_t, 6>;
using lumivex::crypto::DesKeySchedule;
using lumivex::crypto::LoadBlock;
using lumivex::crypto::StoreBlock;

constexpr std::size_t kMaxFrameData = 59;
constexpr std::array<unsigned, 9> kMifareWords{0x9000, 0x6700, 0x6982, 0x6988, 0x6A81,
                                               0x6A82, 0x6B00, 0x6D00, 0x6E00};
// DESFire commands the card knows, so that well-formed frames mostly reach real handlers.
constexpr std::array<std::uint8_t, 30> kCommands{
    0x0A, 0xC4, 0x54, 0x45, 0x64, 0x60, 0xFC, 0xCA, 0xDA, 0x6A, 0x5A, 0x6E, 0xCD, 0xCB, 0xCC,
    0xC1, 0xC0, 0xDF, 0x6F, 0xF5, 0x5F, 0xBD, 0xBB, 0x3D, 0x3B, 0xEB, 0x6C, 0x0C, 0xDC, 0xAF};

Bytes Cat(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

class Reader {
 public:
  explicit Reader(FuzzedDataProvider& input) : in_(input), desfire_(input.ConsumeBool()) {
    if (desfire_) {
      lumivex::sim::DesfireOptions options;
      options.seed = in_.ConsumeIntegral<std::uint8_t>();
      options.storageCode = in_.ConsumeBool() ? 0x18 : 0x1A;
      card_ = lumivex::sim::MakeDesfire(options);
    } else {
      card_ = lumivex::sim::MakeMifareClassic({in_.ConsumeBool(), {1, 2, 3, 4}});
    }
  }

  void Run() {
    for (int frames = 0; in_.remaining_bytes() > 0 && frames < (desfire_ ? 400 : 300); ++frames)
      desfire_ ? DesfireStep() : MifareStep();
  }

 private:
  // One frame; returns its data and keeps its status word.
  Bytes Send(const Bytes& apdu) {
    const Bytes r = card_->Transmit(apdu);
    FUZZ_CHECK(r.size() >= 2);
    sw_ = static_cast<unsigned>(r[r.size() - 2] << 8 | r.back());
    if (desfire_) {
      FUZZ_CHECK(r.size() <= kMaxFrameData + 2);
    } else {
      FUZZ_CHECK(std::find(kMifareWords.begin(), kMifareWords.end(), sw_) != kMifareWords.end());
      FUZZ_CHECK(sw_ == 0x9000 || r.size() == 2);
    }
    return {r.begin(), r.end() - 2};
  }

  void MifareStep() {
    const std::uint8_t block = in_.ConsumeBool() ? in_.ConsumeIntegralInRange(0, 3) * 4 + 3
                                                 : in_.ConsumeIntegral<std::uint8_t>();
    const Key& key = keys_[in_.ConsumeIntegralInRange<std::size_t>(0, keys_.size() - 1)];
    const Bytes keyBytes(key.begin(), key.end());
    switch (in_.ConsumeIntegralInRange(0, 6)) {
      case 0:
        Send(in_.ConsumeBytes<std::uint8_t>(in_.ConsumeIntegralInRange(0, 40)));
        break;
      case 1: {  // read with the key in the frame
        const Bytes data = Send(Cat(Cat({0xFF, 0xF3, 0x00, block, 0x06}, keyBytes), {0x10}));
        FUZZ_CHECK(data.empty() || data.size() == 16);
        break;
      }
      case 2: {  // write with the key in the frame; a trailer's keys become usable
        Bytes data = in_.ConsumeBytes<std::uint8_t>(16);
        data.resize(16);
        Send(Cat(Cat({0xFF, 0xF4, 0x00, block, 0x16}, data), keyBytes));
        Remember(std::span(data).first(6));
        Remember(std::span(data).last(6));
        break;
      }
      case 3: {  // load key, then general authenticate with key A or B
        const std::uint8_t slot = in_.ConsumeIntegralInRange(0, 2);
        Send(Cat({0xFF, 0x82, 0x00, slot, 0x06}, keyBytes));
        Send({0xFF, 0x86, 0x00, 0x00, 0x05, 0x01, 0x00, block,
              static_cast<std::uint8_t>(in_.ConsumeBool() ? 0x60 : 0x61), slot});
        break;
      }
      case 4: {
        const Bytes data = Send({0xFF, 0xB0, 0x00, block, 0x10});
        FUZZ_CHECK(data.empty() || data.size() == 16);
        break;
      }
      case 5:
        Send(Cat({0xFF, 0xD6, 0x00, block, 0x10}, in_.ConsumeBytes<std::uint8_t>(16)));
        break;
      default:
        card_->PowerCycle();
    }
  }
  void Remember(std::span<const std::uint8_t> bytes) {
    Key key{};
    std::copy(bytes.begin(), bytes.end(), key.begin());
    if (keys_.size() < 8 && std::find(keys_.begin(), keys_.end(), key) == keys_.end())
      keys_.push_back(key);
  }

  void DesfireStep() {
    const auto command = [&] { return kCommands[in_.ConsumeIntegralInRange<std::size_t>(0, 29)]; };
    switch (in_.ConsumeIntegralInRange(0, 5)) {
      case 0:
        Send(in_.ConsumeBytes<std::uint8_t>(in_.ConsumeIntegralInRange(0, 80)));
        break;
      case 1:
      case 2:
        Wrapped(command(), in_.ConsumeBytes<std::uint8_t>(in_.ConsumeIntegralInRange(0, 60)));
        break;
      case 3:
        Authenticate(in_.ConsumeIntegralInRange<std::uint8_t>(0, 14),
                     in_.ConsumeBytes<std::uint8_t>(8));
        break;
      case 4: {  // a command whose data is enciphered under the session key, with its CRC
        const std::uint8_t ins = command();
        const Bytes header = in_.ConsumeBytes<std::uint8_t>(in_.ConsumeIntegralInRange(0, 7));
        const Bytes plain = in_.ConsumeBytes<std::uint8_t>(in_.ConsumeIntegralInRange(0, 40));
        if (!session_) break;
        const std::uint16_t crc = Crc(plain);
        const Bytes data = Cat(
            header,
            SendMode(*session_, Cat(plain, {std::uint8_t(crc & 0xFF), std::uint8_t(crc >> 8)})));
        if (data.size() <= kMaxFrameData) Wrapped(ins, data);
        break;
      }
      default:
        card_->PowerCycle();
    }
  }
  Bytes Wrapped(std::uint8_t ins, const Bytes& data) {
    Bytes apdu{0x90, ins, 0x00, 0x00};
    if (!data.empty()) apdu.push_back(static_cast<std::uint8_t>(data.size()));
    Bytes answer = Send(Cat(Cat(apdu, data), {0x00}));
    FUZZ_CHECK((sw_ >> 8) == 0x91);
    return answer;
  }
  // Native authentication with the factory key (all zero): afterwards the session key is known
  // and enciphered commands can reach the card's cryptogram checks.
  void Authenticate(std::uint8_t keyNumber, Bytes rndA) {
    rndA.resize(8);
    session_.reset();
    const Bytes first = Wrapped(0x0A, {keyNumber});
    if (sw_ != 0x91AF) return;
    FUZZ_CHECK(first.size() == 8);
    const DesKeySchedule zero(0);
    std::array<std::uint8_t, 8> rndB{};
    StoreBlock(zero.Decrypt(LoadBlock(std::span<const std::uint8_t, 8>(first.data(), 8))), rndB);
    Bytes token = Cat(rndA, Bytes(rndB.begin() + 1, rndB.end()));
    token.push_back(rndB[0]);
    const Bytes second = Wrapped(0xAF, SendMode(zero, token));
    if (sw_ != 0x9100) return;
    FUZZ_CHECK(second.size() == 8);
    std::uint64_t session = 0;
    for (int i = 0; i < 4; ++i) session = session << 8 | rndA[i];
    for (int i = 0; i < 4; ++i) session = session << 8 | rndB[i];
    session_ = std::make_unique<DesKeySchedule>(session);
  }
  // What a reader sends: each zero-padded block XORed with the previous output, then deciphered.
  static Bytes SendMode(const DesKeySchedule& key, Bytes data) {
    data.resize((data.size() + 7) / 8 * 8, 0);
    std::uint64_t previous = 0;
    for (std::size_t at = 0; at < data.size(); at += 8) {
      const std::span<std::uint8_t, 8> block(data.data() + at, 8);
      previous = key.Decrypt(LoadBlock(block) ^ previous);
      StoreBlock(previous, block);
    }
    return data;
  }
  static std::uint16_t Crc(const Bytes& data) {
    unsigned crc = 0x6363;
    for (const std::uint8_t b : data) {
      crc ^= b;
      for (int bit = 0; bit < 8; ++bit) crc = (crc & 1U) ? (crc >> 1) ^ 0x8408U : crc >> 1;
    }
    return static_cast<std::uint16_t>(crc);
  }

  FuzzedDataProvider& in_;
  bool desfire_;
  std::shared_ptr<lumivex::sim::SimCard> card_;
  unsigned sw_ = 0;
  std::vector<Key> keys_{Key{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};
  std::unique_ptr<DesKeySchedule> session_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  Reader(input).Run();
  return 0;
}
