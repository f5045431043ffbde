// The simulated DESFire card's state: the exchange under way, the stored contents, the selection.
#include "sim/desfire/desfire_state.h"

#include <algorithm>

#include "crypto/secure_memory.h"

namespace lumivex::sim::desfire {

Exchanges::~Exchanges() {
  Abandon();
}

void Exchanges::Abandon() {
  if (authentication) {
    crypto::SecureWipe(authentication->key.data(), authentication->key.size());
    authentication.reset();
  }
  write.reset();
  outgoing.clear();
}

Reply Exchanges::Chain(Bytes data, std::size_t frameSize) {
  if (data.size() <= frameSize) return {kOk, std::move(data)};
  Reply first{kAdditionalFrame, Bytes(data.begin(), data.begin() + frameSize)};
  for (std::size_t at = frameSize; at < data.size(); at += frameSize) {
    const std::size_t end = std::min(data.size(), at + frameSize);
    const auto begin = data.begin() + static_cast<std::ptrdiff_t>(at);
    outgoing.push_back({end == data.size() ? kOk : kAdditionalFrame,
                        Bytes(begin, data.begin() + static_cast<std::ptrdiff_t>(end))});
  }
  return first;
}

Application* CardContents::Find(const Aid& aid) {
  auto found = std::find_if(applications.begin(), applications.end(),
                            [&](const Application& app) { return app.aid == aid; });
  return found == applications.end() ? nullptr : &*found;
}

std::uint64_t CardContents::FreeMemory() const {
  return totalMemory > usedMemory ? totalMemory - usedMemory : 0;
}

CardState::CardState(const DesfireOptions& options)
    : options(options), random(options.seed), contents(StorageBytes(options.storageCode)) {}

Application* CardState::Selected() {
  return selected ? contents.Find(*selected) : nullptr;
}

std::vector<StoredKey>& CardState::CurrentKeys() {
  Application* app = Selected();
  return app != nullptr ? app->keys : contents.keys;
}

std::uint8_t& CardState::CurrentSettings() {
  Application* app = Selected();
  return app != nullptr ? app->settings : contents.settings;
}

File* CardState::FindFile(Data data, Status& status) {
  Application* app = Selected();
  if (app == nullptr) {
    status = kPermissionDenied;  // files live in applications, not at card level
    return nullptr;
  }
  auto found = app->files.find(data[0]);
  if (found == app->files.end()) {
    status = kFileNotFound;
    return nullptr;
  }
  status = kOk;
  return &found->second;
}

void CardState::AbortTransaction() {
  if (Application* app = Selected()) {
    for (auto& [number, file] : app->files) file.DropPendingChanges();
  }
}

}  // namespace lumivex::sim::desfire
