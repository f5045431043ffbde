#include "component/desfire/desfire_applications.h"

#include <cmath>
#include <limits>
#include <optional>
#include <vector>

#include "component/desfire/desfire_card.h"
#include "component/hex.h"

namespace lumivex::desfire {

namespace {

constexpr std::size_t kVersionLength = 28;  // three answer frames of 7, 7 and 14 bytes
constexpr std::size_t kUidLength = 7;
constexpr std::size_t kBatchLength = 5;

double RoundHalfToEven(double value) {
  const double floor = std::floor(value);
  const double fraction = value - floor;
  if (fraction > 0.5) return floor + 1;
  if (fraction < 0.5) return floor;
  return std::fmod(floor, 2.0) == 0.0 ? floor : floor + 1;
}

// The storage code of the version answer: an even code 2n means 2^n bytes; an odd code means a
// size between 2^n and 2^(n+1), answered as the midpoint. Nothing when it does not fit 32 bits.
std::optional<std::int32_t> StorageSize(std::uint8_t code) {
  const double size = (code % 2 == 0) ? std::ldexp(1.0, code / 2)
                                      : RoundHalfToEven(1.5 * std::ldexp(1.0, (code - 1) / 2));
  if (size > std::numeric_limits<std::int32_t>::max()) return std::nullopt;
  return static_cast<std::int32_t>(size);
}

// A slice of the cache, or nothing when the cache is too short for it.
std::optional<Bytes> Slice(const Bytes& bytes, std::size_t first, std::size_t count) {
  if (bytes.size() < first + count) return std::nullopt;
  return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(first),
               bytes.begin() + static_cast<std::ptrdiff_t>(first + count));
}

// The identifier as the host wrote it (normalised in place); false when it is not three bytes of
// hexadecimal or names the root, which cannot be created or deleted.
bool IsApplicationId(std::string& appId) {
  return IsHexString(appId, 6) && appId != "000000";
}

}  // namespace

sceReturnCode Applications::Format() {
  static constexpr const char* kName = "DESFireFormat";
  return card_.Run(kName, [&] {
    if (!card_.AtRoot()) return card_.Refuse(failure::kOnlyAtRoot, kName);
    return card_.SendExpectOk(Command::kDesfireFormat, {}, kName);
  });
}

sceReturnCode Applications::CreateApplication(const std::string& ApplicationId,
                                              DesfireKeySettings KeySettings,
                                              std::int32_t NumOfKeys) {
  static constexpr const char* kName = "DESFireCreateApplication";
  return card_.Run(kName, [&] {
    if (!card_.AtRoot()) return card_.Refuse(failure::kOnlyAtRoot, kName);
    std::string appId = ApplicationId;
    if (!IsApplicationId(appId)) return card_.Refuse(failure::kIncorrectAppId, kName);
    const std::int32_t settings = KeySettings;
    if (settings < 0 || settings > 255) return card_.Refuse(failure::kInvalidParameter, kName);
    // The root application alone may not carry a change-key number in the high nibble; the
    // identifier test above already keeps the root out, so this never refuses.
    if (appId == "000000" && (settings & 0xF0) != 0) {
      return card_.Refuse(failure::kInvalidParameter, kName);
    }
    if (NumOfKeys < 1 || NumOfKeys > 14) return card_.Refuse(failure::kInvalidParameter, kName);
    return card_.SendExpectOk(Command::kDesfireCreateApplication,
                              {HexToBytes(appId), settings, NumOfKeys}, kName);
  });
}

sceReturnCode Applications::DeleteApplication(const std::string& ApplicationId) {
  static constexpr const char* kName = "DESFireDeleteApplication";
  return card_.Run(kName, [&] {
    // No root-level test: the card decides whether the selected application may delete.
    std::string appId = ApplicationId;
    if (!IsApplicationId(appId)) return card_.Refuse(failure::kIncorrectAppId, kName);
    return card_.SendExpectOk(Command::kDesfireDeleteApplication, {HexToBytes(appId)}, kName);
  });
}

sceReturnCode Applications::GetApplications(std::string& Applications) {
  static constexpr const char* kName = "DESFireGetApplications";
  return card_.Run(kName, [&] {
    const Reply reply = card_.Send(Command::kDesfireGetApplications);
    if (!Card::Answered(reply)) return card_.Fail(reply, kName);
    // Three bytes an application, in the card's byte order, separated by commas.
    std::string list;
    for (std::size_t i = 0; i < reply.data.size(); ++i) {
      list += ByteArrayToHex(ByteView(&reply.data[i], 1));
      if (i % 3 == 2 && i + 1 < reply.data.size()) list += ',';
    }
    Applications = list;
    return Succeeded();
  });
}

sceReturnCode Applications::GetVersion(DesfireVersionBytes RequestedInformation,
                                       Variant& Information) {
  static constexpr const char* kName = "DESFireGetVersion";
  return card_.Run(kName, [&] {
    Bytes& version = card_.versionCache();
    // The first complete answer is kept for the life of the Encoder, whatever card comes next.
    if (version.size() != kVersionLength) {
      const Reply reply = card_.Send(Command::kDesfireGetVersion);
      if (!Card::Answered(reply)) return card_.Fail(reply, kName);
      version = reply.data;
    }
    // A byte the cache does not hold reads as the byte 0 and fails the operation.
    const auto unreadable = [&] {
      Information = Variant::FromByte(0);
      return card_.Refuse(failure::kOperationFailed, kName);
    };
    const std::int32_t selector = RequestedInformation;
    if (selector == dfvAllData) {
      Information = Variant::FromBytes(version);
    } else if (selector == dfvStorageSize) {
      const auto code = Slice(version, dfvSoftwareStorageSize, 1);
      if (!code) return unreadable();
      const auto size = StorageSize(code->front());
      if (!size) return unreadable();
      Information = Variant::FromInt32(*size);
    } else if (selector == dfvUID || selector == dfvBatchNo) {
      const auto bytes = Slice(version, static_cast<std::size_t>(selector),
                               selector == dfvUID ? kUidLength : kBatchLength);
      if (!bytes) return unreadable();
      Information = Variant::FromBytes(*bytes);
    } else if (selector >= 0 && selector < static_cast<std::int32_t>(kVersionLength)) {
      const auto byte = Slice(version, static_cast<std::size_t>(selector), 1);
      if (!byte) return unreadable();
      Information = Variant::FromByte(byte->front());
    } else {
      return card_.Refuse(failure::kInvalidParameter, kName);
    }
    return Succeeded();
  });
}

}  // namespace lumivex::desfire
