#include "component/command_set.h"

namespace lumivex {

namespace {

using C = Command;

consteval CommandDefinition Define(Command code, const char* traceName, const char* commandName,
                                   std::string_view pattern) {
  return {traceName, commandName, Pattern(pattern), code};
}

// clang-format off
constexpr CommandDefinition kCommands[] = {
    // The host's raw requests, cleaned to their digits and letters.
    {"ec_Escape", "Escape", Pattern("[REQUEST]"), C::kEscape, true, true},
    {"ec_EscapeExt", "EscapeExt", Pattern("[REQUEST]"), C::kEscapeExt, true, true},
    // The reader's own commands.
    Define(C::kGetUid, "GetUID", "GetUID", "FF CA 00 00 00"),
    Define(C::kContinueResponse, "ContinueResponse", "MoreResponse", "90 AF 00 00 00"),
    Define(C::kLoadKey, "LoadKey", "LoadKey", "FF 82 00 [KEY-LOCATION:1] 06 [KEY-VALUE!]"),
    // The block number of this command is its decimal text.
    Define(C::kGeneralAuthenticate, "GeneralAuthenticate", "GeneralAuthenticate",
           "FF 86 00 00 05 01 00 [BLOC] 00 [KEY-INDEX:1]"),
    Define(C::kMifareClassicRead, "MifareClassicRead", "MifareClassicRead",
           "FF F3 00 [BLOC:1] 06 [KEY-VALUE!] 10"),
    Define(C::kMifareClassicWrite, "MifareClassicWrite", "MifareClassicWrite",
           "FF F4 00 [BLOC:1] [LENGTH:1] [DATA] [KEY-VALUE!]"),
    Define(C::kReadBinary, "ReadBinary", "ReadBinary", "FF B0 [BLOC:2] 10"),
    // DESFire native commands wrapped in ISO 7816-4 frames.
    Define(C::kDesfireSelectApplication, "DesfireSelectApplication", "DESFireSelectApplication",
           "90 5A 00 00 03 [APPID] 00"),
    {"DesfireAuthenticate1", "DESFireAuthenticate",
     Pattern("[KEY_NUMBER_PCD:1] [KEY_NUMBER_PICC:1] [APP_ID] [KEY_1!] [KEY_2!] [KEY_3!]"),
     C::kDesfireAuthenticate1, false},
    Define(C::kDesfireAuthenticate2, "DesfireAuthenticate2", "DESFireAuthenticate",
           "90 0A 00 00 01 [KEY_NUMBER:1] 00"),
    Define(C::kDesfireAuthenticate3, "DesfireAuthenticate3", "DesfireAuthenticate",
           "90 AF 00 00 10 [TOKEN!] 00"),
    Define(C::kDesfireGetVersion, "DesfireGetVersion", "DesfireGetVersion", "90 60 00 00 00"),
    Define(C::kDesfireFormat, "DesfireFormat", "DesfireFormat", "90 FC 00 00 00"),
    Define(C::kDesfireGetApplications, "DesfireGetApplications", "DesfireGetApplications",
           "90 6A 00 00 00"),
    Define(C::kDesfireCreateApplication, "DesfireCreateApplication", "DesfireCreateApplication",
           "90 CA 00 00 05 [APP_ID] [KEY_SETTINGS:1] [KEYS_COUNT:1] 00"),
    Define(C::kDesfireDeleteApplication, "DesfireDeleteApplication", "DesfireDeleteApplication",
           "90 DA 00 00 03 [APP_ID] 00"),
    Define(C::kDesfireGetKeyVersion, "DesfireGetKeyVersion", "DesfireGetKeyVersion",
           "90 64 00 00 01 [KEY_NUMBER:1] 00"),
    Define(C::kDesfireGetKeySettings, "DesfireGetKeySettings", "DesfireGetKeySettings",
           "90 45 00 00 00"),
    Define(C::kDesfireChangeKey, "DesfireChangeKey", "DesfireChangeKey",
           "90 C4 00 00 19 [KEY_NUMBER:1] [KEY_DATA!] 00"),
    Define(C::kDesfireChangeKeySettings, "DesfireChangeKeySettings", "DesfireChangeKeySettings",
           "90 54 00 00 08 [KEY_SETTINGS!] 00"),
    Define(C::kDesfireGetFileIds, "DesfireGetFileIds", "DesfireGetFileIDs", "90 6F 00 00 00"),
    Define(C::kDesfireGetFileSettings, "DesfireGetFileSettings", "DesfireGetFileSettings",
           "90 F5 00 00 01 [FILE_NUMBER:1] 00"),
    Define(C::kDesfireChangeFileSettingsPlain, "DesfireChangeFileSettings1",
           "DesfireChangeFileSettings",
           "90 5F 00 00 04 [FILE_NUMBER:1] [COMM_SET:1] [ACCESS_RIGHTS:2LE] 00"),
    Define(C::kDesfireChangeFileSettingsEnciphered, "DesfireChangeFileSettings2",
           "DesfireChangeFileSettings", "90 5F 00 00 09 [FILE_NUMBER:1] [FILE_SETTINGS!] 00"),
    Define(C::kDesfireCreateStdDataFile, "DesfireCreateStdDataFile", "DesfireCreateStdDataFile",
           "90 CD 00 00 07 [FILE_NUMBER:1] [COMM_SET:1] [ACCESS_RIGHTS:2LE] [SIZE:3LE] 00"),
    Define(C::kDesfireCreateBackupDataFile, "DesfireCreateBackupDataFile",
           "DesfireCreateBackupDataFile",
         "90 CB 00 00 07 [FILE_NUMBER:1] [COMM_SET:1] [ACCESS_RIGHTS:2LE] [SIZE:3LE] 00"),
    Define(C::kDesfireCreateValueFile, "DesfireCreateValueFile", "DesfireCreateValueFile",
           "90 CC 00 00 11 [FILE_NUMBER:1] [COMM_SET:1] [ACCESS_RIGHTS:2LE] [LIMIT_LOW:4LE]"
         " [LIMIT_UP:4LE] [VALUE:4LE] [LIMITED_CREDIT:1] 00"),
    Define(C::kDesfireCreateLinearRecordFile, "DesfireCreateLinearRecordFile",
           "DesfireCreateLinearRecordFile",
         "90 C1 00 00 0A [FILE_NUMBER:1] [COMM_SET:1] [ACCESS_RIGHTS:2LE] [REC_SIZE:3LE]"
         " [REC_COUNT:3LE] 00"),
    Define(C::kDesfireCreateCyclicRecordFile, "DesfireCreateCyclicRecordFile",
           "DesfireCreateCyclicRecordFile",
         "90 C0 00 00 0A [FILE_NUMBER:1] [COMM_SET:1] [ACCESS_RIGHTS:2LE] [REC_SIZE:3LE]"
         " [REC_COUNT:3LE] 00"),
    Define(C::kDesfireDeleteFile, "DesfireDeleteFile", "DesfireDeleteFile",
           "90 DF 00 00 01 [FILE_NUMBER:1] 00"),
    Define(C::kDesfireReadData, "DesfireReadData", "DesfireReadData",
           "90 BD 00 00 07 [FILE_NUMBER:1] [OFFSET:3LE] [LENGTH:3LE] 00"),
    Define(C::kDesfireWriteData, "DesfireWriteData", "DesfireWriteData",
           "90 3D 00 00 [LENGTH:1] [DATA] 00"),
    Define(C::kDesfireReadRecords, "DesfireReadRecords", "DesfireReadRecords",
           "90 BB 00 00 07 [FILE_NUMBER:1] [OFFSET:3LE] [LENGTH:3LE] 00"),
    Define(C::kDesfireWriteRecord, "DesfireWriteRecord", "DesfireWriteRecord",
           "90 3B 00 00 [LENGTH:1] [DATA] 00"),
    Define(C::kDesfireClearRecordFile, "DesfireClearRecordFile", "DesfireClearRecordFile",
           "90 EB 00 00 01 [FILE_NUMBER:1] 00"),
    Define(C::kDesfireGetValue, "DesfireGetValue", "DesfireGetValue",
           "90 6C 00 00 01 [FILE_NUMBER:1] 00"),
    Define(C::kDesfireDebit, "DesfireDebit", "DesfireDebit", "90 DC 00 00 [LENGTH:1] [DATA] 00"),
    Define(C::kDesfireCredit, "DesfireCredit", "DesfireCredit", "90 0C 00 00 [LENGTH:1] [DATA] 00"),
    Define(C::kDesfireLimitedCredit, "DesfireLimitedCredit", "DesfireLimitedCredit",
           "90 1C 00 00 [LENGTH:1] [DATA] 00"),
    Define(C::kDesfireCommitTransaction, "DesfireCommitTransaction", "DesfireCommitTransaction",
           "90 C7 00 00 00"),
    Define(C::kDesfireAbortTransaction, "DesfireAbortTransaction", "DesfireAbortTransaction",
           "90 A7 00 00 00"),
    // A continuation frame of a long command: the caller names the command it continues.
    Define(C::kDesfireSendNextData, "DesfireSendNextData", "", "90 AF 00 00 [LENGTH:1] [DATA] 00"),
};
// clang-format on

}  // namespace

const CommandDefinition& DefinitionOf(Command command) {
  for (const CommandDefinition& definition : kCommands) {
    if (definition.code == command) return definition;
  }
  return kCommands[0];  // every Command has its entry above
}

}  // namespace lumivex
