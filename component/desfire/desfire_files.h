// Files of the selected DESFire application: listing, the five kinds of file creation, deletion,
// reading and changing a file's settings, and a file's kind as the transfers need to know it.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

#include "component/bytes.h"
#include "component/command_set.h"
#include "component/failures.h"
#include "component/frame.h"
#include "component/status_word.h"
#include "component/types.h"

namespace lumivex::desfire {

class Card;

// The access rights of a file: the key number (or 14 free, 15 never) of each right.
struct AccessRights {
  std::int32_t read;
  std::int32_t write;
  std::int32_t readWrite;
  std::int32_t manage;
};

// What a look at a file's settings found: its kind (when the card answered) and the last status
// word the card gave.
struct FileKind {
  bool known = false;
  std::uint8_t type = 0;
  StatusWord statusWord;
};

// The kinds of file creation: the command, the operation's name, and the highest file number
// (standard data files take 0 to 15, the other kinds are deliberately held to 0 to 7).
struct FileCreation {
  Command command;
  const char* name;
  std::int32_t maxFileNumber;
};
inline constexpr FileCreation kStdDataFile{Command::kDesfireCreateStdDataFile,
                                           "DESFireCreateStdDataFile", 15};
inline constexpr FileCreation kBackupDataFile{Command::kDesfireCreateBackupDataFile,
                                              "DESFireCreateBackupDataFile", 7};
inline constexpr FileCreation kValueFile{Command::kDesfireCreateValueFile, "DESFireCreateValueFile",
                                         7};
inline constexpr FileCreation kLinearRecordFile{Command::kDesfireCreateLinearRecordFile,
                                                "DESFireCreateLinearRecordFile", 7};
inline constexpr FileCreation kCyclicRecordFile{Command::kDesfireCreateCyclicRecordFile,
                                                "DESFireCreateCyclicRecordFile", 7};

class Files {
 public:
  explicit Files(Card& card) : card_(card) {}

  sceReturnCode GetFileIDs(std::string& FileIds);
  // Standard and backup data files.
  sceReturnCode CreateDataFile(const FileCreation& kind, std::int32_t FileNumber,
                               std::int32_t CommunicationSettings, const AccessRights& rights,
                               std::int32_t FileSize);
  sceReturnCode CreateValueFile(std::int32_t FileNumber, std::int32_t CommunicationSettings,
                                const AccessRights& rights, std::int32_t LowerLimit,
                                std::int32_t UpperLimit, std::int32_t InitialValue,
                                bool LimitedCreditEnabled);
  // Linear and cyclic record files.
  sceReturnCode CreateRecordFile(const FileCreation& kind, std::int32_t FileNumber,
                                 std::int32_t CommunicationSettings, const AccessRights& rights,
                                 std::int32_t RecordSize, std::int32_t MaxNumOfRecords);
  sceReturnCode DeleteFile(std::int32_t FileNumber);
  sceReturnCode GetFileSettings(std::int32_t FileNo, std::string& Information);
  sceReturnCode ChangeFileSettings(std::int32_t FileNo, std::int32_t CommunicationSettings,
                                   const AccessRights& rights);

  // The file's kind and communication settings, through GetFileSettings as the host would call
  // it; a failure is recorded for "DESFireGetFileCharacteristics".
  FileKind GetFileCharacteristics(std::int32_t FileNo);

 private:
  // Every kind of file is created alike: the shared checks, the kind's own check (kind, a
  // failure or null), then the command with number, communication settings and rights followed
  // by the kind's values.
  sceReturnCode CreateFile(const FileCreation& kind, std::int32_t fileNumber,
                           std::int32_t communicationSettings, const AccessRights& rights,
                           const Failure* kindFailure, std::initializer_list<FrameArg> kindValues);
  // GetFileSettings with what the card answered: the settings' bytes and the status word.
  sceReturnCode ReadFileSettings(std::int32_t fileNo, std::string& information, Bytes& settings,
                                 StatusWord& statusWord);

  Card& card_;
};

}  // namespace lumivex::desfire
