#include "component/mifare/mifare_classic.h"

#include <variant>

#include "component/command_engine.h"
#include "component/hex.h"
#include "component/numeric_text.h"
#include "component/reader_session.h"
#include "crypto/des.h"
#include "crypto/des_cipher.h"
#include "crypto/secure_memory.h"

namespace lumivex {

namespace {

constexpr std::size_t kBlocDigits = 32;
// The host's hexadecimal text, separators allowed, as bytes.
constexpr std::int32_t kHexTextToBytes =
    crypto::ConvertMode(crypto::DataForm::kSpacedHex, crypto::DataForm::kByteArray);

// A key as the frame carries it: its bytes when the text is hexadecimal (blanks, commas, tabs
// and line ends removed), else the text as the host wrote it, which the reader then refuses.
class FrameKey {
 public:
  FrameKey(crypto::DES& des, const std::string& key) : text_(key) {
    try {
      crypto::ConvertValue converted = des.ConvertData(crypto::ConvertValue{key}, kHexTextToBytes);
      if (auto* converted_bytes = std::get_if<std::vector<std::uint8_t>>(&converted)) {
        bytes_.Assign(*converted_bytes);
        crypto::SecureWipe(*converted_bytes);
      }
      crypto::SecureWipe(text_);
      text_ = ByteArrayToHex(bytes_.view());
      hexadecimal_ = true;
    } catch (...) {  // NOLINT(bugprone-empty-catch): a key that does not convert travels as given
    }
  }
  ~FrameKey() { crypto::SecureWipe(text_); }
  FrameKey(const FrameKey&) = delete;
  FrameKey& operator=(const FrameKey&) = delete;

  [[nodiscard]] FrameArg Arg() const {
    return hexadecimal_ ? FrameArg(bytes_) : FrameArg::Text(text_);
  }
  // The compact hexadecimal text, or the host's text.
  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  SecretBytes bytes_;
  std::string text_;
  bool hexadecimal_ = false;
};

}  // namespace

sceReturnCode MifareClassic::ReadDataBloc(std::int32_t BlocNumber, const std::string& Key,
                                          [[maybe_unused]] std::uint8_t KeyType,
                                          std::string& BlocContents) {
  Operation operation(reporting_, {.name = "MifareReadDataBloc"});
  return operation.Run([&] {
    if (session_.SelectCardInRange() == sceError) return Failed();
    BlocContents.clear();
    const FrameKey key(des_, Key);
    // The frame carries only the key's value: KeyType does not change it.
    const Reply reply = engine_.Run(Command::kMifareClassicRead, {BlocNumber, key.Arg()});
    if (reply.result != sceSuccess) return Failed();
    BlocContents = ByteArrayToHex(reply.data);
    return Succeeded();
  });
}

sceReturnCode MifareClassic::WriteDataBloc(std::int32_t BlocNumber, const std::string& Key,
                                           [[maybe_unused]] std::uint8_t KeyType,
                                           std::string& BlocContents) {
  static constexpr const char* kName = "MifareWriteDataBloc";
  Operation operation(reporting_, {.name = kName});
  return operation.Run([&] {
    if (!IsHexString(BlocContents, static_cast<std::int32_t>(kBlocDigits))) {
      reporting_.record.Fail(failure::kBlocNot32Hex, kName);
      return Refused();
    }
    if (session_.SelectCardInRange() == sceError) return Failed();
    const FrameKey key(des_, Key);
    // The length counts the key's digits and the block's, two a byte.
    const std::int32_t length =
        RoundToInt32(static_cast<double>(key.text().size() + BlocContents.size()) / 2.0);
    const Bytes data = HexToBytes(BlocContents);
    const Reply reply =
        engine_.Run(Command::kMifareClassicWrite, {BlocNumber, length, data, key.Arg()});
    return reply.result == sceSuccess ? Succeeded() : Failed();
  });
}

sceReturnCode MifareClassic::ReadManufacturerCode(const std::string& Key, std::uint8_t KeyType,
                                                  std::int32_t& SerialNumber,
                                                  std::uint8_t& CheckSum,
                                                  std::string& ManufacturerInfo) {
  Operation operation(reporting_, {.name = "MifareReadManufacturerCode"});
  return operation.Run([&] {
    ManufacturerInfo.clear();
    const FrameKey key(des_, Key);
    std::string block;
    if (ReadDataBloc(0, key.text(), KeyType, block) == sceError) return Failed();
    std::string digits = block;
    if (!IsHexString(digits, static_cast<std::int32_t>(kBlocDigits))) {
      // The reader said yes but did not give a whole block: nothing to split.
      reporting_.record.FailIfNone(failure::kReadError);
      return Failed();
    }
    SerialNumber = static_cast<std::int32_t>(std::stoul(block.substr(0, 8), nullptr, 16));
    CheckSum = static_cast<std::uint8_t>(std::stoul(block.substr(8, 2), nullptr, 16));
    ManufacturerInfo = block.substr(10);
    return Succeeded();
  });
}

sceReturnCode MifareClassic::WriteBytesInBloc(std::int32_t BlocNumber, const std::string& Key,
                                              std::uint8_t KeyType, std::uint8_t FromByte,
                                              std::uint8_t ToByte, std::string& BlocContents) {
  static constexpr const char* kName = "MifareWriteBytesInBloc";
  Operation operation(reporting_, {.name = kName});
  return operation.Run([&] {
    std::string current;
    if (ReadDataBloc(BlocNumber, Key, KeyType, current) == sceError) {
      BlocContents.clear();
      return Failed();
    }
    if (current.size() != kBlocDigits) {
      reporting_.record.FailIfNone(failure::kReadError);
      BlocContents.clear();
      return Failed();
    }
    if (FromByte >= 16 || ToByte >= 16 || ToByte < FromByte) {
      reporting_.record.Fail(failure::kIncorrectOffsets, kName);
      BlocContents = current;
      return Refused();
    }
    // The caller's bytes, zero-filled or cut to the range.
    const std::size_t digits = 2U * (static_cast<std::size_t>(ToByte - FromByte) + 1U);
    BlocContents = (BlocContents + std::string(kBlocDigits, '0')).substr(0, digits);
    const std::size_t from = FromByte;
    const std::size_t to = ToByte;
    std::string updated = current.substr(0, 2 * from) + BlocContents;
    if (to < 15) updated += current.substr(2 * to + 2);
    if (WriteDataBloc(BlocNumber, Key, KeyType, updated) == sceError) {
      reporting_.record.FailIfNone(failure::kWriteError);
      BlocContents = current;
      return Failed();
    }
    BlocContents = updated;
    return Succeeded();
  });
}

sceReturnCode MifareClassic::Authenticate(std::uint8_t keyType, std::int32_t blocNumber,
                                          const std::string& key) {
  static constexpr const char* kName = "MifareAuthenticate";
  try {
    const std::uint8_t location = keyType == 1 ? 0x00 : 0x10;
    // Load the key into the reader's volatile memory at that location...
    Reply reply = engine_.Run(Command::kLoadKey, {location, FrameArg::Text(key)});
    if (reply.result == sceSuccess) {
      // ...then authenticate the block with it; this command takes the block number in decimal.
      const std::string bloc = std::to_string(blocNumber);
      reply = engine_.Run(Command::kGeneralAuthenticate, {FrameArg::Text(bloc), location});
    }
    if (reply.result != sceSuccess) reporting_.record.Finish(kName);
    return reply.result;
  } catch (...) {
    return sceError;
  }
}

}  // namespace lumivex
