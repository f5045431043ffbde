// The simulated DESFire card: card-level commands (format, applications, selection, free memory).
#include <algorithm>

#include "sim/desfire/desfire_card_impl.h"

namespace lumivex::sim::desfire {

namespace {

constexpr Aid kPiccAid{0, 0, 0};
constexpr std::size_t kAidsPerFrame = 19;  // GetApplicationIDs answers 19 identifiers a frame

Aid AidOf(Data data) {
  return {data[0], data[1], data[2]};
}

}  // namespace

Reply DesfireCard::FormatPicc(Data data) {
  if (!data.empty()) return {kLengthError, {}};
  if (!AtPiccLevel()) return {kPermissionDenied, {}};
  if (!AuthenticatedWith(0)) return {kAuthenticationError, {}};
  applications_.clear();
  usedMemory_ = 0;  // formatting is the only way back to the whole memory
  return {kOk, {}};
}

Reply DesfireCard::CreateApplication(Data data) {
  if (data.size() != 5) return {kLengthError, {}};
  if (!AtPiccLevel()) return {kPermissionDenied, {}};
  if ((piccSettings_ & kFreeCreateDelete) == 0 && !AuthenticatedWith(0)) {
    return {kAuthenticationError, {}};
  }
  const Aid aid = AidOf(data);
  const std::uint8_t settings = data[3];
  const std::uint8_t keyByte = data[4];
  // The high bits would ask for AES or 3K3DES keys or ISO file identifiers: not on this card.
  if (aid == kPiccAid || (keyByte & 0xF0) != 0) return {kParameterError, {}};
  const std::size_t keyCount = keyByte & 0x0F;
  if (keyCount < 1 || keyCount > kMaxKeysPerApplication) return {kParameterError, {}};
  if (FindApplication(aid) != nullptr) return {kDuplicateError, {}};
  if (applications_.size() >= kMaxApplications) return {kCountError, {}};
  const std::uint64_t cost = ApplicationCost(keyCount);
  if (cost > FreeMemory()) return {kOutOfMemory, {}};

  Application app;
  app.aid = aid;
  app.settings = settings;
  app.keys.resize(keyCount);
  applications_.push_back(std::move(app));
  usedMemory_ += cost;
  return {kOk, {}};
}

Reply DesfireCard::DeleteApplication(Data data) {
  if (data.size() != 3) return {kLengthError, {}};
  const Aid aid = AidOf(data);
  if (aid == kPiccAid) return {kParameterError, {}};
  if (FindApplication(aid) == nullptr) return {kApplicationNotFound, {}};
  // The card master key, or the application's own master key from inside the application.
  const bool inside = selected_ && *selected_ == aid;
  if (!((AtPiccLevel() || inside) && AuthenticatedWith(0))) return {kAuthenticationError, {}};
  std::erase_if(applications_, [&](const Application& app) { return app.aid == aid; });
  if (inside) {
    selected_.reset();
    DropAuthentication();
  }
  return {kOk, {}};
}

Reply DesfireCard::GetApplicationIds(Data data) {
  if (!data.empty()) return {kLengthError, {}};
  if (!AtPiccLevel()) return {kPermissionDenied, {}};
  if ((piccSettings_ & kFreeDirectoryAccess) == 0 && !AuthenticatedWith(0)) {
    return {kAuthenticationError, {}};
  }
  Bytes ids;
  for (const Application& app : applications_)
    ids.insert(ids.end(), app.aid.begin(), app.aid.end());
  return Chain(std::move(ids), kAidsPerFrame * 3);
}

Reply DesfireCard::SelectApplication(Data data) {
  if (data.size() != 3) return {kLengthError, {}};
  // Leaving (or re-entering) an application ends its transaction and the authentication.
  AbortTransaction();
  DropAuthentication();
  const Aid aid = AidOf(data);
  if (aid == kPiccAid) {
    selected_.reset();
    return {kOk, {}};
  }
  if (FindApplication(aid) == nullptr) return {kApplicationNotFound, {}};
  selected_ = aid;
  return {kOk, {}};
}

Reply DesfireCard::GetFreeMemory(Data data) {
  if (!data.empty()) return {kLengthError, {}};
  Bytes answer;
  AppendU24(answer, static_cast<std::uint32_t>(std::min<std::uint64_t>(FreeMemory(), 0xFFFFFF)));
  return {kOk, std::move(answer)};
}

}  // namespace lumivex::sim::desfire
