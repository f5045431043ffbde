// Card-level DESFire operations: erasing the card, creating, deleting and listing applications,
// and the card's manufacturing data (read once, then served from the Encoder's cache).
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "component/desfire/desfire_common.h"
#include "component/desfire/desfire_operation.h"
#include "component/encoder.h"
#include "component/hex.h"
#include "crypto/des.h"

namespace lumivex {

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
std::optional<std::vector<std::uint8_t>> Slice(const std::vector<std::uint8_t>& bytes,
                                               std::size_t first, std::size_t count) {
  if (bytes.size() < first + count) return std::nullopt;
  return std::vector<std::uint8_t>(bytes.begin() + static_cast<std::ptrdiff_t>(first),
                                   bytes.begin() + static_cast<std::ptrdiff_t>(first + count));
}

}  // namespace

sceReturnCode Encoder::DESFireFormat() {
  const std::string op = "DESFireFormat";
  return DESFireOperation(op, [&]() -> sceReturnCode {
    if (!DESFireAtRoot()) return desfire::Record(LastError(), desfire::fail::OnlyAtRoot, op);
    return DESFireSendExpectOk(cmd::DesfireFormat, {}, op);
  });
}

sceReturnCode Encoder::DESFireCreateApplication(const std::string& ApplicationId,
                                                DesfireKeySettings KeySettings,
                                                std::int32_t NumOfKeys) {
  const std::string op = "DESFireCreateApplication";
  return DESFireOperation(op, [&]() -> sceReturnCode {
    using desfire::Record;
    namespace fail = desfire::fail;
    if (!DESFireAtRoot()) return Record(LastError(), fail::OnlyAtRoot, op);
    std::string appId = ApplicationId;
    if (!IsHexString(appId, 6) || appId == "000000") {
      return Record(LastError(), fail::IncorrectAppId, op);
    }
    const std::int32_t settings = KeySettings;
    if (settings < 0 || settings > 255) return Record(LastError(), fail::InvalidParameter, op);
    // The root application alone may not carry a change-key number in the high nibble; the
    // identifier test above already keeps the root out, so this never fires.
    if (appId == "000000" && (settings & 0xF0) != 0) {
      return Record(LastError(), fail::InvalidParameter, op);
    }
    if (NumOfKeys < 1 || NumOfKeys > 14) return Record(LastError(), fail::InvalidParameter, op);

    // The engine writes the key settings and the key count, given as numbers, in hexadecimal.
    return DESFireSendExpectOk(cmd::DesfireCreateApplication,
                               {appId, std::to_string(settings), std::to_string(NumOfKeys)}, op);
  });
}

sceReturnCode Encoder::DESFireDeleteApplication(const std::string& ApplicationId) {
  const std::string op = "DESFireDeleteApplication";
  return DESFireOperation(op, [&]() -> sceReturnCode {
    // No root-level test: the card decides whether the selected application may delete.
    std::string appId = ApplicationId;
    if (!IsHexString(appId, 6) || appId == "000000") {
      return desfire::Record(LastError(), desfire::fail::IncorrectAppId, op);
    }
    return DESFireSendExpectOk(cmd::DesfireDeleteApplication, {appId}, op);
  });
}

sceReturnCode Encoder::DESFireGetApplications(std::string& Applications) {
  const std::string op = "DESFireGetApplications";
  return DESFireOperation(op, [&]() -> sceReturnCode {
    std::string response;
    std::string statusWord;
    bool autoContinue = true;
    if (EncoderCommand(cmd::DesfireGetApplications, {}, response, statusWord, autoContinue) !=
            sceSuccess ||
        desfire::Upper(statusWord) != desfire::kSwOk) {
      return desfire::Record(LastError(), desfire::fail::OperationFailed, op, std::nullopt,
                             statusWord);
    }
    // Three bytes an application, in the card's byte order, separated by commas.
    std::string list;
    for (std::size_t i = 0; i + 1 < response.size(); i += 2) {
      list += response.substr(i, 2);
      if ((i / 2) % 3 == 2) list += ',';
    }
    if (!list.empty() && list.back() == ',') list.pop_back();
    Applications = list;
    return sceSuccess;
  });
}

sceReturnCode Encoder::DESFireGetVersion(DesfireVersionBytes RequestedInformation,
                                         Variant& Information) {
  const std::string op = "DESFireGetVersion";
  return DESFireOperation(op, [&]() -> sceReturnCode {
    using desfire::Record;
    namespace fail = desfire::fail;
    // The first complete answer is kept for the life of the Encoder, whatever card comes next.
    if (desfireVersion_.size() != kVersionLength) {
      std::string response;
      std::string statusWord;
      bool autoContinue = true;
      if (EncoderCommand(cmd::DesfireGetVersion, {}, response, statusWord, autoContinue) !=
              sceSuccess ||
          desfire::Upper(statusWord) != desfire::kSwOk) {
        return Record(LastError(), fail::OperationFailed, op, std::nullopt, statusWord);
      }
      const auto bytes = Des().ConvertData(
          response,
          crypto::ConvertMode(crypto::DataForm::kSpacedHex, crypto::DataForm::kByteArray));
      if (const auto* array = std::get_if<std::vector<std::uint8_t>>(&bytes)) {
        desfireVersion_ = *array;
      } else {
        desfireVersion_.clear();
      }
    }

    // A byte the cache does not hold reads as the byte 0 and fails the operation.
    const auto unreadable = [&]() {
      Information = Variant::FromByte(0);
      return Record(LastError(), fail::OperationFailed, op);
    };
    const std::int32_t selector = RequestedInformation;
    if (selector == dfvAllData) {
      Information = Variant::FromBytes(desfireVersion_);
    } else if (selector == dfvStorageSize) {
      const auto code = Slice(desfireVersion_, dfvSoftwareStorageSize, 1);
      if (!code) return unreadable();
      const auto size = StorageSize(code->front());
      if (!size) return unreadable();
      Information = Variant::FromInt32(*size);
    } else if (selector == dfvUID || selector == dfvBatchNo) {
      const auto bytes = Slice(desfireVersion_, static_cast<std::size_t>(selector),
                               selector == dfvUID ? kUidLength : kBatchLength);
      if (!bytes) return unreadable();
      Information = Variant::FromBytes(*bytes);
    } else if (selector >= 0 && selector < static_cast<std::int32_t>(kVersionLength)) {
      const auto byte = Slice(desfireVersion_, static_cast<std::size_t>(selector), 1);
      if (!byte) return unreadable();
      Information = Variant::FromByte(byte->front());
    } else {
      return Record(LastError(), fail::InvalidParameter, op);
    }
    return sceSuccess;
  });
}

}  // namespace lumivex
