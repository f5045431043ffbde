// The public card operations the hardening tests put under a broken card, one row each: what a
// good card costs in frames, whether the operation follows continuation frames, and what it
// records when the transport fails.
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "component/encoder.h"
#include "component/error_codes.h"

namespace lumivex::test {

enum class Card { Mifare, Desfire };

struct Operation {
  const char* name;  // what the operation records as the failing function
  Card card;
  std::size_t frames;             // frames a good card exchanges for it
  bool chains;                    // follows 91AF continuation frames
  std::size_t continuedAt;        // the first continuation frame a good card needs (0: none)
  bool clearsOutput;              // its output is "" after a failure
  std::int32_t transportFailure;  // the number a failed frame leaves in the record
  // Takes the card anew before sending (DESFire operations work on the connection as it stands).
  bool reconnects;
  std::function<sceReturnCode(Encoder&, std::string& output)> run;
  // Brings a good card to where the operation makes sense (selected, authenticated, files made).
  std::function<void(Encoder&)> prepare = nullptr;
};

inline constexpr const char* kMifareKey = "FF FF FF FF FF FF";
inline constexpr const char* kDesfireKey = "00000000000000000000000000000000";

// An application 112233 holding a 100-byte plain data file 1 (written), selected
// with the application's key 0.
inline void PrepareDesfireApplication(Encoder& e) {
  std::string data(200, 'A');
  const bool ready = e.DESFireSelectRoot(kDesfireKey) == sceSuccess &&
                     e.DESFireCreateApplication("112233", dfkApplDefault, 2) == sceSuccess &&
                     e.DESFireSelectApplication("112233", 0, kDesfireKey) == sceSuccess &&
                     e.DESFireCreateStdDataFile(1, dfcPlain, 0, 0, 0, 0, 100) == sceSuccess &&
                     e.DESFireWriteData(1, 0, 100, data, true) == sceSuccess;
  if (!ready)
    throw std::runtime_error("DESFire preparation failed: " + e.LastError().Description());
}

inline const std::vector<Operation>& Operations() {
  using E = Encoder;
  using S = std::string;
  constexpr std::int32_t engine = err::kCommandFailed;
  constexpr std::int32_t desfire = err::kOperationFailed;
  static const std::vector<Operation> table = {
      {"ReadSerialNumber", Card::Mifare, 1, false, 0, true, engine, true,
       [](E& e, S& out) { return e.ReadSerialNumber(out); }},
      {"ReadSerialNumber", Card::Desfire, 1, false, 0, true, engine, true,
       [](E& e, S& out) { return e.ReadSerialNumber(out); }},
      {"EscapeExt", Card::Mifare, 1, false, 0, true, engine, true,
       [](E& e, S& out) {
         S sw;
         const sceReturnCode result = e.EscapeExt("ff ca 00 00 00", out, sw);
         out += sw;
         return result;
       }},
      {"MifareReadDataBloc", Card::Mifare, 1, false, 0, false, engine, true,
       [](E& e, S& out) { return e.MifareReadDataBloc(4, kMifareKey, 0, out); }},
      {"MifareWriteBytesInBloc", Card::Mifare, 2, false, 0, false, engine, true,
       [](E& e, S& out) {
         out = "A1B2C3";
         return e.MifareWriteBytesInBloc(5, kMifareKey, 0, 3, 5, out);
       }},
      {"DESFireSelectRoot", Card::Desfire, 3, false, 0, false, engine, false,
       [](E& e, S&) { return e.DESFireSelectRoot(kDesfireKey); }},
      {"DESFireGetVersion", Card::Desfire, 3, true, 2, false, desfire, false,
       [](E& e, S& out) {
         Variant information;
         const sceReturnCode result = e.DESFireGetVersion(dfvAllData, information);
         if (information.AsText() != nullptr) out = *information.AsText();
         return result;
       }},
      {"DESFireReadData", Card::Desfire, 3, true, 3, false, desfire, false,
       [](E& e, S& out) { return e.DESFireReadData(1, 0, 0, out, true); },
       PrepareDesfireApplication},
      {"DESFireWriteData", Card::Desfire, 3, true, 0, false, desfire, false,
       [](E& e, S&) { return e.DESFireWriteData(1, 0, 80, S(160, 'B'), true); },
       PrepareDesfireApplication},
  };
  return table;
}

}  // namespace lumivex::test
