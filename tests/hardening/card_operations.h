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

// An application 112233 holding a 100-byte data file 1 (written), a value file 2 and a linear
// record file 3 with one record, all plain; the application is selected with its key 0.
inline void PrepareDesfireApplication(Encoder& e) {
  std::string data(200, 'A');
  const bool ready =
      e.DESFireSelectRoot(kDesfireKey) == sceSuccess &&
      e.DESFireCreateApplication("112233", dfkApplDefault, 2) == sceSuccess &&
      e.DESFireSelectApplication("112233", 0, kDesfireKey) == sceSuccess &&
      e.DESFireCreateStdDataFile(1, dfcPlain, 0, 0, 0, 0, 100) == sceSuccess &&
      e.DESFireWriteData(1, 0, 100, data, true) == sceSuccess &&
      e.DESFireCreateValueFile(2, dfcPlain, 0, 0, 0, 0, -100, 1000, 10, true) == sceSuccess &&
      e.DESFireCreateLinearRecordFile(3, dfcPlain, 0, 0, 0, 0, 8, 4) == sceSuccess &&
      e.DESFireWriteRecord(3, 0, 8, "record 1", false) == sceSuccess &&
      e.DESFireCommitTransaction() == sceSuccess;
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
      {"Escape", Card::Desfire, 1, false, 0, true, engine, true,
       [](E& e, S& out) { return e.Escape("90 60 00 00 00", out); }},
      {"EscapeExt", Card::Mifare, 1, false, 0, true, engine, true,
       [](E& e, S& out) {
         S sw;
         const sceReturnCode result = e.EscapeExt("ff ca 00 00 00", out, sw);
         out += sw;
         return result;
       }},
      {"MifareReadDataBloc", Card::Mifare, 1, false, 0, false, engine, true,
       [](E& e, S& out) { return e.MifareReadDataBloc(4, kMifareKey, 0, out); }},
      {"MifareWriteDataBloc", Card::Mifare, 1, false, 0, false, engine, true,
       [](E& e, S& out) {
         out = "00112233445566778899AABBCCDDEEFF";
         return e.MifareWriteDataBloc(4, kMifareKey, 0, out);
       }},
      {"MifareReadManufacturerCode", Card::Mifare, 1, false, 0, true, engine, true,
       [](E& e, S& out) {
         std::int32_t serial = 0;
         std::uint8_t checkSum = 0;
         return e.MifareReadManufacturerCode(kMifareKey, 0, serial, checkSum, out);
       }},
      {"MifareWriteBytesInBloc", Card::Mifare, 2, false, 0, false, engine, true,
       [](E& e, S& out) {
         out = "A1B2C3";
         return e.MifareWriteBytesInBloc(5, kMifareKey, 0, 3, 5, out);
       }},
      {"MifareWriteValueBloc", Card::Mifare, 1, false, 0, false, engine, true,
       [](E& e, S&) { return e.MifareWriteValueBloc(6, kMifareKey, 0, -1000); }},
      {"MifareReadSectorTrailer", Card::Mifare, 1, false, 0, false, engine, true,
       [](E& e, S&) {
         std::uint8_t keysUsed = 0;
         std::uint8_t bx = 0;
         SCBS_SecurityLevelEnum s0{}, s1{}, s2{};
         SCSS_SecurityLevelEnum conditions{};
         return e.MifareReadSectorTrailer(1, kMifareKey, 0, keysUsed, s0, s1, s2, conditions, bx);
       }},
      {"MifareWriteSectorTrailer", Card::Mifare, 2, false, 0, false, engine, true,
       [](E& e, S&) {
         const auto all = static_cast<SCBS_SecurityLevelEnum>(scbs_A_ReadWrite | scbs_B_ReadWrite);
         return e.MifareWriteSectorTrailer(2, kMifareKey, 0, "FFFFFFFFFFFF", "FFFFFFFFFFFF", 1, all,
                                           all, all, scss_A_WriteKeysConditions);
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
      {"DESFireGetApplications", Card::Desfire, 1, true, 0, false, desfire, false,
       [](E& e, S& out) { return e.DESFireGetApplications(out); },
       [](E& e) {
         PrepareDesfireApplication(e);
         if (e.DESFireSelectRoot(kDesfireKey) != sceSuccess) throw std::runtime_error("no root");
       }},
      {"DESFireGetFileSettings", Card::Desfire, 1, true, 0, false, desfire, false,
       [](E& e, S& out) { return e.DESFireGetFileSettings(1, out); }, PrepareDesfireApplication},
      {"DESFireReadData", Card::Desfire, 3, true, 3, false, desfire, false,
       [](E& e, S& out) { return e.DESFireReadData(1, 0, 0, out, true); },
       PrepareDesfireApplication},
      {"DESFireWriteData", Card::Desfire, 3, true, 0, false, desfire, false,
       [](E& e, S&) { return e.DESFireWriteData(1, 0, 80, S(160, 'B'), true); },
       PrepareDesfireApplication},
      {"DESFireGetValue", Card::Desfire, 2, true, 0, false, desfire, false,
       [](E& e, S&) {
         std::int32_t value = 0;
         return e.DESFireGetValue(2, value);
       },
       PrepareDesfireApplication},
      {"DESFireReadRecords", Card::Desfire, 2, true, 0, false, desfire, false,
       [](E& e, S& out) { return e.DESFireReadRecords(3, 0, 1, out, false); },
       PrepareDesfireApplication},
  };
  return table;
}

}  // namespace lumivex::test
