// The automation surface: one description read by the tool, the COM server and the IDL.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "component/surface/interface_text.h"
#include "component/surface/member_info.h"
#include "component/types.h"

namespace lumivex::surface {
namespace {

TEST(Surface, TheCheckedInInterfaceDescriptionIsTheOneTheTablesWrite) {
  std::ifstream file(std::string(LUMIVEX_SOURCE_DIR) + "/com/Orbanet_Lumivex_BL.idl",
                     std::ios::binary);
  ASSERT_TRUE(file) << "com/Orbanet_Lumivex_BL.idl is missing";
  std::ostringstream text;
  text << file.rdbuf();
  EXPECT_EQ(text.str(), InterfaceDescription())
      << "the IDL and the member tables differ: run `build/dev/bin/lumivex idl > "
         "com/Orbanet_Lumivex_BL.idl` and review the change";
}

TEST(Surface, EncoderMembersComeInTheInterfaceOrderWithDispidsFromOne) {
  const std::vector<std::string> expected = {"Parameters",
                                             "LastError",
                                             "WriteLog",
                                             "OpenEncoder",
                                             "ReOpenEncoder",
                                             "CloseEncoder",
                                             "EncoderState",
                                             "ReaderType",
                                             "ATRString",
                                             "ReadSerialNumber",
                                             "Escape",
                                             "EscapeExt",
                                             "GetResponseText",
                                             "CardType",
                                             "SerialNumberLength",
                                             "GetInformation",
                                             "Configure",
                                             "ReadDataBloc",
                                             "ReadManufacturerCode",
                                             "WriteDataBloc",
                                             "WriteBytesInBloc",
                                             "MifareReadDataBloc",
                                             "MifareReadManufacturerCode",
                                             "MifareWriteDataBloc",
                                             "MifareWriteBytesInBloc",
                                             "WriteValueBloc",
                                             "ReadSectorTrailer",
                                             "WriteSectorTrailer",
                                             "MifareWriteValueBloc",
                                             "MifareReadSectorTrailer",
                                             "MifareWriteSectorTrailer",
                                             "SetAccessCondition",
                                             "MifareSetAccessCondition",
                                             "DESFireSelectRoot",
                                             "DESFireSelectApplication",
                                             "DESFireFormat",
                                             "DESFireCreateApplication",
                                             "DESFireDeleteApplication",
                                             "DESFireGetApplications",
                                             "DESFireGetVersion",
                                             "DESFireChangeKey",
                                             "DESFireGetKeyVersion",
                                             "DESFireGetKeySettings",
                                             "DESFireChangeKeySettings",
                                             "DESFireGetFileIDs",
                                             "DESFireCreateStdDataFile",
                                             "DESFireCreateBackupDataFile",
                                             "DESFireCreateValueFile",
                                             "DESFireCreateLinearRecordFile",
                                             "DESFireCreateCyclicRecordFile",
                                             "DESFireDeleteFile",
                                             "DESFireGetFileSettings",
                                             "DESFireChangeFileSettings",
                                             "DESFireWriteData",
                                             "DESFireReadData",
                                             "DESFireWriteRecord",
                                             "DESFireReadRecords",
                                             "DESFireClearRecordFile",
                                             "DESFireGetValue",
                                             "DESFireDebit",
                                             "DESFireCredit",
                                             "DESFireLimitedCredit",
                                             "DESFireCommitTransaction",
                                             "DESFireAbortTransaction"};
  std::vector<std::string> names;
  for (const auto& m : EncoderMembers()) {
    EXPECT_EQ(m.dispid, static_cast<std::int32_t>(names.size()) + 1) << m.name;
    names.emplace_back(m.name);
    if (m.kind == MemberKind::Method) {
      EXPECT_TRUE(m.call) << m.name;
    } else {
      EXPECT_TRUE(m.get) << m.name;  // every property can be read; only Parameters is written
      EXPECT_EQ(m.set != nullptr, names.back() == "Parameters") << m.name;
    }
  }
  EXPECT_EQ(names, expected);
}

// The type library's enumerations carry the values the component itself works with.
TEST(Surface, EnumerationValuesAreTheComponentsOwn) {
  const struct {
    const char* name;
    std::int32_t value;
  } cases[] = {
      {"sceError", sceError},
      {"sceReady", sceReady},
      {"sceDESFire", sceDESFire},
      {"scePicoPass2KS", scePicoPass2KS},
      {"scbs_B_ReadWrite", scbs_B_ReadWrite},
      {"scss_B_WriteKeysConditions", scss_B_WriteKeysConditions},
      {"dfkApplChangeKeyLocked", dfkApplChangeKeyLocked},
      {"dfkConfigurationChangeable", dfkConfigurationChangeable},
      {"dfvAllData", dfvAllData},
      {"dfvProductionYear", dfvProductionYear},
      {"dfcCiphered", dfcCiphered},
      {"dfaAllow_13", dfaAllow_13},
      {"dfaDenyAll", dfaDenyAll},
      {"dftCyclic", dftCyclic},
  };
  for (const auto& c : cases) {
    const EnumMember* member = FindEnumMember(c.name);
    ASSERT_NE(member, nullptr) << c.name;
    EXPECT_EQ(member->value, c.value) << c.name;
  }
  std::vector<std::string> enumNames;
  std::size_t count = 0;
  for (const auto& e : Enumerations()) {
    enumNames.emplace_back(e.name);
    count += e.members.size();
  }
  EXPECT_EQ(enumNames,
            (std::vector<std::string>{
                "sceReturnCode", "sceEncoderState", "sceCardTypes", "SCBS_SecurityLevelEnum",
                "SCSS_SecurityLevelEnum", "DesfireKeySettings", "DesfireVersionBytes",
                "DesfireCommunicationSettings", "DesfireAccessRights", "DesfireFileTypes"}));
  EXPECT_EQ(count, 3U + 4 + 8 + 8 + 8 + 32 + 20 + 3 + 16 + 5);
}

}  // namespace
}  // namespace lumivex::surface
