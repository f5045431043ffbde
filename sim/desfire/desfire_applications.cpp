// The simulated DESFire card: card-level commands (version, format, applications, selection, free
// memory).
#include "sim/desfire/desfire_applications.h"

#include <algorithm>
#include <array>

namespace lumivex::sim::desfire {

namespace {

constexpr Aid kPiccAid{0, 0, 0};
// Batch number and production week/year of every simulated card.
constexpr std::array<std::uint8_t, 5> kBatch{0xBA, 0x7C, 0x51, 0x26, 0x40};
constexpr std::uint8_t kProductionWeek = 0x24;
constexpr std::uint8_t kProductionYear = 0x19;
constexpr std::size_t kAidsPerFrame = 19;  // GetApplicationIDs answers 19 identifiers a frame

Aid AidOf(Data data) {
  return {data[0], data[1], data[2]};
}

}  // namespace

Reply ApplicationCommands::GetVersion(Data data) {
  if (!data.empty()) return {kLengthError, {}};
  const std::uint8_t storage = state_.options.storageCode;
  Bytes production(state_.options.uid.begin(), state_.options.uid.end());
  production.insert(production.end(), kBatch.begin(), kBatch.end());
  production.push_back(kProductionWeek);
  production.push_back(kProductionYear);
  state_.exchanges.outgoing.push_back(
      {kAdditionalFrame, {0x04, 0x01, 0x01, 0x01, 0x04, storage, 0x05}});
  state_.exchanges.outgoing.push_back({kOk, std::move(production)});
  return {kAdditionalFrame, {0x04, 0x01, 0x01, 0x01, 0x00, storage, 0x05}};
}

Reply ApplicationCommands::FormatPicc(Data data) {
  if (!data.empty()) return {kLengthError, {}};
  if (!state_.AtPiccLevel()) return {kPermissionDenied, {}};
  if (!state_.session.AuthenticatedWith(0)) return {kAuthenticationError, {}};
  state_.contents.applications.clear();
  state_.contents.usedMemory = 0;  // formatting is the only way back to the whole memory
  return {kOk, {}};
}

Reply ApplicationCommands::CreateApplication(Data data) {
  if (data.size() != 5) return {kLengthError, {}};
  if (!state_.AtPiccLevel()) return {kPermissionDenied, {}};
  if ((state_.contents.settings & kFreeCreateDelete) == 0 && !state_.session.AuthenticatedWith(0)) {
    return {kAuthenticationError, {}};
  }
  const Aid aid = AidOf(data);
  const std::uint8_t settings = data[3];
  const std::uint8_t keyByte = data[4];
  // The high bits would ask for AES or 3K3DES keys or ISO file identifiers: not on this card.
  if (aid == kPiccAid || (keyByte & 0xF0) != 0) return {kParameterError, {}};
  const std::size_t keyCount = keyByte & 0x0F;
  if (keyCount < 1 || keyCount > kMaxKeysPerApplication) return {kParameterError, {}};
  if (state_.contents.Find(aid) != nullptr) return {kDuplicateError, {}};
  if (state_.contents.applications.size() >= kMaxApplications) return {kCountError, {}};
  const std::uint64_t cost = ApplicationCost(keyCount);
  if (cost > state_.contents.FreeMemory()) return {kOutOfMemory, {}};

  Application app;
  app.aid = aid;
  app.settings = settings;
  app.keys.resize(keyCount);
  state_.contents.applications.push_back(std::move(app));
  state_.contents.usedMemory += cost;
  return {kOk, {}};
}

Reply ApplicationCommands::DeleteApplication(Data data) {
  if (data.size() != 3) return {kLengthError, {}};
  const Aid aid = AidOf(data);
  if (aid == kPiccAid) return {kParameterError, {}};
  if (state_.contents.Find(aid) == nullptr) return {kApplicationNotFound, {}};
  // The card master key, or the application's own master key from inside the application.
  const bool inside = state_.selected && *state_.selected == aid;
  if (!((state_.AtPiccLevel() || inside) && state_.session.AuthenticatedWith(0))) {
    return {kAuthenticationError, {}};
  }
  std::erase_if(state_.contents.applications,
                [&](const Application& app) { return app.aid == aid; });
  if (inside) {
    state_.selected.reset();
    state_.session.End();
  }
  return {kOk, {}};
}

Reply ApplicationCommands::GetApplicationIds(Data data) {
  if (!data.empty()) return {kLengthError, {}};
  if (!state_.AtPiccLevel()) return {kPermissionDenied, {}};
  if ((state_.contents.settings & kFreeDirectoryAccess) == 0 &&
      !state_.session.AuthenticatedWith(0)) {
    return {kAuthenticationError, {}};
  }
  Bytes ids;
  for (const Application& app : state_.contents.applications)
    ids.insert(ids.end(), app.aid.begin(), app.aid.end());
  return state_.exchanges.Chain(std::move(ids), kAidsPerFrame * 3);
}

Reply ApplicationCommands::SelectApplication(Data data) {
  if (data.size() != 3) return {kLengthError, {}};
  // Leaving (or re-entering) an application ends its transaction and the authentication.
  state_.AbortTransaction();
  state_.session.End();
  const Aid aid = AidOf(data);
  if (aid == kPiccAid) {
    state_.selected.reset();
    return {kOk, {}};
  }
  if (state_.contents.Find(aid) == nullptr) return {kApplicationNotFound, {}};
  state_.selected = aid;
  return {kOk, {}};
}

Reply ApplicationCommands::GetFreeMemory(Data data) {
  if (!data.empty()) return {kLengthError, {}};
  Bytes answer;
  AppendU24(answer, static_cast<std::uint32_t>(
                        std::min<std::uint64_t>(state_.contents.FreeMemory(), 0xFFFFFF)));
  return {kOk, std::move(answer)};
}

}  // namespace lumivex::sim::desfire
