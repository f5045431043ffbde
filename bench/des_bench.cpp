// Triple DES in ECB over the same 4 KiB buffer with three distinct keys: the byte cipher's bulk
// ECB (DesCipher::EncryptEcb, as the component calls it) against OpenSSL's EVP des-ede3-ecb, and,
// for information, the DES class's text path (hex text in, spaced hex text out). Throughput is
// counted in plaintext bytes. After the runs one line compares the byte cipher with OpenSSL.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "crypto/des.h"
#include "crypto/hex_codec.h"

namespace {

using lumivex::crypto::DesAlgorithm;

constexpr std::size_t kBufferSize = 4096;
const std::string kKeys[3] = {"0123456789ABCDEF", "23456789ABCDEF01", "456789ABCDEF0123"};
const std::string kLumivex = "BM_Des3EcbEncrypt/lumivex";
const std::string kOpenSsl = "BM_Des3EcbEncrypt/openssl";

std::vector<std::uint8_t> Buffer() {
  std::mt19937 rng(42);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same data on every run
  std::vector<std::uint8_t> bytes(kBufferSize);
  for (auto& b : bytes) b = static_cast<std::uint8_t>(rng());
  return bytes;
}

std::vector<std::uint8_t> KeyBytes() {
  std::vector<std::uint8_t> key;
  for (const std::string& k : kKeys) {
    const std::vector<std::uint8_t> bytes = lumivex::crypto::ParseHex(k);
    key.insert(key.end(), bytes.begin(), bytes.end());
  }
  return key;
}

void SetThroughput(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kBufferSize));
}

void BM_Des3EcbLumivex(benchmark::State& state) {
  const std::vector<std::uint8_t> plain = Buffer(), key = KeyBytes();
  lumivex::crypto::DesCipher cipher;
  for (std::int16_t slot = 1; slot <= 3; ++slot) {
    cipher.SetKey(slot, std::span<const std::uint8_t, 8>(key.data() + 8 * (slot - 1), 8));
  }
  std::vector<std::uint8_t> out(kBufferSize);
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop idiom
    cipher.EncryptEcb(plain, out, DesAlgorithm::kTriple);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  SetThroughput(state);
}

void BM_Des3EcbOpenSsl(benchmark::State& state) {
  const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> ctx(EVP_CIPHER_CTX_new(),
                                                                            EVP_CIPHER_CTX_free);
  const std::vector<std::uint8_t> plain = Buffer(), key = KeyBytes();
  if (!ctx ||
      EVP_EncryptInit_ex(ctx.get(), EVP_des_ede3_ecb(), nullptr, key.data(), nullptr) != 1) {
    state.SkipWithError("OpenSSL has no des-ede3-ecb");
    return;
  }
  EVP_CIPHER_CTX_set_padding(ctx.get(), 0);
  std::vector<std::uint8_t> out(kBufferSize);
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop idiom
    int written = 0;
    EVP_EncryptUpdate(ctx.get(), out.data(), &written, plain.data(),
                      static_cast<int>(plain.size()));
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  SetThroughput(state);
}

// The text path as the component's script surface uses it: compact hex in, spaced hex out.
void BM_Des3EcbText(benchmark::State& state) {
  lumivex::crypto::DES des;
  for (std::int16_t slot = 1; slot <= 3; ++slot) des.Keys(slot, kKeys[slot - 1]);
  const std::string text = lumivex::crypto::FormatHex(Buffer(), false);
  const std::int32_t mode =
      lumivex::crypto::DesModeWord(DesAlgorithm::kTriple, lumivex::crypto::DesChaining::kEcb);
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop idiom
    std::string cipher = des.Encrypt(text, mode);
    benchmark::DoNotOptimize(cipher.data());
  }
  SetThroughput(state);
}

BENCHMARK(BM_Des3EcbLumivex)->Name(kLumivex);
BENCHMARK(BM_Des3EcbOpenSsl)->Name(kOpenSsl);
BENCHMARK(BM_Des3EcbText)->Name("BM_Des3EcbText/lumivex");

// The console's report, remembering the throughput of the two bulk benchmarks (the median when
// the runs are repeated).
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& reports) override {
    for (const Run& run : reports) {
      const std::string name = run.run_name.str();
      std::optional<double>* slot = name == kLumivex   ? &lumivex_
                                    : name == kOpenSsl ? &openSsl_
                                                       : nullptr;
      const auto rate = run.counters.find("bytes_per_second");
      if (slot == nullptr || run.error_occurred || rate == run.counters.end()) continue;
      if (run.run_type == Run::RT_Iteration ? !repeated_.contains(name)
                                            : run.aggregate_name == "median") {
        *slot = rate->second.value;
        if (run.run_type == Run::RT_Aggregate) repeated_.insert(name);
      }
    }
    ConsoleReporter::ReportRuns(reports);
  }

  void PrintRatio() const {
    if (!lumivex_ && !openSsl_) return;
    if (!lumivex_ || !openSsl_) {
      std::printf("triple DES ECB, 4 KiB: no ratio, %s was not measured\n",
                  lumivex_ ? kOpenSsl.c_str() : kLumivex.c_str());
      return;
    }
    constexpr double kMiB = 1024.0 * 1024.0;
    std::printf("triple DES ECB, 4 KiB: lumivex %.1f MiB/s, OpenSSL %.1f MiB/s, ratio %.2f\n",
                *lumivex_ / kMiB, *openSsl_ / kMiB, *lumivex_ / *openSsl_);
  }

 private:
  std::optional<double> lumivex_;
  std::optional<double> openSsl_;
  std::set<std::string> repeated_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  reporter.PrintRatio();
  return 0;
}
