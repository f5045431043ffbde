#include "component/desfire/desfire_files.h"
#include "component/hex.h"

#include <algorithm>
#include <array>
#include <vector>

#include "component/desfire/cryptogram.h"
#include "component/desfire/desfire_card.h"

namespace lumivex::desfire {

namespace {

bool ValidCreateCommSettings(std::int32_t value) {
  return value == dfcPlain || value == dfcPlainMac || value == dfcCiphered;
}

// The checks shared by file creation and the settings change, in their order: file number,
// communication settings, then read, write, read-and-write and change rights.
const Failure* CheckFileArguments(std::int32_t fileNo, std::int32_t maxFileNo,
                                  bool commSettingsValid, const AccessRights& rights) {
  if (fileNo < 0 || fileNo > maxFileNo) return &failure::kInvalidFileNumber;
  if (!commSettingsValid) return &failure::kInvalidCommSettings;
  for (const std::int32_t right : {rights.read, rights.write, rights.readWrite, rights.manage}) {
    if (right < 0 || right > 15) return &failure::kBadKeyNumber;
  }
  return nullptr;
}

// The 16-bit access rights, sent least significant byte first: read-and-write and change in the
// first byte, read and write in the second.
std::uint32_t RightsWord(const AccessRights& rights) {
  const auto nibble = [](std::int32_t right) { return static_cast<std::uint32_t>(right) & 0xFU; };
  return nibble(rights.read) << 12U | nibble(rights.write) << 8U | nibble(rights.readWrite) << 4U |
         nibble(rights.manage);
}

bool InRange24(std::int32_t value) {
  return value >= 1 && value <= kMax24;
}

const Failure* DataFileFailure(std::int32_t fileSize) {
  return InRange24(fileSize) ? nullptr : &failure::kInvalidFileSize;
}

const Failure* RecordFileFailure(std::int32_t recordSize, std::int32_t recordCount) {
  if (!InRange24(recordSize)) return &failure::kInvalidRecordSize;
  if (!InRange24(recordCount)) return &failure::kInvalidRecordCount;
  return nullptr;
}

const Failure* ValueFileFailure(std::int32_t lower, std::int32_t upper, std::int32_t initial) {
  if (lower > upper) return &failure::kInvalidLimits;
  if (initial < lower || initial > upper) return &failure::kValueOutOfBounds;
  return nullptr;
}

}  // namespace

sceReturnCode Files::GetFileIDs(std::string& FileIds) {
  static constexpr const char* kName = "DESFireGetFileIDs";
  return card_.Run(kName, [&] {
    if (!card_.IsAuthenticated()) return card_.Refuse(failure::kNotAuthenticated, kName);
    const Reply reply = card_.Send(Command::kDesfireGetFileIds);
    if (!Card::Answered(reply)) return card_.Fail(reply, kName);
    std::vector<int> numbers(reply.data.begin(), reply.data.end());
    std::sort(numbers.begin(), numbers.end());
    std::string list;
    for (const int number : numbers) {
      if (!list.empty()) list += ',';
      list += std::to_string(number);
    }
    FileIds = list;
    return Succeeded();
  });
}

sceReturnCode Files::CreateFile(const FileCreation& kind, std::int32_t fileNumber,
                                std::int32_t communicationSettings, const AccessRights& rights,
                                const Failure* kindFailure,
                                std::initializer_list<FrameArg> kindValues) {
  return card_.Run(kind.name, [&] {
    if (!card_.IsAuthenticated()) return card_.Refuse(failure::kNotAuthenticated, kind.name);
    if (const Failure* failed =
            CheckFileArguments(fileNumber, kind.maxFileNumber,
                               ValidCreateCommSettings(communicationSettings), rights)) {
      return card_.Refuse(*failed, kind.name);
    }
    if (kindFailure != nullptr) return card_.Refuse(*kindFailure, kind.name);
    std::vector<FrameArg> values{fileNumber, communicationSettings, RightsWord(rights)};
    values.insert(values.end(), kindValues.begin(), kindValues.end());
    return card_.SendExpectOk(kind.command, values, kind.name);
  });
}

sceReturnCode Files::CreateDataFile(const FileCreation& kind, std::int32_t FileNumber,
                                    std::int32_t CommunicationSettings, const AccessRights& rights,
                                    std::int32_t FileSize) {
  return CreateFile(kind, FileNumber, CommunicationSettings, rights, DataFileFailure(FileSize),
                    {FileSize});
}

sceReturnCode Files::CreateValueFile(std::int32_t FileNumber, std::int32_t CommunicationSettings,
                                     const AccessRights& rights, std::int32_t LowerLimit,
                                     std::int32_t UpperLimit, std::int32_t InitialValue,
                                     bool LimitedCreditEnabled) {
  return CreateFile(kValueFile, FileNumber, CommunicationSettings, rights,
                    ValueFileFailure(LowerLimit, UpperLimit, InitialValue),
                    {LowerLimit, UpperLimit, InitialValue, LimitedCreditEnabled ? 1 : 0});
}

sceReturnCode Files::CreateRecordFile(const FileCreation& kind, std::int32_t FileNumber,
                                      std::int32_t CommunicationSettings,
                                      const AccessRights& rights, std::int32_t RecordSize,
                                      std::int32_t MaxNumOfRecords) {
  return CreateFile(kind, FileNumber, CommunicationSettings, rights,
                    RecordFileFailure(RecordSize, MaxNumOfRecords), {RecordSize, MaxNumOfRecords});
}

sceReturnCode Files::DeleteFile(std::int32_t FileNumber) {
  static constexpr const char* kName = "DESFireDeleteFile";
  return card_.Run(kName, [&] {
    if (!card_.IsAuthenticated()) return card_.Refuse(failure::kNotAuthenticated, kName);
    if (FileNumber < 0 || FileNumber > kMaxFileNumber) {
      return card_.Refuse(failure::kInvalidFileNumber, kName);
    }
    return card_.SendExpectOk(Command::kDesfireDeleteFile, {FileNumber}, kName);
  });
}

sceReturnCode Files::GetFileSettings(std::int32_t FileNo, std::string& Information) {
  Bytes settings;
  StatusWord statusWord;
  return ReadFileSettings(FileNo, Information, settings, statusWord);
}

sceReturnCode Files::ReadFileSettings(std::int32_t fileNo, std::string& information,
                                      Bytes& settings, StatusWord& statusWord) {
  static constexpr const char* kName = "DESFireGetFileSettings";
  return card_.Run(kName, [&] {
    if (!card_.IsAuthenticated()) return card_.Refuse(failure::kNotAuthenticated, kName);
    if (fileNo < 0 || fileNo > kMaxFileNumber) {
      return card_.Refuse(failure::kInvalidFileNumber, kName);
    }
    const Reply reply = card_.Send(Command::kDesfireGetFileSettings, {fileNo});
    statusWord = reply.statusWord;
    if (!Card::Answered(reply)) return card_.Fail(reply, kName);
    // File type, communication settings, access rights, then the fields of the file's kind.
    settings = reply.data;
    information = BytesToHex(settings, 1, -1, true);
    return Succeeded();
  });
}

sceReturnCode Files::ChangeFileSettings(std::int32_t FileNo, std::int32_t CommunicationSettings,
                                        const AccessRights& rights) {
  static constexpr const char* kName = "DESFireChangeFileSettings";
  return card_.Run(kName, [&] {
    if (!card_.IsAuthenticated()) return card_.Refuse(failure::kNotAuthenticated, kName);
    if (const Failure* failed = CheckFileArguments(
            FileNo, kMaxFileNumber, CommunicationSettings >= 0 && CommunicationSettings <= 255,
            rights)) {
      return card_.Refuse(*failed, kName);
    }
    // A file whose change right is free takes its settings plain; otherwise the card refuses the
    // plain frame and wants them enciphered with the session key.
    const std::uint32_t word = RightsWord(rights);
    if (Card::Answered(card_.Send(Command::kDesfireChangeFileSettingsPlain,
                                  {FileNo, CommunicationSettings, word}))) {
      return Succeeded();
    }
    const std::array<std::uint8_t, 3> plain{static_cast<std::uint8_t>(CommunicationSettings),
                                            static_cast<std::uint8_t>(word),
                                            static_cast<std::uint8_t>(word >> 8U)};
    Cryptogram cryptogram;
    cryptogram.Data(plain).CrcOf(plain).Zeros(3);
    return card_.SendExpectOk(Command::kDesfireChangeFileSettingsEnciphered,
                              {FileNo, card_.Encipher(cryptogram)}, kName);
  });
}

FileKind Files::GetFileCharacteristics(std::int32_t FileNo) {
  static constexpr const char* kName = "DESFireGetFileCharacteristics";
  FileKind kind;
  std::string information;
  Bytes settings;
  if (ReadFileSettings(FileNo, information, settings, kind.statusWord) != sceSuccess ||
      settings.size() < 2) {
    card_.reporting().record.Fail(failure::kOperationFailed, kName);
    return kind;
  }
  kind.known = true;
  kind.type = settings[0];
  return kind;
}

}  // namespace lumivex::desfire
