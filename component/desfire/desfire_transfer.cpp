// The framed send and receive that carry file contents and values: the file's kind is checked
// first, then a long command goes out over the card's continuation frames.
#include <algorithm>
#include <string>
#include <vector>

#include "component/desfire/desfire_common.h"
#include "component/encoder.h"
#include "crypto/des.h"

namespace lumivex {

namespace {

// The command data a frame carries: at most 52 bytes in the first frame (after its own header),
// 59 bytes in each continuation frame.
constexpr std::size_t kFirstFrameDigits = 104;
constexpr std::size_t kNextFrameDigits = 118;

// The name a continuation frame reports as its command: the command it continues.
std::string CommandName(std::int32_t command) {
  switch (command) {
    case cmd::DesfireWriteData:
      return "DesfireWriteData";
    case cmd::DesfireWriteRecord:
      return "DesfireWriteRecord";
    case cmd::DesfireDebit:
      return "DesfireDebit";
    case cmd::DesfireCredit:
      return "DesfireCredit";
    case cmd::DesfireLimitedCredit:
      return "DesfireLimitedCredit";
    default:
      return "Unknown";
  }
}

bool Allowed(const std::vector<std::int32_t>& types, std::int32_t type) {
  return std::find(types.begin(), types.end(), type) != types.end();
}

}  // namespace

sceReturnCode Encoder::DESFireCheckFileKind(std::int32_t FileNo,
                                            const std::vector<std::int32_t>& AllowedTypes,
                                            const std::string& Caller) {
  std::int32_t fileType = 0;
  std::int32_t commSettings = 0;
  if (DESFireGetFileCharacteristics(FileNo, fileType, commSettings) != sceSuccess) {
    const bool notFound = lastStatusWord_ == desfire::kSwFileNotFound;
    return desfire::Record(LastError(),
                           notFound ? desfire::fail::FileNotFound : desfire::fail::OperationFailed,
                           Caller);
  }
  if (!Allowed(AllowedTypes, fileType)) {
    return desfire::Record(LastError(), desfire::fail::WrongFileType, Caller);
  }
  return sceSuccess;
}

sceReturnCode Encoder::DESFireFramedSend(std::int32_t Command, const std::string& Header,
                                         const std::string& Payload,
                                         const std::vector<std::int32_t>& AllowedTypes,
                                         std::int32_t FileNo, const std::string& Caller) {
  using desfire::Record;
  // The file's communication settings are not used: the data always travel plain, and the
  // card's answer decides whether it accepts them so.
  if (DESFireCheckFileKind(FileNo, AllowedTypes, Caller) != sceSuccess) return sceError;

  std::string remaining = desfire::RemoveBlanks(Header + Payload);
  bool first = true;
  for (;;) {
    std::string frame;
    std::string length;
    bool last = false;
    if (remaining.empty()) {
      length = "00";
      last = true;
    } else if (first && remaining.size() > kFirstFrameDigits) {
      frame = remaining.substr(0, kFirstFrameDigits);
      remaining.erase(0, kFirstFrameDigits);
      length = desfire::Hex2(static_cast<std::int32_t>(kFirstFrameDigits / 2));
    } else if (first || remaining.size() <= kNextFrameDigits) {
      frame = std::move(remaining);
      remaining.clear();
      length = desfire::Hex2(static_cast<std::int32_t>(frame.size() / 2));
      last = true;
    } else {
      frame = remaining.substr(0, kNextFrameDigits);
      remaining.erase(0, kNextFrameDigits);
      length = desfire::Hex2(static_cast<std::int32_t>(kNextFrameDigits / 2));
    }

    std::string response;
    std::string statusWord;
    bool autoContinue = false;
    const sceReturnCode sent =
        first ? EncoderCommand(Command, {desfire::Hex2(FileNo), length, frame}, response,
                               statusWord, autoContinue)
              : EncoderCommand(cmd::DesfireSendNextData, {CommandName(Command), length, frame},
                               response, statusWord, autoContinue);
    first = false;
    const std::string_view expected = last ? desfire::kSwOk : desfire::kSwMore;
    if (sent != sceSuccess || desfire::Upper(statusWord) != expected) {
      return Record(LastError(), desfire::fail::OperationFailed, Caller, std::nullopt, statusWord);
    }
    if (last) return sceSuccess;
  }
}

sceReturnCode Encoder::DESFireFramedReceive(std::int32_t Command,
                                            const std::vector<std::string>& Params,
                                            const std::vector<std::int32_t>& AllowedTypes,
                                            std::int32_t FileNo, const std::string& Caller,
                                            std::string& Answer) {
  using desfire::Record;
  // The file's communication settings are not used: a MAC or ciphertext comes back as data,
  // unchecked.
  if (DESFireCheckFileKind(FileNo, AllowedTypes, Caller) != sceSuccess) return sceError;

  // The engine gathers the card's continuation frames into one answer.
  std::string response;
  std::string statusWord;
  bool autoContinue = true;
  const sceReturnCode sent = EncoderCommand(Command, Params, response, statusWord, autoContinue);
  const std::string status = desfire::Upper(statusWord);
  if (sent != sceSuccess || (status != "9100" && status != "9101")) {
    return Record(LastError(), desfire::fail::OperationFailed, Caller, std::nullopt, statusWord);
  }
  Answer = desfire::AsText(Des().ConvertData(
      response, crypto::ConvertMode(crypto::DataForm::kSpacedHex, crypto::DataForm::kSpacedHex)));
  return sceSuccess;
}

}  // namespace lumivex
