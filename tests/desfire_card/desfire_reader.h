// The reader side of the native DESFire protocol for the card tests, with OpenSSL's DES as an
// independent oracle for every cryptogram the card checks or produces.
#pragma once

#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/des.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "crypto/hex_codec.h"
#include "sim/desfire/desfire_card.h"

namespace desfire_test {

using Bytes = std::vector<std::uint8_t>;

inline Bytes Hex(const std::string& text) {
  return lumivex::crypto::ParseHex(text, lumivex::crypto::Separators::kSkipped);
}

template <typename... More>
Bytes Cat(Bytes a, const More&... more) {
  (a.insert(a.end(), more.begin(), more.end()), ...);
  return a;
}

inline Bytes RotateLeft(const Bytes& b) {
  return Cat(Bytes(b.begin() + 1, b.end()), Bytes{b[0]});
}

inline Bytes Part(const Bytes& b, std::size_t at, std::size_t n) {
  return Bytes(b.begin() + at, b.begin() + at + n);
}

// CRC_A bit by bit (reflected polynomial 0x8408, initial 0x6363), low byte first.
inline Bytes Crc(const Bytes& data) {
  std::uint16_t crc = 0x6363;
  for (std::uint8_t b : data) {
    crc ^= b;
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) ? (crc >> 1) ^ 0x8408 : crc >> 1;
  }
  return {static_cast<std::uint8_t>(crc & 0xFF), static_cast<std::uint8_t>(crc >> 8)};
}

// One 8-byte block through 2K3DES EDE (K1, K2, K1); equal halves make it single DES.
inline Bytes Block(const Bytes& key, const std::uint8_t* in, bool encipher) {
  DES_cblock k1, k2, input, output;
  std::memcpy(k1, key.data(), 8);
  std::memcpy(k2, key.data() + 8, 8);
  std::memcpy(input, in, 8);
  DES_key_schedule s1, s2;
  DES_set_key_unchecked(&k1, &s1);
  DES_set_key_unchecked(&k2, &s2);
  DES_ecb3_encrypt(&input, &output, &s1, &s2, &s1, encipher ? DES_ENCRYPT : DES_DECRYPT);
  return Bytes(output, output + 8);
}

inline Bytes Pad8(Bytes data) {
  data.resize((data.size() + 7) / 8 * 8, 0);
  return data;
}

// One CBC loop with an all-zero IV for the three ways a reader chains blocks. Sending: each block
// XORed with the previous output, then deciphered. Receiving: deciphered, then XORed with the
// previous ciphertext. MAC: XORed with the previous output, then enciphered.
inline Bytes Cbc(const Bytes& key, const Bytes& data, bool receive, bool encipher = false) {
  Bytes in = Pad8(data), out, previous(8, 0);
  for (std::size_t at = 0; at < in.size(); at += 8) {
    Bytes block = Part(in, at, 8);
    if (!receive)
      for (int i = 0; i < 8; ++i) block[i] ^= previous[i];
    Bytes result = Block(key, block.data(), encipher);
    if (receive)
      for (int i = 0; i < 8; ++i) result[i] ^= previous[i];
    previous = receive ? block : result;
    out = Cat(out, result);
  }
  return out;
}
inline Bytes SendMode(const Bytes& key, const Bytes& plain) {
  return Cbc(key, plain, false);
}
inline Bytes CbcDecipher(const Bytes& key, const Bytes& cipher) {
  return Cbc(key, cipher, true);
}
inline Bytes Mac(const Bytes& key, const Bytes& data) {
  const Bytes chain = Cbc(key, data, false, true);
  return Part(chain, chain.size() - 8, 4);
}

struct Answer {
  Bytes data;
  int sw = 0;
};

class Reader {
 public:
  explicit Reader(const lumivex::sim::DesfireOptions& options = {})
      : card(lumivex::sim::MakeDesfire(options)) {}

  // One frame: 90 INS 00 00 [Lc data] 00.
  Answer Frame(std::uint8_t ins, const Bytes& data = {}) {
    Bytes apdu{0x90, ins, 0x00, 0x00};
    if (!data.empty()) apdu.push_back(static_cast<std::uint8_t>(data.size()));
    apdu = Cat(apdu, data);
    apdu.push_back(0x00);
    Bytes r = card->Transmit(apdu);
    return {Bytes(r.begin(), r.end() - 2), r[r.size() - 2] << 8 | r.back()};
  }

  // A command and the continuation frames of its answer.
  Answer Run(std::uint8_t ins, const Bytes& data = {}) {
    Answer all = Frame(ins, data);
    while (all.sw == 0x91AF) {
      Answer next = Frame(0xAF);
      all.data = Cat(all.data, next.data);
      all.sw = next.sw;
    }
    return all;
  }

  // The native three-pass authentication; the session key follows the card's key kind.
  int Authenticate(std::uint8_t keyNumber, const Bytes& key,
                   const Bytes& rndA = Hex("0123456789ABCDEF")) {
    Answer first = Frame(0x0A, {keyNumber});
    if (first.sw != 0x91AF) return first.sw;
    const Bytes rndB = CbcDecipher(key, first.data);
    Answer second = Frame(0xAF, SendMode(key, Cat(rndA, RotateLeft(rndB))));
    if (second.sw != 0x9100) return second.sw;
    if (CbcDecipher(key, second.data) != RotateLeft(rndA)) return -1;
    const bool single = Part(key, 0, 8) == Part(key, 8, 8);
    session = Cat(Part(rndA, 0, 4), Part(rndB, 0, 4));
    session = Cat(session, single ? session : Cat(Part(rndA, 4, 4), Part(rndB, 4, 4)));
    authenticatedKey = keyNumber;
    return second.sw;
  }

  int ChangeKey(std::uint8_t keyNumber, const Bytes& oldKey, const Bytes& newKey) {
    Bytes x(16);
    for (int i = 0; i < 16; ++i) x[i] = oldKey[i] ^ newKey[i];
    const Bytes plain = keyNumber == authenticatedKey ? Cat(newKey, Crc(newKey), Bytes(6, 0))
                                                      : Cat(x, Crc(x), Crc(newKey), Bytes(4, 0));
    return Run(0xC4, Cat({keyNumber}, SendMode(session, plain))).sw;
  }

  int ChangeKeySettings(std::uint8_t settings) {
    return Run(0x54, SendMode(session, Cat({settings}, Crc({settings}), Bytes(5, 0)))).sw;
  }

  std::shared_ptr<lumivex::sim::SimCard> card;
  Bytes session;
  int authenticatedKey = -1;
};

inline const Bytes kZero(16, 0);  // the factory key
inline const Bytes kAid = Hex("A1B2C3");

// A fresh card with application A1B2C3 (default settings, three keys) created and selected.
class InApplication : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(r.Run(0xCA, Cat(kAid, Bytes{0x0F, 3})).sw, 0x9100);
    ASSERT_EQ(r.Run(0x5A, kAid).sw, 0x9100);
  }
  int Send(std::uint8_t command, const std::string& hex) { return r.Run(command, Hex(hex)).sw; }
  Reader r;
};

}  // namespace desfire_test
