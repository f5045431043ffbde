// The simulated MIFARE Classic card fed arbitrary frames and well-formed reader commands with the
// keys it holds (the factory key and any key a trailer write gave it), so that trailer writes with
// any access bits reach every branch. Every answer is a known status word, with one block of data
// for a successful read.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "fuzz/fuzz_check.h"
#include "sim/mifare/mifare_classic_card.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using Key = std::array<std::uint8_t, 6>;

constexpr std::array<unsigned, 9> kStatusWords{0x9000, 0x6700, 0x6982, 0x6988, 0x6A81,
                                               0x6A82, 0x6B00, 0x6D00, 0x6E00};

class Reader {
 public:
  explicit Reader(bool fourK) : card_(lumivex::sim::MakeMifareClassic({fourK, {1, 2, 3, 4}})) {}

  // Sends one frame; returns the data of a 9000 answer.
  Bytes Send(const Bytes& apdu) {
    const Bytes r = card_->Transmit(apdu);
    FUZZ_CHECK(r.size() >= 2);
    const auto sw = static_cast<unsigned>(r[r.size() - 2] << 8 | r.back());
    FUZZ_CHECK(std::find(kStatusWords.begin(), kStatusWords.end(), sw) != kStatusWords.end());
    FUZZ_CHECK(sw == 0x9000 || r.size() == 2);
    return {r.begin(), r.end() - 2};
  }

  void Run(FuzzedDataProvider& input) {
    const std::uint8_t block = input.ConsumeBool() ? input.ConsumeIntegralInRange(0, 3) * 4 + 3
                                                   : input.ConsumeIntegral<std::uint8_t>();
    const Key& key = keys_[input.ConsumeIntegralInRange<std::size_t>(0, keys_.size() - 1)];
    switch (input.ConsumeIntegralInRange(0, 6)) {
      case 0:
        Send(input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange(0, 40)));
        break;
      case 1: {  // read with the key in the frame
        Bytes apdu{0xFF, 0xF3, 0x00, block, 0x06};
        apdu.insert(apdu.end(), key.begin(), key.end());
        apdu.push_back(0x10);
        const Bytes data = Send(apdu);
        FUZZ_CHECK(data.empty() || data.size() == 16);
        break;
      }
      case 2: {  // write with the key in the frame; a trailer's keys become usable
        Bytes data = input.ConsumeBytes<std::uint8_t>(16);
        data.resize(16);
        Bytes apdu{0xFF, 0xF4, 0x00, block, 0x16};
        apdu.insert(apdu.end(), data.begin(), data.end());
        apdu.insert(apdu.end(), key.begin(), key.end());
        Send(apdu);
        Remember(std::span(data).first(6));
        Remember(std::span(data).last(6));
        break;
      }
      case 3: {  // load key, then general authenticate with key A or B
        const std::uint8_t slot = input.ConsumeIntegralInRange(0, 2);
        Bytes load{0xFF, 0x82, 0x00, slot, 0x06};
        load.insert(load.end(), key.begin(), key.end());
        Send(load);
        Send({0xFF, 0x86, 0x00, 0x00, 0x05, 0x01, 0x00, block,
              static_cast<std::uint8_t>(input.ConsumeBool() ? 0x60 : 0x61), slot});
        break;
      }
      case 4: {
        const Bytes data = Send({0xFF, 0xB0, 0x00, block, 0x10});
        FUZZ_CHECK(data.empty() || data.size() == 16);
        break;
      }
      case 5: {
        Bytes apdu{0xFF, 0xD6, 0x00, block, 0x10};
        const Bytes data = input.ConsumeBytes<std::uint8_t>(16);
        apdu.insert(apdu.end(), data.begin(), data.end());
        Send(apdu);
        break;
      }
      default:
        card_->PowerCycle();
        break;
    }
  }

 private:
  void Remember(std::span<const std::uint8_t> bytes) {
    Key key{};
    std::copy(bytes.begin(), bytes.end(), key.begin());
    if (keys_.size() < 8 && std::find(keys_.begin(), keys_.end(), key) == keys_.end())
      keys_.push_back(key);
  }

  std::shared_ptr<lumivex::sim::SimCard> card_;
  std::vector<Key> keys_{Key{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  Reader reader(input.ConsumeBool());
  for (int frames = 0; input.remaining_bytes() > 0 && frames < 300; ++frames) reader.Run(input);
  return 0;
}
