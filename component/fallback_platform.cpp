#include "component/fallback_platform.h"

#include <random>

#include "platform/host.h"
#include "platform/pcsc_api.h"
#include "platform/text/windows_1252_code_page.h"

namespace lumivex {

namespace {

class FallbackHost : public Host {
 public:
  std::chrono::system_clock::time_point Now() override { return std::chrono::system_clock::now(); }
  LocalDateTime LocalNow() override { return {}; }
  void WaitPumpingMessages(std::chrono::milliseconds /*duration*/) override {}
  void Randomize(std::uint64_t seed) override { generator_.seed(seed); }
  double Random() override { return uniform_(generator_); }
  bool FillRandom(std::span<std::uint8_t> /*bytes*/) override { return false; }

 private:
  std::mt19937_64 generator_{0};  // NOLINT(cert-msc32-c,cert-msc51-cpp): Randomize reseeds it
  std::uniform_real_distribution<double> uniform_{0.0, 1.0};
};

class UnavailablePcsc : public PcscApi {
 public:
  PcscLong EstablishContext(PcscDword, PcscContext*) override { Fail(); }
  PcscLong ReleaseContext(PcscContext) override { Fail(); }
  PcscLong ListReaders(PcscContext, char*, PcscDword*) override { Fail(); }
  PcscLong Connect(PcscContext, const std::string&, PcscDword, PcscDword, PcscHandle*,
                   PcscDword*) override {
    Fail();
  }
  PcscLong Disconnect(PcscHandle, PcscDword) override { Fail(); }
  PcscLong Status(PcscHandle, std::string*, PcscDword*, PcscDword*, std::uint8_t*,
                  PcscDword*) override {
    Fail();
  }
  PcscLong GetAttrib(PcscHandle, PcscDword, std::uint8_t*, PcscDword*) override { Fail(); }
  PcscLong Transmit(PcscHandle, const PcscIoRequest*, const std::uint8_t*, PcscDword,
                    PcscIoRequest*, std::uint8_t*, PcscDword*) override {
    Fail();
  }

 private:
  [[noreturn]] static void Fail() { throw PcscCallError(53, "PC/SC library not available"); }
};

}  // namespace

Platform WithFallbacks(Platform platform) {
  if (!platform.host) platform.host = std::make_shared<FallbackHost>();
  if (!platform.pcsc) platform.pcsc = std::make_shared<UnavailablePcsc>();
  if (!platform.codePage) platform.codePage = std::make_shared<Windows1252CodePage>();
  return platform;
}

}  // namespace lumivex
