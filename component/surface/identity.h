// The fixed identity of the automation component: library, interfaces, classes, ProgIDs, version.
// Chosen once; hosts and registries remember them, so they never change.
#pragma once

namespace lumivex::surface {

inline constexpr const char* kLibraryName = "Orbanet_Lumivex_BL";
inline constexpr const char* kLibraryTitle = "Orbanet Lumivex encoding component for Badgeline";
inline constexpr int kLibraryMajor = 7;  // type library version 7.1
inline constexpr int kLibraryMinor = 1;

inline constexpr const char* kLibraryId = "7FD67C2C-2F41-4AFE-B470-AF6573E0B52B";
inline constexpr const char* kEncoderInterfaceId = "337418AB-538C-4717-8E8B-A09D6BA4F9EC";
inline constexpr const char* kRecordInterfaceId = "97D37B28-68B9-46E5-AEBD-5DF1CC6B7EF9";
inline constexpr const char* kEncoderClassId = "FE600688-3D7A-4FB3-BCEC-705A16C071F8";
inline constexpr const char* kRecordClassId = "5621A7D5-6AC3-4C8C-90D3-1DEBB51632E7";

inline constexpr const char* kEncoderProgId = "Orbanet_Lumivex_BL.Encoder";
inline constexpr const char* kRecordProgId = "Orbanet_Lumivex_BL.CError";

}  // namespace lumivex::surface
