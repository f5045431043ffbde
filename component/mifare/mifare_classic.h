// MIFARE Classic operations of the Encoder: 16-byte blocks read and written with the key inside
// the reader's command (the reader authenticates and transfers in one exchange), the manufacturer
// block, a byte range inside a block, value blocks, sector trailers and the host's access
// conditions. Operations that build on others call them as the host would, each in its own frame.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "component/operation.h"
#include "component/types.h"
#include "component/variant.h"

namespace lumivex {

class CommandEngine;
class ReaderSession;

namespace crypto {
class DES;
}

// A sector trailer in the host's terms: the keys its levels use, the levels of the sector's three
// data blocks and of the trailer itself, and the general-purpose byte BX.
struct TrailerLevels {
  std::uint8_t keysUsed = 0;
  std::array<SCBS_SecurityLevelEnum, 3> blocks{scbs_A_Nothing, scbs_A_Nothing, scbs_A_Nothing};
  SCSS_SecurityLevelEnum conditions = scss_A_Nothing;
  std::uint8_t bx = 0;
};

// What a trailer write asks for besides the keys: a level of -1 keeps the one the card holds, and
// so does a BX left out.
struct TrailerRequest {
  std::uint8_t keysToUse = 0;
  std::array<SCBS_SecurityLevelEnum, 3> blocks{};
  SCSS_SecurityLevelEnum conditions{};
  std::optional<Variant> bx;
};

class MifareClassic {
 public:
  MifareClassic(Reporting& reporting, ReaderSession& session, CommandEngine& engine,
                crypto::DES& des)
      : reporting_(reporting), session_(session), engine_(engine), des_(des) {}

  // ---- Blocks (mifare_classic.cpp) ----
  sceReturnCode ReadDataBloc(std::int32_t BlocNumber, const std::string& Key, std::uint8_t KeyType,
                             std::string& BlocContents);
  sceReturnCode WriteDataBloc(std::int32_t BlocNumber, const std::string& Key, std::uint8_t KeyType,
                              std::string& BlocContents);
  sceReturnCode ReadManufacturerCode(const std::string& Key, std::uint8_t KeyType,
                                     std::int32_t& SerialNumber, std::uint8_t& CheckSum,
                                     std::string& ManufacturerInfo);
  sceReturnCode WriteBytesInBloc(std::int32_t BlocNumber, const std::string& Key,
                                 std::uint8_t KeyType, std::uint8_t FromByte, std::uint8_t ToByte,
                                 std::string& BlocContents);

  // ---- Value blocks, sector trailers, access conditions (mifare_trailers.cpp) ----
  sceReturnCode WriteValueBloc(std::int32_t BlocNumber, const std::string& Key,
                               std::uint8_t KeyType, std::int32_t Value);
  sceReturnCode ReadSectorTrailer(std::int32_t SectorNumber, const std::string& Key,
                                  std::uint8_t KeyType, TrailerLevels& trailer);
  // The new keys stay apart from the levels: they are secrets, wiped where they are copied.
  sceReturnCode WriteSectorTrailer(std::int32_t SectorNumber, const std::string& Key,
                                   std::uint8_t KeyType, const std::string& KeyA,
                                   const std::string& KeyB, const TrailerRequest& request);
  void SetAccessCondition(std::int32_t AccessConditionNumber, const std::string& NewValue);

 private:
  // Loads the key into the reader, then authenticates the block with it. No operation of the
  // host uses this two-step way; the block operations send the key inside their commands.
  sceReturnCode Authenticate(std::uint8_t keyType, std::int32_t blocNumber, const std::string& key);

  Reporting& reporting_;
  ReaderSession& session_;
  CommandEngine& engine_;
  crypto::DES& des_;
  // Blocks written as value blocks: the trailer conversion asks whether a block is one.
  std::vector<std::int32_t> valueBlocs_;
  // The host's replacements of the default access bits, numbered 1 to 9 ("" keeps the default).
  std::array<std::string, 10> accessConditions_;
};

}  // namespace lumivex
