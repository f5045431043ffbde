#include "component/desfire/desfire_transfer.h"
#include "component/hex.h"

#include <algorithm>
#include <array>
#include <variant>
#include <vector>

#include "component/desfire/desfire_card.h"
#include "component/desfire/desfire_files.h"
#include "crypto/des.h"
#include "crypto/des_cipher.h"

namespace lumivex::desfire {

namespace {

// The command data a frame carries: at most 52 bytes in the first frame (after its own header),
// 59 bytes in each continuation frame.
constexpr std::size_t kFirstFrameBytes = 52;
constexpr std::size_t kNextFrameBytes = 59;

// The host's hexadecimal text (separators allowed), or its plain text (one byte a character in
// the code page), as bytes; and bytes as plain text.
using crypto::ConvertMode;
using crypto::DataForm;
constexpr std::int32_t kHexTextToBytes = ConvertMode(DataForm::kSpacedHex, DataForm::kByteArray);
constexpr std::int32_t kPlainTextToBytes = ConvertMode(DataForm::kPlainText, DataForm::kByteArray);
constexpr std::int32_t kBytesToPlainText = ConvertMode(DataForm::kByteArray, DataForm::kPlainText);

constexpr std::array<std::uint8_t, 2> kDataFiles{dftData, dftBackup};
constexpr std::array<std::uint8_t, 2> kRecordFiles{dftLinear, dftCyclic};

// The checks of every read and write, after the authentication test, in their order.
const Failure* CheckTransfer(std::int32_t fileNo, std::int32_t offset, std::int32_t length) {
  if (fileNo < 0 || fileNo > kMaxFileNumber) return &failure::kInvalidFileNumber;
  if (offset < 0 || offset > kMax24) return &failure::kInvalidOffset;
  if (length < 0 || length > kMax24) return &failure::kInvalidLength;
  return nullptr;
}

void AppendLe24(Bytes& bytes, std::int32_t value) {
  const auto v = static_cast<std::uint32_t>(value);
  for (unsigned shift = 0; shift < 24; shift += 8)
    bytes.push_back(static_cast<std::uint8_t>(v >> shift));
}

Bytes AsBytes(crypto::ConvertValue&& value) {
  if (auto* bytes = std::get_if<Bytes>(&value)) return std::move(*bytes);
  return {};
}

std::string AsText(crypto::ConvertValue&& value) {
  if (auto* text = std::get_if<std::string>(&value)) return std::move(*text);
  return {};
}

}  // namespace

Exchanged Transfers::CheckFileKind(std::span<const std::uint8_t> fileKinds, std::int32_t fileNo,
                                   std::string_view caller) {
  const FileKind kind = files_.GetFileCharacteristics(fileNo);
  Exchanged result{Succeeded(), {}, kind.statusWord};
  if (!kind.known) {
    const bool notFound = kind.statusWord == sw::kFileNotFound;
    result.outcome =
        card_.Refuse(notFound ? failure::kFileNotFound : failure::kOperationFailed, caller);
  } else if (std::find(fileKinds.begin(), fileKinds.end(), kind.type) == fileKinds.end()) {
    result.outcome = card_.Refuse(failure::kWrongFileType, caller);
  }
  return result;
}

Exchanged Transfers::FramedSend(Command command, ByteView header, ByteView payload,
                                std::span<const std::uint8_t> fileKinds, std::int32_t fileNo,
                                std::string_view caller) {
  Exchanged result = CheckFileKind(fileKinds, fileNo, caller);
  if (result.outcome.result != sceSuccess) return result;
  Bytes remaining(header.begin(), header.end());
  remaining.insert(remaining.end(), payload.begin(), payload.end());
  std::size_t at = 0;
  for (bool first = true;; first = false) {
    const std::size_t left = remaining.size() - at;
    std::size_t size = left;
    if (first && left > kFirstFrameBytes) size = kFirstFrameBytes;
    if (!first && left > kNextFrameBytes) size = kNextFrameBytes;
    const bool last = size == left;
    const ByteView frame(remaining.data() + at, size);
    at += size;
    const Reply reply =
        first ? card_.engine().Run(command, {size, frame})
              : card_.engine().Run(Command::kDesfireSendNextData, {size, frame},
                                   Continuation::kReturn, DefinitionOf(command).commandName);
    result.statusWord = reply.statusWord;
    if (reply.result != sceSuccess ||
        reply.statusWord != (last ? sw::kDesfireOk : sw::kMoreFrames)) {
      result.outcome = card_.Fail(reply, caller);
      return result;
    }
    if (last) return result;
  }
}

Exchanged Transfers::FramedReceive(Command command, std::initializer_list<FrameArg> args,
                                   std::span<const std::uint8_t> fileKinds, std::int32_t fileNo,
                                   std::string_view caller) {
  Exchanged result = CheckFileKind(fileKinds, fileNo, caller);
  if (result.outcome.result != sceSuccess) return result;
  Reply reply = card_.Send(command, args);
  result.statusWord = reply.statusWord;
  if (reply.result != sceSuccess ||
      (reply.statusWord != sw::kDesfireOk && reply.statusWord != sw::kDesfireOkToo)) {
    result.outcome = card_.Fail(reply, caller);
    return result;
  }
  result.data = std::move(reply.data);
  return result;
}

// Data and record files are written alike; only the command and the kinds of file differ.
sceReturnCode Transfers::Write(Command command, const char* name,
                               std::span<const std::uint8_t> fileKinds, std::int32_t fileNo,
                               std::int32_t offset, std::int32_t length,
                               const std::string& dataString, bool isDataHexaString) {
  return card_.Run(name, [&] {
    if (!card_.IsAuthenticated()) return card_.Refuse(failure::kNotAuthenticated, name);
    if (const Failure* failed = CheckTransfer(fileNo, offset, length)) {
      return card_.Refuse(*failed, name);
    }
    const Bytes payload = AsBytes(
        des_.ConvertData(dataString, isDataHexaString ? kHexTextToBytes : kPlainTextToBytes));
    // Length 0 stands for the whole of the data.
    Bytes header{static_cast<std::uint8_t>(fileNo)};
    AppendLe24(header, offset);
    AppendLe24(header, length == 0 ? static_cast<std::int32_t>(payload.size()) : length);
    return FramedSend(command, header, payload, fileKinds, fileNo, name).outcome;
  });
}

// Data and record files are read alike. Length 0 goes to the card as it is: it reads to the end
// of a data file, or all the records; in a record file offset and length count records.
sceReturnCode Transfers::Read(Command command, const char* name,
                              std::span<const std::uint8_t> fileKinds, std::int32_t fileNo,
                              std::int32_t offset, std::int32_t length, std::string& dataString,
                              bool isDataHexaString) {
  return card_.Run(name, [&] {
    if (!card_.IsAuthenticated()) return card_.Refuse(failure::kNotAuthenticated, name);
    if (const Failure* failed = CheckTransfer(fileNo, offset, length)) {
      return card_.Refuse(*failed, name);
    }
    Exchanged read = FramedReceive(command, {fileNo, offset, length}, fileKinds, fileNo, name);
    if (read.outcome.result != sceSuccess) return read.outcome;
    dataString = isDataHexaString ? BytesToHex(read.data, 1, -1, true)
                                  : AsText(des_.ConvertData(read.data, kBytesToPlainText));
    return Succeeded();
  });
}

sceReturnCode Transfers::WriteData(std::int32_t FileNo, std::int32_t Offset, std::int32_t Length,
                                   const std::string& DataString, bool IsDataHexaString) {
  return Write(Command::kDesfireWriteData, "DESFireWriteData", kDataFiles, FileNo, Offset, Length,
               DataString, IsDataHexaString);
}

sceReturnCode Transfers::WriteRecord(std::int32_t FileNo, std::int32_t Offset, std::int32_t Length,
                                     const std::string& DataString, bool IsDataHexaString) {
  return Write(Command::kDesfireWriteRecord, "DESFireWriteRecord", kRecordFiles, FileNo, Offset,
               Length, DataString, IsDataHexaString);
}

sceReturnCode Transfers::ReadData(std::int32_t FileNo, std::int32_t Offset, std::int32_t Length,
                                  std::string& DataString, bool IsDataHexaString) {
  return Read(Command::kDesfireReadData, "DESFireReadData", kDataFiles, FileNo, Offset, Length,
              DataString, IsDataHexaString);
}

sceReturnCode Transfers::ReadRecords(std::int32_t FileNo, std::int32_t Offset, std::int32_t Length,
                                     std::string& DataString, bool IsDataHexaString) {
  return Read(Command::kDesfireReadRecords, "DESFireReadRecords", kRecordFiles, FileNo, Offset,
              Length, DataString, IsDataHexaString);
}

sceReturnCode Transfers::ClearRecordFile(std::int32_t FileNo) {
  static constexpr const char* kName = "DESFireClearRecordFile";
  return card_.Run(kName, [&] {
    if (!card_.IsAuthenticated()) return card_.Refuse(failure::kNotAuthenticated, kName);
    return card_.SendExpectOk(Command::kDesfireClearRecordFile, {FileNo}, kName);
  });
}

}  // namespace lumivex::desfire
