// MIFARE Classic block access: read and write a 16-byte block with the key inside the reader's
// command, the manufacturer block, a byte range inside a block, and the two-step authentication.
#include <cstdint>
#include <string>
#include <variant>

#include "component/encoder.h"
#include "component/error_codes.h"
#include "component/hex.h"
#include "component/mifare/access_bits.h"
#include "component/mifare/operation_frame.h"
#include "crypto/des.h"

namespace lumivex {

using mifare::Outcome;

namespace {

constexpr std::size_t kBlocDigits = 32;
// ConvertData: any hex text in, compact hex text out.
constexpr std::int32_t kHexTextOutput =
    crypto::ConvertMode(crypto::DataForm::kSpacedHex, crypto::DataForm::kCompactHex);

bool IsBlocText(const std::string& text) {
  std::string copy = text;
  return IsHexString(copy, static_cast<std::int32_t>(kBlocDigits));
}

}  // namespace

std::string Encoder::NormaliseMifareKey(const std::string& key) {
  std::string normalised = key;
  try {
    crypto::ConvertValue converted = Des().ConvertData(crypto::ConvertValue{key}, kHexTextOutput);
    if (auto* text = std::get_if<std::string>(&converted)) {
      normalised = *text;
      crypto::SecureWipe(*text);
    } else if (std::holds_alternative<std::monostate>(converted)) {
      normalised.clear();
    }
  } catch (...) {
    // A key that does not convert travels as given; the reader refuses the frame it makes.
  }
  return normalised;
}

void Encoder::MifareErrorIfNone(std::int32_t Number, const char* Description) {
  if (LastError().Number() == 0) SetLastError({Number, Description, {}, {}, {}, {}});
}

sceReturnCode Encoder::MifareReadDataBloc(std::int32_t BlocNumber, const std::string& Key,
                                          [[maybe_unused]] std::uint8_t KeyType,
                                          std::string& BlocContents) {
  static constexpr const char* kName = "MifareReadDataBloc";
  return MifareOperation(kName, [&] {
    if (SelectCardInRange() == sceError) return Outcome::kFailed;
    BlocContents.clear();
    std::string key = NormaliseMifareKey(Key);
    const mifare::WipedOnExit wipeKey(key);
    // The frame carries only the key value: KeyType does not change it.
    std::string response;
    std::string statusWord;
    bool autoContinue = false;
    if (EncoderCommand(cmd::MifareClassicRead, {mifare::BlocByte(BlocNumber), key}, response,
                       statusWord, autoContinue) != sceSuccess) {
      return Outcome::kFailed;
    }
    BlocContents = response;
    return Outcome::kSuccess;
  });
}

sceReturnCode Encoder::MifareWriteDataBloc(std::int32_t BlocNumber, const std::string& Key,
                                           [[maybe_unused]] std::uint8_t KeyType,
                                           std::string& BlocContents) {
  static constexpr const char* kName = "MifareWriteDataBloc";
  return MifareOperation(kName, [&] {
    if (!IsHexString(BlocContents, static_cast<std::int32_t>(kBlocDigits))) {
      SetLastError(
          {err::kBlocNot32Hex, "A data bloc must contain 32 hex digits", 0, kName, "", ""});
      return Outcome::kRecorded;
    }
    if (SelectCardInRange() == sceError) return Outcome::kFailed;
    std::string key = NormaliseMifareKey(Key);
    const mifare::WipedOnExit wipeKey(key);
    // The frame carries only the key value: KeyType does not change it.
    std::string response;
    std::string statusWord;
    bool autoContinue = false;
    if (EncoderCommand(cmd::MifareClassicWrite, {mifare::BlocByte(BlocNumber), key, BlocContents},
                       response, statusWord, autoContinue) != sceSuccess) {
      return Outcome::kFailed;
    }
    return Outcome::kSuccess;
  });
}

sceReturnCode Encoder::MifareReadManufacturerCode(const std::string& Key, std::uint8_t KeyType,
                                                  std::int32_t& SerialNumber,
                                                  std::uint8_t& CheckSum,
                                                  std::string& ManufacturerInfo) {
  static constexpr const char* kName = "MifareReadManufacturerCode";
  return MifareOperation(kName, [&] {
    ManufacturerInfo.clear();
    std::string key = NormaliseMifareKey(Key);
    const mifare::WipedOnExit wipeKey(key);
    std::string block;
    if (MifareReadDataBloc(0, key, KeyType, block) == sceError) return Outcome::kFailed;
    if (!IsBlocText(block)) {
      // The reader said yes but did not give a whole block: nothing to split.
      MifareErrorIfNone(err::kReadError, "Read error on encoder");
      return Outcome::kFailed;
    }
    SerialNumber = static_cast<std::int32_t>(std::stoul(block.substr(0, 8), nullptr, 16));
    CheckSum = static_cast<std::uint8_t>(std::stoul(block.substr(8, 2), nullptr, 16));
    ManufacturerInfo = block.substr(10);
    return Outcome::kSuccess;
  });
}

sceReturnCode Encoder::MifareWriteBytesInBloc(std::int32_t BlocNumber, const std::string& Key,
                                              std::uint8_t KeyType, std::uint8_t FromByte,
                                              std::uint8_t ToByte, std::string& BlocContents) {
  static constexpr const char* kName = "MifareWriteBytesInBloc";
  return MifareOperation(kName, [&] {
    std::string current;
    if (MifareReadDataBloc(BlocNumber, Key, KeyType, current) == sceError) {
      BlocContents.clear();
      return Outcome::kFailed;
    }
    if (current.size() != kBlocDigits) {
      MifareErrorIfNone(err::kReadError, "Read error on encoder");
      BlocContents.clear();
      return Outcome::kFailed;
    }
    if (FromByte >= 16 || ToByte >= 16 || ToByte < FromByte) {
      SetLastError({err::kIncorrectOffsets, "Incorrect offsets in parameters", 0, kName, "", ""});
      BlocContents = current;
      return Outcome::kRecorded;
    }
    // The caller's bytes, zero-filled or cut to the range.
    const std::size_t digits = 2U * (static_cast<std::size_t>(ToByte - FromByte) + 1U);
    BlocContents = (BlocContents + std::string(kBlocDigits, '0')).substr(0, digits);
    const std::size_t from = FromByte;
    const std::size_t to = ToByte;
    std::string updated = current.substr(0, 2 * from) + BlocContents;
    if (to < 15) updated += current.substr(2 * to + 2);
    if (MifareWriteDataBloc(BlocNumber, Key, KeyType, updated) == sceError) {
      MifareErrorIfNone(err::kWriteError, "Write error on encoder");
      BlocContents = current;
      return Outcome::kFailed;
    }
    BlocContents = updated;
    return Outcome::kSuccess;
  });
}

sceReturnCode Encoder::MifareAuthenticate(std::uint8_t KeyType, std::int32_t BlocNumber,
                                          const std::string& Key) {
  static constexpr const char* kName = "MifareAuthenticate";
  try {
    const std::string location = KeyType == 1 ? "00" : "10";
    std::string response;
    std::string statusWord;
    bool autoContinue = false;
    // Load the key into the reader's volatile memory at that location...
    sceReturnCode result =
        EncoderCommand(cmd::LoadKey, {location, Key}, response, statusWord, autoContinue);
    if (result != sceSuccess) {
      FinishLastError(kName);
      return result;
    }
    // ...then authenticate the block with it; this command takes the block number in decimal.
    result = EncoderCommand(cmd::GeneralAuthenticate, {location, std::to_string(BlocNumber)},
                            response, statusWord, autoContinue);
    if (result != sceSuccess) {
      FinishLastError(kName);
      return result;
    }
    return sceSuccess;
  } catch (...) {
    return sceError;
  }
}

}  // namespace lumivex
