// An Encoder wired to a scripted reader and virtual time, with its trace collected:
//
//   test::ScriptedEncoder bench;
//   bench.Open();                                  // opened on "Scripted Reader 0", card present
//   bench.pcsc->Expect("FFCA000000", "04A1B2C3 9000");
//   bench.encoder.ReadSerialNumber(serial);
//
// Its host's cryptographic generator gives 00 11 22 ... 77, so the card's side of a DESFire
// authentication can be scripted and the session key is known (Authenticate).
#pragma once

#include <memory>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "component/encoder.h"
#include "crypto/des.h"
#include "tests/support/scripted_pcsc.h"
#include "tests/support/virtual_host.h"

namespace lumivex::test {

inline constexpr const char* kRndA = "0011223344556677";
inline constexpr const char* kRndB = "8899AABBCCDDEEFF";

inline std::string Compact(std::string text) {
  std::erase(text, ' ');
  return text;
}

inline std::string Xor(const std::string& a, const std::string& b) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out;
  for (std::size_t i = 0; i < a.size(); ++i)
    out += kDigits[std::stoi(a.substr(i, 1), nullptr, 16) ^ std::stoi(b.substr(i, 1), nullptr, 16)];
  return out;
}

// The cipher's mode word for triple DES (EDE) in ECB: with equal halves it is single DES.
inline constexpr std::int32_t kTripleEcb = 1;

// Blocks through a card key in ECB: 16 digits are single DES, 32 digits two-key triple DES.
inline std::string CardDes(const std::string& key, const std::string& hex, bool encipher) {
  crypto::DES des;
  des.Keys(1, key.substr(0, 16));
  des.Keys(2, key.substr(key.size() - 16));
  des.Keys(3, key.substr(0, 16));
  return Compact(encipher ? des.Encrypt(hex, kTripleEcb) : des.Decrypt(hex, kTripleEcb));
}

// What the card reads from a cryptogram the reader sent: each block enciphered, then joined to
// the previous cryptogram block.
inline std::string CardPlain(const std::string& session, const std::string& cryptogram) {
  std::string plain, previous(16, '0');
  for (std::size_t at = 0; at < cryptogram.size(); at += 16) {
    const std::string block = cryptogram.substr(at, 16);
    plain += Xor(CardDes(session, block, true), previous);
    previous = block;
  }
  return plain;
}

// The last-error record as one value: number, description, function, reader command and answer.
inline auto Record(Encoder& e) {
  const CError& r = e.LastError();
  return std::make_tuple(r.Number(), r.Description(), r.ComFunction(), r.RdrCommand(),
                         r.RdrRetCode());
}

inline std::string Crc(const std::string& hex) {
  return Compact(crypto::DES().CRC16(hex));
}

struct ScriptedEncoder {
  explicit ScriptedEncoder(std::shared_ptr<RegistryApi> registry = nullptr,
                           std::shared_ptr<Dialogs> dialogs = nullptr)
      : encoder(Platform{pcsc, host, std::move(registry), std::move(dialogs)}) {
    encoder.SetTraceSink([this](std::string_view line) { trace.emplace_back(line); });
    encoder.Parameters(std::string("Device=") + ScriptedPcsc::kReaderName);
  }

  // Opens the encoder with the card present, then forgets the calls and the trace so far.
  void Open() {
    ASSERT_EQ(encoder.OpenEncoder(0), sceSuccess);
    ASSERT_EQ(encoder.LastError().Number(), 0);
    pcsc->ClearLog();
    trace.clear();
  }

  // Scripts the card's side of selecting `app` and authenticating with key `keyNumber` (`key`:
  // 16 or 32 digits); returns the session key both sides then hold. With `lost`, the reader
  // fails the last frame with that code instead.
  std::string ExpectAuthentication(const std::string& app, int keyNumber, const std::string& key,
                                   const std::string& rndB = kRndB, std::uint32_t lost = 0) {
    const char number[] = {'0', "0123456789ABCD"[keyNumber], 0};
    pcsc->Expect("905A000003" + app + "00", "9100");
    pcsc->Expect(std::string("900A000001") + number + "00", CardDes(key, rndB, true) + "91AF");
    const std::string first = CardDes(key, kRndA, false);
    const std::string second = CardDes(key, Xor(rndB.substr(2) + rndB.substr(0, 2), first), false);
    const std::string rotatedA = std::string(kRndA).substr(2) + std::string(kRndA).substr(0, 2);
    const std::string token = "90AF000010" + first + second + "00";
    if (lost != 0) pcsc->ExpectFailure(token, lost);
    if (lost == 0) pcsc->Expect(token, CardDes(key, rotatedA, true) + "9100");
    const std::string a = kRndA;
    const std::size_t half = key.size() == 32 ? 8 : 0;
    return a.substr(0, 8) + rndB.substr(0, 8) + a.substr(half, 8) + rndB.substr(half, 8);
  }

  // Selects and authenticates through the public member, then forgets the calls and the trace.
  std::string Authenticate(const std::string& app, int keyNumber, const std::string& key) {
    const std::string session = ExpectAuthentication(app, keyNumber, key);
    EXPECT_EQ(encoder.DESFireSelectApplication(app, keyNumber, key), sceSuccess)
        << encoder.LastError().Description() << " " << encoder.LastError().RdrRetCode();
    EXPECT_EQ(pcsc->PendingFrames(), 0U);
    pcsc->ClearLog();
    trace.clear();
    return session;
  }

  std::shared_ptr<ScriptedPcsc> pcsc = std::make_shared<ScriptedPcsc>();
  std::shared_ptr<FixedRandomHost> host = std::make_shared<FixedRandomHost>();
  std::vector<std::string> trace;
  Encoder encoder;
};

}  // namespace lumivex::test
