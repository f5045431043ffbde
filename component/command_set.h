// The commands of the reader and the card. Each has a code, the name its trace gives it, the name
// the last-error record gives it, and its frame written as in the command table: fixed bytes in
// hexadecimal, and placeholders in brackets that take the caller's values in their order:
//
//   [NAME:1]    a number as one byte (its low byte)
//   [NAME:2]    a number as two bytes, most significant first
//   [NAME:nLE]  a number as n bytes (2 to 4), least significant first
//   [NAME]      bytes as given (or a text of hexadecimal digits, see FrameArg)
//   [NAME!]     the same, key material: masked in the trace
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace lumivex {

enum class Command : std::int32_t {
  kEscape = 0x0101,
  kEscapeExt = 0x0102,
  kGetUid = 0x0201,
  kContinueResponse = 0x0203,
  kLoadKey = 0x0301,
  kGeneralAuthenticate = 0x0302,
  kMifareClassicRead = 0x0303,
  kMifareClassicWrite = 0x0304,
  kReadBinary = 0x0305,
  kDesfireSelectApplication = 0x0401,
  kDesfireAuthenticate1 = 0x0402,
  kDesfireAuthenticate2 = 0x0403,
  kDesfireAuthenticate3 = 0x0404,
  kDesfireGetVersion = 0x0405,
  kDesfireFormat = 0x0406,
  kDesfireGetApplications = 0x0407,
  kDesfireCreateApplication = 0x0408,
  kDesfireDeleteApplication = 0x0409,
  kDesfireGetKeyVersion = 0x0411,
  kDesfireGetKeySettings = 0x0412,
  kDesfireChangeKey = 0x0413,
  kDesfireChangeKeySettings = 0x0414,
  kDesfireGetFileIds = 0x0421,
  kDesfireGetFileSettings = 0x0422,
  kDesfireChangeFileSettingsPlain = 0x0423,
  kDesfireChangeFileSettingsEnciphered = 0x0424,
  kDesfireCreateStdDataFile = 0x0425,
  kDesfireCreateBackupDataFile = 0x0426,
  kDesfireCreateValueFile = 0x0427,
  kDesfireCreateLinearRecordFile = 0x0428,
  kDesfireCreateCyclicRecordFile = 0x0429,
  kDesfireDeleteFile = 0x042A,
  kDesfireReadData = 0x0431,
  kDesfireWriteData = 0x0432,
  kDesfireReadRecords = 0x0433,
  kDesfireWriteRecord = 0x0434,
  kDesfireClearRecordFile = 0x0435,
  kDesfireGetValue = 0x0436,
  kDesfireDebit = 0x0437,
  kDesfireCredit = 0x0438,
  kDesfireLimitedCredit = 0x0439,
  kDesfireCommitTransaction = 0x043A,
  kDesfireAbortTransaction = 0x043B,
  kDesfireSendNextData = 0x0441,
};

// One piece of a frame: a fixed byte, a number of 1 to 4 bytes, or bytes as given.
struct FramePiece {
  enum class Kind : std::uint8_t { kFixed, kNumber, kBytes };
  Kind kind = Kind::kFixed;
  std::uint8_t value = 0;  // kFixed: the byte; kNumber: the width in bytes
  bool littleEndian = false;
  bool secret = false;
};

struct FramePattern {
  std::array<FramePiece, 32> pieces{};
  std::size_t count = 0;
};

struct CommandDefinition {
  const char* traceName;    // "--> EncoderCommand(<traceName>)"
  const char* commandName;  // "SCardTransmit:<commandName>" in the error record
  FramePattern pattern;
  Command code;
  // false: the frame is filled (its key material remembered for the trace) but not sent; the
  // reader-driven authentication is such a hook, for readers that authenticate by themselves.
  bool sent = true;
  // Raw requests of the host: a reader command that carries a MIFARE key shows it as '*'.
  bool masksRawKeys = false;
};

const CommandDefinition& DefinitionOf(Command command);

// Compile-time reading of a frame as the table writes it (see the top of this file).
consteval FramePattern Pattern(std::string_view text) {
  FramePattern pattern;
  const auto digit = [](char c) -> std::uint8_t {
    if (c >= '0' && c <= '9') return static_cast<std::uint8_t>(c - '0');
    if (c >= 'A' && c <= 'F') return static_cast<std::uint8_t>(c - 'A' + 10);
    throw "not a hexadecimal digit";  // a compile error in the table
  };
  std::size_t at = 0;
  while (at < text.size()) {
    if (text[at] == ' ') {
      ++at;
      continue;
    }
    FramePiece piece;
    if (text[at] == '[') {
      const std::size_t end = text.find(']', at);
      const std::string_view inside = text.substr(at + 1, end - at - 1);
      at = end + 1;
      const std::size_t colon = inside.find(':');
      if (colon == std::string_view::npos) {
        piece.kind = FramePiece::Kind::kBytes;
        piece.secret = inside.ends_with('!');
      } else {
        const std::string_view width = inside.substr(colon + 1);
        piece.kind = FramePiece::Kind::kNumber;
        piece.value = static_cast<std::uint8_t>(width[0] - '0');
        piece.littleEndian = width.ends_with("LE");
      }
    } else {
      piece.value = static_cast<std::uint8_t>(digit(text[at]) << 4 | digit(text[at + 1]));
      at += 2;
    }
    pattern.pieces.at(pattern.count++) = piece;
  }
  return pattern;
}

}  // namespace lumivex
