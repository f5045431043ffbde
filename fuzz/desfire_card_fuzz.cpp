// The simulated DESFire card fed arbitrary frames, well-formed wrapped commands, authentications
// with the factory key and enciphered commands under the session key they give. Every answer
// carries a status word and at most one frame of data, whatever came before.
#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "crypto/des_block.h"
#include "fuzz/fuzz_check.h"
#include "sim/desfire/desfire_card.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using lumivex::crypto::DesKeySchedule;
using lumivex::crypto::LoadBlock;
using lumivex::crypto::StoreBlock;

constexpr std::size_t kMaxFrameData = 59;

struct Answer {
  Bytes data;
  unsigned sw = 0;
};

class Reader {
 public:
  explicit Reader(std::shared_ptr<lumivex::sim::SimCard> card) : card_(std::move(card)) {}

  Answer Raw(const Bytes& apdu) {
    const Bytes r = card_->Transmit(apdu);
    FUZZ_CHECK(r.size() >= 2);
    FUZZ_CHECK(r.size() <= kMaxFrameData + 2);
    return {Bytes(r.begin(), r.end() - 2), static_cast<unsigned>(r[r.size() - 2] << 8 | r.back())};
  }

  Answer Wrapped(std::uint8_t ins, const Bytes& data) {
    Bytes apdu{0x90, ins, 0x00, 0x00};
    if (!data.empty()) apdu.push_back(static_cast<std::uint8_t>(data.size()));
    apdu.insert(apdu.end(), data.begin(), data.end());
    apdu.push_back(0x00);
    Answer answer = Raw(apdu);
    FUZZ_CHECK((answer.sw >> 8) == 0x91);
    return answer;
  }

  // Native authentication with the factory key (all zero): afterwards the session key is known
  // and enciphered commands can reach the card's cryptogram checks.
  void Authenticate(std::uint8_t keyNumber, Bytes rndA) {
    rndA.resize(8);
    session_.reset();
    const Answer first = Wrapped(0x0A, {keyNumber});
    if (first.sw != 0x91AF) return;
    FUZZ_CHECK(first.data.size() == 8);
    const DesKeySchedule zero(0);
    std::array<std::uint8_t, 8> rndB{};
    StoreBlock(zero.Decrypt(LoadBlock(std::span<const std::uint8_t, 8>(first.data.data(), 8))),
               rndB);
    Bytes token(rndA.begin(), rndA.end());
    token.insert(token.end(), rndB.begin() + 1, rndB.end());
    token.push_back(rndB[0]);
    const Answer second = Wrapped(0xAF, SendMode(zero, token));
    if (second.sw != 0x9100) return;
    FUZZ_CHECK(second.data.size() == 8);
    std::uint64_t session = 0;
    for (int i = 0; i < 4; ++i) session = session << 8 | rndA[i];
    for (int i = 0; i < 4; ++i) session = session << 8 | rndB[i];
    session_ = std::make_unique<DesKeySchedule>(session);
  }

  // A command whose data is enciphered under the session key (with its CRC, zero padded).
  void Enciphered(std::uint8_t ins, const Bytes& header, const Bytes& plain) {
    if (!session_) return;
    Bytes body = plain;
    const std::uint16_t crc = Crc(plain);
    body.push_back(static_cast<std::uint8_t>(crc & 0xFF));
    body.push_back(static_cast<std::uint8_t>(crc >> 8));
    Bytes data = header;
    const Bytes cipher = SendMode(*session_, body);
    data.insert(data.end(), cipher.begin(), cipher.end());
    if (data.size() <= kMaxFrameData) Wrapped(ins, data);
  }

 private:
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

  std::shared_ptr<lumivex::sim::SimCard> card_;
  std::unique_ptr<DesKeySchedule> session_;
};

// Commands the card knows, so that well-formed frames mostly reach real handlers.
constexpr std::array<std::uint8_t, 30> kCommands{
    0x0A, 0xC4, 0x54, 0x45, 0x64, 0x60, 0xFC, 0xCA, 0xDA, 0x6A, 0x5A, 0x6E, 0xCD, 0xCB, 0xCC,
    0xC1, 0xC0, 0xDF, 0x6F, 0xF5, 0x5F, 0xBD, 0xBB, 0x3D, 0x3B, 0xEB, 0x6C, 0x0C, 0xDC, 0xAF};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  lumivex::sim::DesfireOptions options;
  options.seed = input.ConsumeIntegral<std::uint8_t>();
  options.storageCode = input.ConsumeBool() ? 0x18 : 0x1A;
  auto card = lumivex::sim::MakeDesfire(options);
  Reader reader(card);
  int frames = 0;
  while (input.remaining_bytes() > 0 && ++frames < 400) {
    switch (input.ConsumeIntegralInRange(0, 5)) {
      case 0:
        reader.Raw(input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange(0, 80)));
        break;
      case 1:
      case 2: {
        const std::uint8_t ins = kCommands[input.ConsumeIntegralInRange<std::size_t>(0, 29)];
        reader.Wrapped(ins, input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange(0, 60)));
        break;
      }
      case 3:
        reader.Authenticate(input.ConsumeIntegralInRange<std::uint8_t>(0, 14),
                            input.ConsumeBytes<std::uint8_t>(8));
        break;
      case 4: {
        const std::uint8_t ins = kCommands[input.ConsumeIntegralInRange<std::size_t>(0, 29)];
        const Bytes header = input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange(0, 7));
        reader.Enciphered(ins, header,
                          input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange(0, 40)));
        break;
      }
      default:
        card->PowerCycle();
        break;
    }
  }
  return 0;
}
