// The contents of DESFire data and record files, and the framed exchanges that carry contents and
// values: the file's kind is checked first, then a long command goes out over the card's
// continuation frames, or a long answer comes back gathered.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

#include "component/bytes.h"
#include "component/command_set.h"
#include "component/frame.h"
#include "component/operation.h"
#include "component/status_word.h"
#include "component/types.h"

namespace lumivex {
class CodePage;
}

namespace lumivex::crypto {
class DES;
}

namespace lumivex::desfire {

class Card;
class Files;

// How a framed exchange ended: its Outcome, the answer's data, and the last status word the card
// gave (a boundary error after a refused debit, say).
struct Exchanged {
  Outcome outcome = Refused();
  Bytes data;
  StatusWord statusWord;
};

class Transfers {
 public:
  Transfers(Card& card, Files& files, crypto::DES& des) : card_(card), files_(files), des_(des) {}

  sceReturnCode WriteData(std::int32_t FileNo, std::int32_t Offset, std::int32_t Length,
                          const std::string& DataString, bool IsDataHexaString);
  sceReturnCode ReadData(std::int32_t FileNo, std::int32_t Offset, std::int32_t Length,
                         std::string& DataString, bool IsDataHexaString);
  sceReturnCode WriteRecord(std::int32_t FileNo, std::int32_t Offset, std::int32_t Length,
                            const std::string& DataString, bool IsDataHexaString);
  sceReturnCode ReadRecords(std::int32_t FileNo, std::int32_t Offset, std::int32_t Length,
                            std::string& DataString, bool IsDataHexaString);
  sceReturnCode ClearRecordFile(std::int32_t FileNo);

  // The framed send: the command's header and payload over as many frames as they need (at most
  // 52 bytes in the first, 59 in each continuation). The file's communication settings are not
  // used: the data always travel plain, and the card's answer decides whether it accepts them so.
  Exchanged FramedSend(Command command, ByteView header, ByteView payload,
                       std::span<const std::uint8_t> fileKinds, std::int32_t fileNo,
                       std::string_view caller);
  // The framed receive: one command, its continuation frames gathered, answered 9100 or 9101. A
  // MAC or ciphertext comes back as data, unchecked.
  Exchanged FramedReceive(Command command, std::initializer_list<FrameArg> args,
                          std::span<const std::uint8_t> fileKinds, std::int32_t fileNo,
                          std::string_view caller);

 private:
  sceReturnCode Write(Command command, const char* name, std::span<const std::uint8_t> fileKinds,
                      std::int32_t fileNo, std::int32_t offset, std::int32_t length,
                      const std::string& dataString, bool isDataHexaString);
  sceReturnCode Read(Command command, const char* name, std::span<const std::uint8_t> fileKinds,
                     std::int32_t fileNo, std::int32_t offset, std::int32_t length,
                     std::string& dataString, bool isDataHexaString);
  // The file exists and is of one of the kinds; otherwise the failure is recorded for caller.
  Exchanged CheckFileKind(std::span<const std::uint8_t> fileKinds, std::int32_t fileNo,
                          std::string_view caller);

  Card& card_;
  Files& files_;
  crypto::DES& des_;
};

}  // namespace lumivex::desfire
