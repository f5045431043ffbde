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

// The order, names and dispids of the members are the interface description's (checked above);
// every member can be called, every property read, and only Parameters written.
TEST(Surface, EveryMemberCanBeCalledOrRead) {
  for (const auto& m : EncoderMembers()) {
    if (m.kind == MemberKind::Method) {
      EXPECT_TRUE(m.call) << m.name;
    } else {
      EXPECT_TRUE(m.get) << m.name;
      EXPECT_EQ(m.set != nullptr, std::string(m.name) == "Parameters") << m.name;
    }
  }
}

// The type library's enumerations carry the values the component itself works with (their names
// and order are the interface description's).
TEST(Surface, EnumerationValuesAreTheComponentsOwn) {
  // clang-format off
  const std::pair<const char*, std::int32_t> cases[] = {
      {"sceError", sceError}, {"sceReady", sceReady}, {"sceDESFire", sceDESFire},
      {"scePicoPass2KS", scePicoPass2KS}, {"scbs_B_ReadWrite", scbs_B_ReadWrite},
      {"scss_B_WriteKeysConditions", scss_B_WriteKeysConditions},
      {"dfkApplChangeKeyLocked", dfkApplChangeKeyLocked},
      {"dfkConfigurationChangeable", dfkConfigurationChangeable}, {"dfvAllData", dfvAllData},
      {"dfvProductionYear", dfvProductionYear}, {"dfcCiphered", dfcCiphered},
      {"dfaAllow_13", dfaAllow_13}, {"dfaDenyAll", dfaDenyAll}, {"dftCyclic", dftCyclic}};
  // clang-format on
  for (const auto& [name, value] : cases) {
    const EnumMember* member = FindEnumMember(name);
    ASSERT_NE(member, nullptr) << name;
    EXPECT_EQ(member->value, value) << name;
  }
}

}  // namespace
}  // namespace lumivex::surface
