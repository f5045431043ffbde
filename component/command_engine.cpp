// The command engine: every exchange with the reader or the card passes through EncoderCommand,
// which fills a command's template, transmits it, splits the answer and judges its status word.
#include <algorithm>
#include <array>
#include <cctype>
#include <stdexcept>

#include "component/encoder.h"
#include "component/error_codes.h"
#include "component/hex.h"
#include "component/numeric_text.h"
#include "component/texts.h"

namespace lumivex {

namespace {

constexpr PcscDword kReceiveBufferSize = 4096;
constexpr PcscDword kSendPciLength = 8;
// A card that keeps answering 91AF must not hold the host forever nor fill its memory.
constexpr std::size_t kMaxChainFrames = 1024;
constexpr std::size_t kMaxChainBytes = std::size_t{1024} * 1024;

// How a placeholder gets its value.
enum class Fill {
  Param,       // the caller's parameter as given
  Secret,      // the caller's parameter, remembered so the trace masks it
  Zero,        // the constant "00"
  Byte,        // the parameter read as a number, written as two hexadecimal digits
  HalfLength,  // two hexadecimal digits of (characters of P1 + characters of P2) / 2
};

struct Slot {
  const char* placeholder = nullptr;
  Fill fill = Fill::Param;
  int param = 0;
};

struct CommandInfo {
  std::int32_t code;
  const char* traceName;
  const char* commandName;
  const char* pattern;
  std::array<Slot, 7> slots;
};

using F = Fill;

// clang-format off
constexpr CommandInfo kCommands[] = {
    {cmd::Escape, "ec_Escape", "Escape", "", {}},
    {cmd::EscapeExt, "ec_EscapeExt", "EscapeExt", "", {}},
    {cmd::GetUID, "GetUID", "GetUID", "FFCA000000", {}},
    {cmd::ContinueResponse, "ContinueResponse", "MoreResponse", "90AF000000", {}},
    {cmd::LoadKey, "LoadKey", "LoadKey", "FF82[VOLATILE-MEM][KEY-LOCATION]06[KEY-VALUE]",
     {{{"[VOLATILE-MEM]", F::Zero}, {"[KEY-LOCATION]", F::Param, 0}, {"[KEY-VALUE]", F::Secret, 1}}}},
    {cmd::GeneralAuthenticate, "GeneralAuthenticate", "GeneralAuthenticate",
     "FF860000050100[BLOC][KEY-LOCATION][KEY-INDEX]",
     {{{"[BLOC]", F::Param, 1}, {"[KEY-LOCATION]", F::Zero}, {"[KEY-INDEX]", F::Param, 0}}}},
    {cmd::MifareClassicRead, "MifareClassicRead", "MifareClassicRead", "FFF300[BLOC]06[KEY-VALUE]10",
     {{{"[BLOC]", F::Param, 0}, {"[KEY-VALUE]", F::Secret, 1}}}},
    {cmd::MifareClassicWrite, "MifareClassicWrite", "MifareClassicWrite",
     "FFF400[BLOC][LENGTH][DATA][KEY-VALUE]",
     {{{"[BLOC]", F::Param, 0}, {"[KEY-VALUE]", F::Secret, 1}, {"[DATA]", F::Param, 2},
       {"[LENGTH]", F::HalfLength, 1}}}},
    {cmd::ReadBinary, "ReadBinary", "ReadBinary", "FFB0[BLOC]10", {{{"[BLOC]", F::Param, 0}}}},
    {cmd::DesfireSelectApplication, "DesfireSelectApplication", "DESFireSelectApplication",
     "905A000003[APPID]00", {{{"[APPID]", F::Param, 0}}}},
    // Reader-driven authentication: its placeholders are filled but nothing is sent.
    {cmd::DesfireAuthenticate1, "DesfireAuthenticate1", "DESFireAuthenticate", "",
     {{{"[KEY_NUMBER_PCD]", F::Param, 0}, {"[KEY_NUMBER_PICC]", F::Param, 1},
       {"[APP_ID]", F::Param, 2}, {"[KEY_1]", F::Secret, 3}, {"[KEY_2]", F::Secret, 4},
       {"[KEY_3]", F::Secret, 5}}}},
    {cmd::DesfireAuthenticate2, "DesfireAuthenticate2", "DESFireAuthenticate",
     "900A000001[KEY_NUMBER]00", {{{"[KEY_NUMBER]", F::Param, 0}}}},
    {cmd::DesfireAuthenticate3, "DesfireAuthenticate3", "DesfireAuthenticate",
     "90AF000010[TOKEN]00", {{{"[TOKEN]", F::Secret, 0}}}},
    {cmd::DesfireGetVersion, "DesfireGetVersion", "DesfireGetVersion", "9060000000", {}},
    {cmd::DesfireFormat, "DesfireFormat", "DesfireFormat", "90FC000000", {}},
    {cmd::DesfireGetApplications, "DesfireGetApplications", "DesfireGetApplications", "906A000000",
     {}},
    {cmd::DesfireCreateApplication, "DesfireCreateApplication", "DesfireCreateApplication",
     "90CA000005[APP_ID][KEY_SETTINGS][KEYS_COUNT]00",
     {{{"[APP_ID]", F::Param, 0}, {"[KEY_SETTINGS]", F::Byte, 1}, {"[KEYS_COUNT]", F::Byte, 2}}}},
    {cmd::DesfireDeleteApplication, "DesfireDeleteApplication", "DesfireDeleteApplication",
     "90DA000003[APP_ID]00", {{{"[APP_ID]", F::Param, 0}}}},
    {cmd::DesfireGetKeyVersion, "DesfireGetKeyVersion", "DesfireGetKeyVersion",
     "9064000001[KEY_NUMBER]00", {{{"[KEY_NUMBER]", F::Param, 0}}}},
    {cmd::DesfireGetKeySettings, "DesfireGetKeySettings", "DesfireGetKeySettings", "9045000000", {}},
    {cmd::DesfireChangeKey, "DesfireChangeKey", "DesfireChangeKey",
     "90C4000019[KEY_NUMBER][KEY_DATA]00",
     {{{"[KEY_NUMBER]", F::Param, 0}, {"[KEY_DATA]", F::Secret, 1}}}},
    {cmd::DesfireChangeKeySettings, "DesfireChangeKeySettings", "DesfireChangeKeySettings",
     "9054000008[KEY_SETTINGS]00", {{{"[KEY_SETTINGS]", F::Secret, 0}}}},
    {cmd::DesfireGetFileIds, "DesfireGetFileIds", "DesfireGetFileIDs", "906F000000", {}},
    {cmd::DesfireGetFileSettings, "DesfireGetFileSettings", "DesfireGetFileSettings",
     "90F5000001[FILE_NUMBER]00", {{{"[FILE_NUMBER]", F::Param, 0}}}},
    {cmd::DesfireChangeFileSettings1, "DesfireChangeFileSettings1", "DesfireChangeFileSettings",
     "905F000004[FILE_NUMBER][COMM_SET][ACCESS_RIGHTS]00",
     {{{"[FILE_NUMBER]", F::Param, 0}, {"[COMM_SET]", F::Param, 1},
       {"[ACCESS_RIGHTS]", F::Param, 2}}}},
    {cmd::DesfireChangeFileSettings2, "DesfireChangeFileSettings2", "DesfireChangeFileSettings",
     "905F000009[FILE_NUMBER][FILE_SETTINGS]00",
     {{{"[FILE_NUMBER]", F::Param, 0}, {"[FILE_SETTINGS]", F::Secret, 1}}}},
    {cmd::DesfireCreateStdDataFile, "DesfireCreateStdDataFile", "DesfireCreateStdDataFile",
     "90CD000007[FILE_NUMBER][COMM_SET][ACCESS_RIGHTS][SIZE]00",
     {{{"[FILE_NUMBER]", F::Param, 0}, {"[COMM_SET]", F::Param, 1},
       {"[ACCESS_RIGHTS]", F::Param, 2}, {"[SIZE]", F::Param, 3}}}},
    {cmd::DesfireCreateBackupDataFile, "DesfireCreateBackupDataFile", "DesfireCreateBackupDataFile",
     "90CB000007[FILE_NUMBER][COMM_SET][ACCESS_RIGHTS][SIZE]00",
     {{{"[FILE_NUMBER]", F::Param, 0}, {"[COMM_SET]", F::Param, 1},
       {"[ACCESS_RIGHTS]", F::Param, 2}, {"[SIZE]", F::Param, 3}}}},
    {cmd::DesfireCreateValueFile, "DesfireCreateValueFile", "DesfireCreateValueFile",
     "90CC000011[FILE_NUMBER][COMM_SET][ACCESS_RIGHTS][LIMIT_LOW][LIMIT_UP][VALUE][LIMITED_CREDIT]00",
     {{{"[FILE_NUMBER]", F::Param, 0}, {"[COMM_SET]", F::Param, 1},
       {"[ACCESS_RIGHTS]", F::Param, 2}, {"[LIMIT_LOW]", F::Param, 3}, {"[LIMIT_UP]", F::Param, 4},
       {"[VALUE]", F::Param, 5}, {"[LIMITED_CREDIT]", F::Param, 6}}}},
    {cmd::DesfireCreateLinearRecordFile, "DesfireCreateLinearRecordFile",
     "DesfireCreateLinearRecordFile",
     "90C100000A[FILE_NUMBER][COMM_SET][ACCESS_RIGHTS][REC_SIZE][REC_COUNT]00",
     {{{"[FILE_NUMBER]", F::Param, 0}, {"[COMM_SET]", F::Param, 1},
       {"[ACCESS_RIGHTS]", F::Param, 2}, {"[REC_SIZE]", F::Param, 3}, {"[REC_COUNT]", F::Param, 4}}}},
    {cmd::DesfireCreateCyclicRecordFile, "DesfireCreateCyclicRecordFile",
     "DesfireCreateCyclicRecordFile",
     "90C000000A[FILE_NUMBER][COMM_SET][ACCESS_RIGHTS][REC_SIZE][REC_COUNT]00",
     {{{"[FILE_NUMBER]", F::Param, 0}, {"[COMM_SET]", F::Param, 1},
       {"[ACCESS_RIGHTS]", F::Param, 2}, {"[REC_SIZE]", F::Param, 3}, {"[REC_COUNT]", F::Param, 4}}}},
    {cmd::DesfireDeleteFile, "DesfireDeleteFile", "DesfireDeleteFile", "90DF000001[FILE_NUMBER]00",
     {{{"[FILE_NUMBER]", F::Param, 0}}}},
    {cmd::DesfireReadData, "DesfireReadData", "DesfireReadData",
     "90BD000007[FILE_NUMBER][OFFSET][LENGTH]00",
     {{{"[FILE_NUMBER]", F::Param, 0}, {"[OFFSET]", F::Param, 1}, {"[LENGTH]", F::Param, 2}}}},
    {cmd::DesfireWriteData, "DesfireWriteData", "DesfireWriteData", "903D0000[LENGTH][DATA]00",
     {{{"[LENGTH]", F::Param, 1}, {"[DATA]", F::Param, 2}}}},
    {cmd::DesfireReadRecords, "DesfireReadRecords", "DesfireReadRecords",
     "90BB000007[FILE_NUMBER][OFFSET][LENGTH]00",
     {{{"[FILE_NUMBER]", F::Param, 0}, {"[OFFSET]", F::Param, 1}, {"[LENGTH]", F::Param, 2}}}},
    {cmd::DesfireWriteRecord, "DesfireWriteRecord", "DesfireWriteRecord", "903B0000[LENGTH][DATA]00",
     {{{"[LENGTH]", F::Param, 1}, {"[DATA]", F::Param, 2}}}},
    {cmd::DesfireClearRecordFile, "DesfireClearRecordFile", "DesfireClearRecordFile",
     "90EB000001[FILE_NUMBER]00", {{{"[FILE_NUMBER]", F::Param, 0}}}},
    {cmd::DesfireGetValue, "DesfireGetValue", "DesfireGetValue", "906C000001[FILE_NUMBER]00",
     {{{"[FILE_NUMBER]", F::Param, 0}}}},
    {cmd::DesfireDebit, "DesfireDebit", "DesfireDebit", "90DC0000[LENGTH][DATA]00",
     {{{"[LENGTH]", F::Param, 1}, {"[DATA]", F::Param, 2}}}},
    {cmd::DesfireCredit, "DesfireCredit", "DesfireCredit", "900C0000[LENGTH][DATA]00",
     {{{"[LENGTH]", F::Param, 1}, {"[DATA]", F::Param, 2}}}},
    {cmd::DesfireLimitedCredit, "DesfireLimitedCredit", "DesfireLimitedCredit",
     "901C0000[LENGTH][DATA]00", {{{"[LENGTH]", F::Param, 1}, {"[DATA]", F::Param, 2}}}},
    {cmd::DesfireCommitTransaction, "DesfireCommitTransaction", "DesfireCommitTransaction",
     "90C7000000", {}},
    {cmd::DesfireAbortTransaction, "DesfireAbortTransaction", "DesfireAbortTransaction",
     "90A7000000", {}},
    // The command name is the caller's: P0 names the command that this frame continues.
    {cmd::DesfireSendNextData, "DesfireSendNextData", "", "90AF0000[LENGTH][DATA]00",
     {{{"[LENGTH]", F::Param, 1}, {"[DATA]", F::Param, 2}}}},
};
// clang-format on

constexpr CommandInfo kUnknown{0, "Unknown", "Unknown", "", {}};

const CommandInfo& Lookup(std::int32_t code) {
  for (const CommandInfo& info : kCommands) {
    if (info.code == code) return info;
  }
  return kUnknown;
}

// Two upper-case hexadecimal digits of a number: a leading "0" added to its hexadecimal form and
// the last two digits kept, which is its low byte (two's complement for negative numbers).
std::string TwoHexDigits(std::int32_t value) {
  const std::array<std::uint8_t, 1> low{static_cast<std::uint8_t>(value & 0xFF)};
  return ByteArrayToHex(low);
}

// The host's raw request: digits and letters kept (small letters as capitals), the rest dropped.
std::string CleanRequest(const std::string& request) {
  std::string cleaned;
  for (const char c : request) {
    const auto u = static_cast<unsigned char>(c);
    if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z')) cleaned += c;
    if (c >= 'a' && c <= 'z') cleaned += static_cast<char>(std::toupper(u));
  }
  return cleaned;
}

// A raw request that carries a MIFARE key (the reader's load-key command, or the read and write
// frames with the key inside) as the trace shows it: the key digits replaced by '*'.
std::string MaskRawKeyFrame(const std::string& request) {
  constexpr std::size_t kHeaderDigits = 10;  // CLA INS P1 P2 Lc
  constexpr std::size_t kKeyDigits = 12;
  const std::size_t size = request.size();
  std::size_t from = size;
  std::size_t to = size;
  if (size <= kHeaderDigits) return request;
  if (request.starts_with("FF82")) {  // FF 82 P1 P2 Lc key
    from = kHeaderDigits;
  } else if (request.starts_with("FFF3")) {  // FF F3 00 bloc 06 key 10
    from = kHeaderDigits;
    to = size - 2;
  } else if (request.starts_with("FFF4")) {  // FF F4 00 bloc length data key
    from = std::max(kHeaderDigits, size - std::min(size, kKeyDigits));
  }
  std::string shown = request;
  if (from < to) shown.replace(from, to - from, to - from, '*');
  return shown;
}

void ReplaceAll(std::string& text, const std::string& placeholder, const std::string& value) {
  for (auto at = text.find(placeholder); at != std::string::npos;
       at = text.find(placeholder, at + value.size())) {
    text.replace(at, placeholder.size(), value);
  }
}

bool IsSuccessWord(const std::string& statusWord) {
  return statusWord == "9000" || statusWord == "9100" || statusWord == "9101";
}

}  // namespace

sceReturnCode Encoder::EncoderCommand(std::int32_t Command, const std::vector<std::string>& Params,
                                      std::string& Response, std::string& StatusWord,
                                      bool& AutoContinue) {
  std::int32_t command = Command;
  std::string commandName = Lookup(command).commandName;
  const auto param = [&Params](int index) -> const std::string* {
    return index < static_cast<int>(Params.size()) ? &Params[static_cast<std::size_t>(index)]
                                                   : nullptr;
  };
  sceReturnCode result = sceError;
  PcscLong status = 0;
  std::string accumulated;
  try {
    Trace(std::string("--> EncoderCommand(") + Lookup(command).traceName + ")");
    StatusWord = "FFFF";
    if (hContext_ == 0) {
      Trace("Error, hContext = 0, encoder is closed");
      Response = "";
      SetLastError({.Number = err::kEncoderClosed,
                    .Description = "Encoder is closed",
                    .ComFunction = "EncoderCommand"});
    } else if (hCard_ == 0) {
      Trace("Error, hCard = 0, no card under antenna");
      Response = "";
      SetLastError({.Number = err::kEncoderEmpty,
                    .Description = "No card in encoder",
                    .ComFunction = "EncoderCommand"});
    } else {
      std::size_t frames = 0;
      std::array<std::uint8_t, kReceiveBufferSize> buffer{};
      for (;;) {
        sendPci_.dwProtocol = static_cast<PcscDword>(protocol_);
        sendPci_.cbPciLength = kSendPciLength;
        PcscDword receiveLength = kReceiveBufferSize;

        const CommandInfo& info = Lookup(command);
        commandName = info.commandName;
        std::string text = info.pattern;
        // The frame as the trace shows it: every secret replaced by '*', whether it parses or not.
        std::string shown;
        if (command == cmd::Escape || command == cmd::EscapeExt) {
          text = CleanRequest(param(0) != nullptr ? *param(0) : "");
          shown = MaskRawKeyFrame(text);
        } else if (command == cmd::DesfireSendNextData && param(0) != nullptr) {
          commandName = *param(0);
        }
        if (shown.empty()) shown = text;
        for (const Slot& slot : info.slots) {
          if (slot.placeholder == nullptr) break;
          const std::string* value = param(slot.param);
          const std::string* second = param(2);
          std::string filled;
          if (slot.fill == F::Zero) {
            filled = "00";
          } else if (value == nullptr || (slot.fill == F::HalfLength && second == nullptr)) {
            if (text.find(slot.placeholder) == std::string::npos) continue;
            throw std::invalid_argument(std::string("no value for ") + slot.placeholder);
          } else if (slot.fill == F::Byte) {
            filled = TwoHexDigits(RoundToInt32(LeadingNumber(*value)));
          } else if (slot.fill == F::HalfLength) {
            filled = TwoHexDigits(
                RoundToInt32(static_cast<double>(value->size() + second->size()) / 2.0));
          } else {
            filled = *value;
            if (slot.fill == F::Secret) RememberSecret(filled);
          }
          ReplaceAll(text, slot.placeholder, filled);
          ReplaceAll(shown, slot.placeholder,
                     slot.fill == F::Secret ? std::string(filled.size(), '*') : filled);
        }
        if (command == cmd::ContinueResponse) accumulated += Response;

        if (text.empty()) {
          // Empty command: deliberately nothing is sent and the call succeeds.
          StatusWord = "FFFF";
          result = sceSuccess;
          break;
        }
        const std::vector<std::uint8_t> frame = HexToBytes(text);
        Trace("Calling SCardTransmit(hCard:=" + std::to_string(hCard_) +
              ", pioSendPci:=[dwProtocol=" + std::to_string(sendPci_.dwProtocol) +
              ", cbPciLength=" + std::to_string(sendPci_.cbPciLength) + "], pbSendBuffer:= \"" +
              shown + "\", cbSendLength:=" + std::to_string(frame.size()) +
              ", pioRecvPci:=0, pbRecvBuffer, pcbRecvLength:=" + std::to_string(receiveLength) +
              ")");
        buffer.fill(0);
        status = platform_.pcsc->Transmit(hCard_, &sendPci_, frame.data(),
                                          static_cast<PcscDword>(frame.size()), nullptr,
                                          buffer.data(), &receiveLength);
        ++frames;
        Trace("Function returned: " + SCardErrorText(ScardNumber(status)));
        if (status != 0) {
          Trace("Call failed");
          SetLastError({.Number = err::kCommandFailed,
                        .Description = "Encoder command failed",
                        .ComFunction = "EncoderCommand",
                        .RdrCommand = "SCardTransmit:" + commandName,
                        .RdrRetCode = SCardErrorText(ScardNumber(status))});
          Response = "";
          break;
        }
        const std::size_t length = std::min<std::size_t>(receiveLength, kReceiveBufferSize);
        const std::span<const std::uint8_t> answer(buffer.data(), length);
        Trace("Received length ... " + std::to_string(length));
        Trace("Received data ..... " + ByteArrayToHex(answer));
        if (length == 0) {
          // Deliberately an empty answer counts as success.
          Trace("No status code!");
          Response = "";
          result = sceSuccess;
          break;
        }
        const std::size_t wordLength = std::min<std::size_t>(length, 2);
        Response = ByteArrayToHex(answer.first(length - wordLength));
        StatusWord = ByteArrayToHex(answer.last(wordLength));
        Trace("Status code=\"" + StatusWord + "\" (" + StatusWordText(StatusWord) + ")");
        if (IsSuccessWord(StatusWord)) {
          Response.insert(0, accumulated);
          result = sceSuccess;
          break;
        }
        if (StatusWord == "91AF" && AutoContinue) {
          // The card has more to send: ask for it, within bounds.
          if (frames >= kMaxChainFrames ||
              (accumulated.size() + Response.size()) / 2 >= kMaxChainBytes) {
            Trace("Continuation chain too long");
          } else {
            command = cmd::ContinueResponse;
            continue;
          }
        } else if (StatusWord == "91AF") {
          // The caller continues the exchange itself; it sees 91AF in StatusWord.
          result = sceSuccess;
          break;
        }
        SetLastError({.Number = err::kCommandFailed,
                      .Description = "Encoder command failed",
                      .ComFunction = "EncoderCommand",
                      .RdrCommand = "SCardTransmit:" + commandName,
                      .RdrRetCode = StatusWord});
        Response = "";
        break;
      }
    }
  } catch (const PcscCallError& error) {
    Trace("Error " + std::to_string(error.number()) + ": " + error.what() + " [" +
          SCardErrorText(ScardNumber(status)) + "]");
    SetLastError({.Number = error.number(),
                  .Description = error.what(),
                  .ComFunction = "EncoderCommand",
                  .RdrCommand = "SCardTransmit:" + commandName,
                  .RdrRetCode = SCardErrorText(ScardNumber(status))});
    Response = "";
    result = sceError;
  } catch (const std::exception& error) {
    Trace(std::string("Error: ") + error.what());
    SetLastError({.Number = err::kCommandFailed,
                  .Description = "Encoder command failed",
                  .ComFunction = "EncoderCommand",
                  .RdrCommand = "SCardTransmit:" + commandName});
    Response = "";
    result = sceError;
  }
  lastStatusWord_ = StatusWord;
  Trace(std::string("<-- EncoderCommand returns: ") + (result == sceSuccess ? "Success"
                                                       : result == sceError ? "Error"
                                                                            : "Canceled"));
  return result;
}

sceReturnCode Encoder::Escape(const std::string& Request, std::string& Response) {
  try {
    Trace("--> Escape");
    ClearLastError();
    std::string data;
    sceReturnCode result = SelectCardInRange();
    if (result != sceError) {
      std::string statusWord;
      bool autoContinue = false;
      result = EncoderCommand(cmd::Escape, {Request}, data, statusWord, autoContinue);
    }
    FinishLastError("Escape");
    Response = result == sceError ? "" : data;
    Trace("<-- Escape");
    return result;
  } catch (...) {
    Response = "";
    return sceError;
  }
}

sceReturnCode Encoder::EscapeExt(const std::string& Request, std::string& Response,
                                 std::string& RetCode) {
  try {
    Trace("--> EscapeExt");
    ClearLastError();
    std::string data;
    std::string statusWord;
    sceReturnCode result = SelectCardInRange();
    if (result != sceError) {
      bool autoContinue = false;
      result = EncoderCommand(cmd::EscapeExt, {Request}, data, statusWord, autoContinue);
    }
    FinishLastError("EscapeExt");
    Response = result == sceError ? "" : data;
    RetCode = result == sceError ? "" : statusWord;
    Trace("<-- EscapeExt");
    return result;
  } catch (...) {
    Response = "";
    RetCode = "";
    return sceError;
  }
}

}  // namespace lumivex
