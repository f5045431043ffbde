// The shapes the members of _Encoder share (member_shapes.cpp): private to the surface tables.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "component/encoder.h"
#include "component/surface/member_info.h"

namespace lumivex::surface::shapes {

inline constexpr ArgType I4 = ArgType::Int32;
inline constexpr ArgType UI1 = ArgType::Byte;
inline constexpr ArgType BOOL = ArgType::Bool;
inline constexpr ArgType TEXT = ArgType::Text;
inline constexpr ArgType VAR = ArgType::Variant;

using Call = std::function<CallResult(Encoder&, Slots&)>;
using E = Encoder;

// The members that a call adapter below can call.
using TrailerReader = sceReturnCode (E::*)(std::int32_t, const std::string&, std::uint8_t,
                                           std::uint8_t&, SCBS_SecurityLevelEnum&,
                                           SCBS_SecurityLevelEnum&, SCBS_SecurityLevelEnum&,
                                           SCSS_SecurityLevelEnum&, std::uint8_t&);
using TrailerWriter = sceReturnCode (E::*)(std::int32_t, const std::string&, std::uint8_t,
                                           const std::string&, const std::string&, std::uint8_t,
                                           SCBS_SecurityLevelEnum, SCBS_SecurityLevelEnum,
                                           SCBS_SecurityLevelEnum, SCSS_SecurityLevelEnum,
                                           const std::optional<Variant>&);
using BlocMember = sceReturnCode (E::*)(std::int32_t, const std::string&, std::uint8_t,
                                        std::string&);
using ManufacturerMember = sceReturnCode (E::*)(const std::string&, std::uint8_t, std::int32_t&,
                                                std::uint8_t&, std::string&);
using BytesMember = sceReturnCode (E::*)(std::int32_t, const std::string&, std::uint8_t,
                                         std::uint8_t, std::uint8_t, std::string&);
using ValueMember = sceReturnCode (E::*)(std::int32_t, const std::string&, std::uint8_t,
                                         std::int32_t);
using AccessMember = void (E::*)(std::int32_t, const std::string&);
using CreateFileMember = sceReturnCode (E::*)(std::int32_t, std::int32_t, std::int32_t,
                                              std::int32_t, std::int32_t, std::int32_t,
                                              std::int32_t);
using CreateRecordMember = sceReturnCode (E::*)(std::int32_t, std::int32_t, std::int32_t,
                                                std::int32_t, std::int32_t, std::int32_t,
                                                std::int32_t, std::int32_t);
using WriteMember = sceReturnCode (E::*)(std::int32_t, std::int32_t, std::int32_t,
                                         const std::string&, bool);
using ReadMember = sceReturnCode (E::*)(std::int32_t, std::int32_t, std::int32_t, std::string&,
                                        bool);
using ChangeMember = sceReturnCode (E::*)(std::int32_t, std::int32_t);
using FileMember = sceReturnCode (E::*)(std::int32_t);
using PlainMember = sceReturnCode (E::*)();

// Parameters, results and members of the four kinds.
ParamInfo In(const char* name, ArgType type, const char* enumType = nullptr);
ParamInfo Out(const char* name, ArgType type, const char* enumType = nullptr);
ParamInfo OptionalOut(const char* name, ArgType type);
CallResult Code(sceReturnCode code);
CallResult Value(Variant value);
CallResult Nothing();
MemberInfo Operation(const char* name, std::vector<ParamInfo> params, Call call);
MemberInfo Sub(const char* name, std::vector<ParamInfo> params, Call call);
MemberInfo Function(const char* name, std::vector<ParamInfo> params, Call call);
MemberInfo Property(const char* name, ArgType type, const char* enumType,
                    std::function<Variant(Encoder&)> get,
                    std::function<void(Encoder&, const std::string&)> set = nullptr);
// Parameter lists shared by look-alike members.
std::vector<ParamInfo> BlocReadWrite();
std::vector<ParamInfo> ManufacturerCode();
std::vector<ParamInfo> BytesInBloc();
std::vector<ParamInfo> ValueBloc();
std::vector<ParamInfo> TrailerRead();
std::vector<ParamInfo> TrailerWrite();
std::vector<ParamInfo> AccessCondition();
std::vector<ParamInfo> Rights(std::vector<ParamInfo> head);
std::vector<ParamInfo> DataFile();
std::vector<ParamInfo> RecordFile();
std::vector<ParamInfo> WriteTransfer();
std::vector<ParamInfo> ReadTransfer();
std::vector<ParamInfo> ValueChange();
// Calls shared by a member and its unprefixed forwarder, or by members of one shape.
Call ReadTrailerCall(TrailerReader member);
Call WriteTrailerCall(TrailerWriter member);
Call BlocCall(BlocMember member);
Call ManufacturerCall(ManufacturerMember member);
Call BytesCall(BytesMember member);
Call ValueCall(ValueMember member);
Call AccessCall(AccessMember member);
Call DataFileCall(CreateFileMember member);
Call RecordFileCall(CreateRecordMember member);
Call WriteCall(WriteMember member);
Call ReadCall(ReadMember member);
Call ChangeCall(ChangeMember member);
Call FileCall(FileMember member);
Call PlainCall(PlainMember member);

}  // namespace lumivex::surface::shapes
