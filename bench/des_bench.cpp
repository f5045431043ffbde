// Triple DES in ECB over the same 4 KiB buffer: through the DES class as the component uses it
// (hex text in, spaced hex text out), OpenSSL's EVP des-ede3-ecb on the raw bytes, and our raw
// block primitive. Throughput is counted in plaintext bytes.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "crypto/des.h"
#include "crypto/des_block.h"

namespace {

using lumivex::crypto::DES;
using lumivex::crypto::DesKeySchedule;

constexpr std::size_t kBufferSize = 4096;
const std::string kKeys[3] = {"0123456789ABCDEF", "23456789ABCDEF01", "456789ABCDEF0123"};

std::vector<std::uint8_t> Buffer() {
  std::mt19937 rng(42);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same data on every run
  std::vector<std::uint8_t> bytes(kBufferSize);
  for (auto& b : bytes) b = static_cast<std::uint8_t>(rng());
  return bytes;
}

std::vector<std::uint8_t> KeyBytes() {
  std::vector<std::uint8_t> key;
  for (const std::string& k : kKeys) {
    for (std::size_t i = 0; i < k.size(); i += 2) {
      key.push_back(static_cast<std::uint8_t>(std::stoul(k.substr(i, 2), nullptr, 16)));
    }
  }
  return key;
}

std::string CompactHex(const std::vector<std::uint8_t>& bytes) {
  static const char* const kDigits = "0123456789ABCDEF";
  std::string text(bytes.size() * 2, '0');
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    text[2 * i] = kDigits[bytes[i] >> 4];
    text[2 * i + 1] = kDigits[bytes[i] & 0xF];
  }
  return text;
}

enum class Implementation { kLumivex, kOpenSsl };

void BM_Des3EcbEncrypt(benchmark::State& state, Implementation implementation) {
  const std::vector<std::uint8_t> plain = Buffer();
  if (implementation == Implementation::kLumivex) {
    DES des;
    for (std::int16_t slot = 1; slot <= 3; ++slot) des.Keys(slot, kKeys[slot - 1]);
    const std::string text = CompactHex(plain);
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop idiom
      std::string cipher = des.Encrypt(text, lumivex::crypto::desTriple | lumivex::crypto::desECB);
      benchmark::DoNotOptimize(cipher.data());
    }
  } else {
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> ctx(EVP_CIPHER_CTX_new(),
                                                                              EVP_CIPHER_CTX_free);
    const std::vector<std::uint8_t> key = KeyBytes();
    if (!ctx ||
        EVP_EncryptInit_ex(ctx.get(), EVP_des_ede3_ecb(), nullptr, key.data(), nullptr) != 1) {
      state.SkipWithError("OpenSSL has no des-ede3-ecb");
      return;
    }
    EVP_CIPHER_CTX_set_padding(ctx.get(), 0);
    std::vector<std::uint8_t> cipher(kBufferSize);
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop idiom
      int written = 0;
      EVP_EncryptUpdate(ctx.get(), cipher.data(), &written, plain.data(),
                        static_cast<int>(plain.size()));
      benchmark::DoNotOptimize(cipher.data());
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kBufferSize));
}

// The raw primitive: EDE over 512 words with three precomputed key schedules.
void BM_Des3EcbBlocks(benchmark::State& state) {
  const std::vector<std::uint8_t> plain = Buffer();
  std::vector<std::uint64_t> blocks(kBufferSize / 8);
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    blocks[i] =
        lumivex::crypto::LoadBlock(std::span<const std::uint8_t, 8>(plain.data() + 8 * i, 8));
  }
  const DesKeySchedule k1(std::stoull(kKeys[0], nullptr, 16)),
      k2(std::stoull(kKeys[1], nullptr, 16)), k3(std::stoull(kKeys[2], nullptr, 16));
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop idiom
    for (std::uint64_t& b : blocks) b = k3.Encrypt(k2.Decrypt(k1.Encrypt(b)));
    benchmark::DoNotOptimize(blocks.data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kBufferSize));
}

BENCHMARK_CAPTURE(BM_Des3EcbEncrypt, lumivex, Implementation::kLumivex);
BENCHMARK_CAPTURE(BM_Des3EcbEncrypt, openssl, Implementation::kOpenSsl);
BENCHMARK(BM_Des3EcbBlocks)->Name("BM_Des3EcbBlocks/lumivex");

}  // namespace

BENCHMARK_MAIN();
