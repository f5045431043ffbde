// Value blocks, sector trailers and the host's access conditions.
#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "component/hex.h"
#include "component/mifare/access_bits.h"
#include "component/mifare/mifare_classic.h"

namespace lumivex {

namespace {

constexpr std::int32_t kKeyDigits = 12;

std::uint8_t HexByteAt(const std::string& text, std::size_t position) {
  return static_cast<std::uint8_t>(std::stoul(text.substr(position, 2), nullptr, 16));
}

}  // namespace

sceReturnCode MifareClassic::WriteValueBloc(std::int32_t BlocNumber, const std::string& Key,
                                            std::uint8_t KeyType, std::int32_t Value) {
  Operation operation(reporting_, {.name = "MifareWriteValueBloc"});
  return operation.Run([&] {
    // Remembered whether or not the write succeeds: the trailer conversion asks for it.
    valueBlocs_.push_back(BlocNumber);
    std::string block = mifare::ValueBlocText(Value);
    return WriteDataBloc(BlocNumber, Key, KeyType, block) == sceError ? Failed() : Succeeded();
  });
}

sceReturnCode MifareClassic::ReadSectorTrailer(std::int32_t SectorNumber, const std::string& Key,
                                               std::uint8_t KeyType, TrailerLevels& trailer) {
  Operation operation(reporting_, {.name = "MifareReadSectorTrailer"});
  return operation.Run([&] {
    std::string block;  // key B shows in it when the access bits let it be read
    const WipeOnExit wipeBlock(block);
    if (ReadDataBloc(mifare::SectorTrailerBloc(SectorNumber), Key, KeyType, block) == sceError) {
      return Failed();
    }
    std::string digits = block;
    const WipeOnExit wipeDigits(digits);
    if (!IsHexString(digits, 32)) {
      reporting_.record.FailIfNone(failure::kReadError);
      return Failed();
    }
    // Bytes 7 and 8 hold C1, C2 and C3 plainly; byte 6 (inverted copies) is not read.
    const std::uint8_t byte7 = HexByteAt(digits, 14);
    const std::uint8_t byte8 = HexByteAt(digits, 16);
    for (int bloc = 0; bloc < 3; ++bloc) {
      trailer.blocks.at(static_cast<std::size_t>(bloc)) =
          mifare::DataBlockLevelOfPattern(mifare::AccessPattern(byte7, byte8, bloc));
    }
    const int pattern = mifare::AccessPattern(byte7, byte8, 3);
    trailer.keysUsed = mifare::TrailerKeysUsedOfPattern(pattern);
    trailer.conditions = mifare::TrailerLevelOfPattern(pattern);
    trailer.bx = HexByteAt(digits, 18);
    return Succeeded();
  });
}

sceReturnCode MifareClassic::WriteSectorTrailer(std::int32_t SectorNumber, const std::string& Key,
                                                std::uint8_t KeyType, const std::string& KeyA,
                                                const std::string& KeyB,
                                                const TrailerRequest& request) {
  static constexpr const char* kName = "MifareWriteSectorTrailer";
  Operation operation(reporting_, {.name = kName});
  return operation.Run([&] {
    const auto refuse = [&](const Failure& failure) {
      reporting_.record.Fail(failure, kName);
      return Refused();
    };
    std::string keyA = KeyA;
    std::string keyB = KeyB;
    const WipeOnExit wipeKeyA(keyA);
    const WipeOnExit wipeKeyB(keyB);
    if (!IsHexString(keyA, kKeyDigits) || !IsHexString(keyB, kKeyDigits)) {
      return refuse(failure::kKeyNot12Hex);
    }
    const std::array<std::int32_t, 4> levels{request.blocks[0], request.blocks[1],
                                             request.blocks[2], request.conditions};
    if (std::any_of(levels.begin(), levels.end(),
                    [](std::int32_t level) { return level < -1 || level > 15; })) {
      return refuse(failure::kInvalidSecurity);
    }
    std::optional<std::uint8_t> bx;
    if (request.bx.has_value()) {
      bx = request.bx->ToByte();
      if (!bx.has_value()) return refuse(failure::kIncorrectBX);
    }
    const std::int32_t trailerBloc = mifare::SectorTrailerBloc(SectorNumber);
    // The new keys travel as block data, which the trace does not mask by itself.
    reporting_.trace.RememberSecret(keyA);
    reporting_.trace.RememberSecret(keyB);

    TrailerLevels current;
    if (ReadSectorTrailer(SectorNumber, Key, KeyType, current) == sceError) return Failed();
    const auto keep = [](std::int32_t given, std::int32_t current) {
      return given == -1 ? current : given;
    };
    const auto isValueBloc = [&](std::int32_t bloc) {
      return std::find(valueBlocs_.begin(), valueBlocs_.end(), bloc) != valueBlocs_.end();
    };
    // Every bit of the three access bytes is placed below (four blocks, each with its own bits in
    // every byte), so nothing of the bytes as read survives the conversion.
    mifare::AccessBytes access{};
    const std::int32_t firstBloc = trailerBloc - 3;
    std::array<int, 4> statuses{};
    for (std::size_t bloc = 0; bloc < 3; ++bloc) {
      statuses.at(bloc) = mifare::DataBlockLevelToBits(
          keep(request.blocks.at(bloc), current.blocks.at(bloc)), request.keysToUse,
          mifare::kBlockMasks.at(bloc), access,
          isValueBloc(firstBloc + static_cast<std::int32_t>(bloc)), accessConditions_);
    }
    statuses[3] = mifare::TrailerLevelToBits(keep(request.conditions, current.conditions),
                                             request.keysToUse, mifare::kTrailerMask, access);
    if (std::any_of(statuses.begin(), statuses.end(),
                    [](int status) { return status != mifare::kConverted; })) {
      return refuse(failure::kInvalidSecurity);
    }
    std::string block = keyA;
    const WipeOnExit wipeBlock(block);
    for (const std::uint8_t byte : access) block += mifare::HexByte(byte);
    block += mifare::HexByte(bx.value_or(current.bx));
    block += keyB;
    return WriteDataBloc(trailerBloc, Key, KeyType, block) == sceError ? Failed() : Succeeded();
  });
}

void MifareClassic::SetAccessCondition(std::int32_t AccessConditionNumber,
                                       const std::string& NewValue) {
  // Deliberately silent: a number outside 1..9 or a text other than three bits changes nothing.
  try {
    if (AccessConditionNumber >= 1 && AccessConditionNumber <= 9 &&
        mifare::IsAccessBitText(NewValue)) {
      accessConditions_.at(static_cast<std::size_t>(AccessConditionNumber)) = NewValue;
    }
  } catch (...) {  // NOLINT(bugprone-empty-catch): nothing may reach the host
  }
}

}  // namespace lumivex
