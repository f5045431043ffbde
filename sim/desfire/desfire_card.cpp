// The simulated DESFire card: ISO 7816-4 unwrapping, the native command dispatcher, multi-frame
// answers, GetVersion and the selection and session state shared by every command.
#include "sim/desfire/desfire_card.h"

#include <algorithm>

#include "crypto/secure_memory.h"
#include "sim/desfire/desfire_card_impl.h"

namespace lumivex::sim {

std::shared_ptr<SimCard> MakeDesfire(const DesfireOptions& options) {
  return std::make_shared<desfire::DesfireCard>(options);
}

}  // namespace lumivex::sim

namespace lumivex::sim::desfire {

namespace {

constexpr std::uint8_t kWrappedClass = 0x90;
constexpr std::uint8_t kReaderClass = 0xFF;
constexpr std::uint8_t kContinue = 0xAF;

// Batch number and production week/year of every simulated card.
constexpr std::array<std::uint8_t, 5> kBatch{0xBA, 0x7C, 0x51, 0x26, 0x40};
constexpr std::uint8_t kProductionWeek = 0x24;
constexpr std::uint8_t kProductionYear = 0x19;

std::vector<std::uint8_t> IsoStatus(std::uint8_t sw1, std::uint8_t sw2) {
  return {sw1, sw2};
}

bool LosesAuthentication(Status status) {
  return status == kAuthenticationError || status == kIntegrityError || status == kPermissionDenied;
}

}  // namespace

std::uint32_t ReadU24(Data data, std::size_t at) {
  return static_cast<std::uint32_t>(data[at]) | static_cast<std::uint32_t>(data[at + 1]) << 8 |
         static_cast<std::uint32_t>(data[at + 2]) << 16;
}

std::int32_t ReadS32(Data data, std::size_t at) {
  const std::uint32_t value = ReadU24(data, at) | static_cast<std::uint32_t>(data[at + 3]) << 24;
  return static_cast<std::int32_t>(value);
}

void AppendU24(Bytes& out, std::uint32_t value) {
  for (int shift = 0; shift < 24; shift += 8)
    out.push_back(static_cast<std::uint8_t>(value >> shift));
}

void AppendS32(Bytes& out, std::int32_t value) {
  const auto bits = static_cast<std::uint32_t>(value);
  for (int shift = 0; shift < 32; shift += 8)
    out.push_back(static_cast<std::uint8_t>(bits >> shift));
}

DesfireCard::DesfireCard(const DesfireOptions& options)
    : options_(options), random_(options.seed), piccKeys_(1) {}

DesfireCard::~DesfireCard() {
  DropAuthentication();
  AbandonExchanges();
}

std::vector<std::uint8_t> DesfireCard::Atr() const {
  return {0x3B, 0x81, 0x80, 0x01, 0x80, 0x80};
}

std::vector<std::uint8_t> DesfireCard::Uid() const {
  return {options_.uid.begin(), options_.uid.end()};
}

std::vector<std::uint8_t> DesfireCard::Transmit(std::span<const std::uint8_t> command) {
  if (command.size() < 4) return IsoStatus(0x67, 0x00);
  const std::uint8_t cla = command[0];
  const std::uint8_t ins = command[1];
  if (cla == kReaderClass) {
    if (ins == 0xCA && command[2] == 0 && command[3] == 0) {
      std::vector<std::uint8_t> answer = Uid();
      answer.insert(answer.end(), {0x90, 0x00});
      return answer;
    }
    return IsoStatus(0x6A, 0x81);  // reader function the card does not support
  }
  if (cla != kWrappedClass) return IsoStatus(0x6E, 0x00);
  if (command[2] != 0 || command[3] != 0) return IsoStatus(0x6A, 0x86);

  Data data;
  if (command.size() > 5) {
    const std::size_t lc = command[4];
    // Lc then the data, with or without the trailing Le byte.
    if (command.size() != 5 + lc && command.size() != 6 + lc) return IsoStatus(0x67, 0x00);
    data = command.subspan(5, lc);
  }

  Reply reply = ins == kContinue ? Continue(data) : Execute(ins, data);
  if (LosesAuthentication(reply.status)) DropAuthentication();
  std::vector<std::uint8_t> answer = std::move(reply.data);
  answer.push_back(0x91);
  answer.push_back(reply.status);
  return answer;
}

Reply DesfireCard::Execute(std::uint8_t command, Data data) {
  // A new command ends whatever exchange was under way.
  AbandonExchanges();
  if (data.size() > kMaxFrameData) return {kLengthError, {}};
  switch (command) {
    case 0x0A:
      return Authenticate(data);
    case 0xC4:
      return ChangeKey(data);
    case 0x54:
      return ChangeKeySettings(data);
    case 0x45:
      return GetKeySettings(data);
    case 0x64:
      return GetKeyVersion(data);
    case 0x60:
      return GetVersion(data);
    case 0xFC:
      return FormatPicc(data);
    case 0xCA:
      return CreateApplication(data);
    case 0xDA:
      return DeleteApplication(data);
    case 0x6A:
      return GetApplicationIds(data);
    case 0x5A:
      return SelectApplication(data);
    case 0x6E:
      return GetFreeMemory(data);
    case 0xCD:
    case 0xCB:
    case 0xCC:
    case 0xC1:
    case 0xC0:
      return CreateFile(command, data);
    case 0xDF:
      return DeleteFile(data);
    case 0x6F:
      return GetFileIds(data);
    case 0xF5:
      return GetFileSettings(data);
    case 0x5F:
      return ChangeFileSettings(data);
    case 0xBD:
    case 0xBB:
      return ReadData(command, data);
    case 0x3D:
    case 0x3B:
      return StartWrite(command, data);
    case 0xEB:
      return ClearRecordFile(data);
    case 0x6C:
      return GetValue(data);
    case 0x0C:
    case 0xDC:
    case 0x1C:
      return ChangeValue(command, data);
    case 0xC7:
      return CommitTransaction(data);
    case 0xA7:
      return AbortTransactionCommand(data);
    default:
      return {kIllegalCommand, {}};
  }
}

Reply DesfireCard::Continue(Data data) {
  if (!outgoing_.empty()) {
    if (!data.empty()) {
      outgoing_.clear();
      return {kLengthError, {}};
    }
    OutgoingFrame frame = std::move(outgoing_.front());
    outgoing_.pop_front();
    return {frame.status, std::move(frame.data)};
  }
  if (pendingAuthentication_) return FinishAuthentication(data);
  if (incoming_) return ContinueWrite(data);
  return {kCommandAborted, {}};  // nothing to continue
}

Reply DesfireCard::Chain(Bytes data, std::size_t frameSize) {
  if (data.size() <= frameSize) return {kOk, std::move(data)};
  Reply first{kAdditionalFrame, Bytes(data.begin(), data.begin() + frameSize)};
  for (std::size_t at = frameSize; at < data.size(); at += frameSize) {
    const std::size_t end = std::min(data.size(), at + frameSize);
    const auto begin = data.begin() + static_cast<std::ptrdiff_t>(at);
    outgoing_.push_back({end == data.size() ? kOk : kAdditionalFrame,
                         Bytes(begin, data.begin() + static_cast<std::ptrdiff_t>(end))});
  }
  return first;
}

Reply DesfireCard::GetVersion(Data data) {
  if (!data.empty()) return {kLengthError, {}};
  const std::uint8_t storage = options_.storageCode;
  Bytes production(options_.uid.begin(), options_.uid.end());
  production.insert(production.end(), kBatch.begin(), kBatch.end());
  production.push_back(kProductionWeek);
  production.push_back(kProductionYear);
  outgoing_.push_back({kAdditionalFrame, {0x04, 0x01, 0x01, 0x01, 0x04, storage, 0x05}});
  outgoing_.push_back({kOk, std::move(production)});
  return {kAdditionalFrame, {0x04, 0x01, 0x01, 0x01, 0x00, storage, 0x05}};
}

void DesfireCard::AbandonExchanges() {
  if (pendingAuthentication_) {
    crypto::SecureWipe(pendingAuthentication_->key.data(), pendingAuthentication_->key.size());
    pendingAuthentication_.reset();
  }
  incoming_.reset();
  outgoing_.clear();
}

void DesfireCard::PowerCycle() {
  AbandonExchanges();
  AbortTransaction();
  DropAuthentication();
  selected_.reset();
}

Application* DesfireCard::FindApplication(const Aid& aid) {
  auto found = std::find_if(applications_.begin(), applications_.end(),
                            [&](const Application& app) { return app.aid == aid; });
  return found == applications_.end() ? nullptr : &*found;
}

const Application* DesfireCard::FindApplication(const Aid& aid) const {
  return const_cast<DesfireCard*>(this)->FindApplication(aid);
}

Application* DesfireCard::Selected() {
  return selected_ ? FindApplication(*selected_) : nullptr;
}

const Application* DesfireCard::Selected() const {
  return selected_ ? FindApplication(*selected_) : nullptr;
}

std::vector<StoredKey>& DesfireCard::CurrentKeys() {
  Application* app = Selected();
  return app != nullptr ? app->keys : piccKeys_;
}

std::uint8_t& DesfireCard::CurrentSettings() {
  Application* app = Selected();
  return app != nullptr ? app->settings : piccSettings_;
}

std::uint8_t DesfireCard::CurrentSettings() const {
  const Application* app = Selected();
  return app != nullptr ? app->settings : piccSettings_;
}

bool DesfireCard::AuthenticatedWith(std::uint8_t keyNumber) const {
  return session_ && session_->keyNumber == keyNumber;
}

void DesfireCard::DropAuthentication() {
  if (!session_) return;
  crypto::SecureWipe(session_->key.data(), session_->key.size());
  session_.reset();
}

void DesfireCard::AbortTransaction() {
  if (Application* app = Selected()) {
    for (auto& [number, file] : app->files) file.DropPendingChanges();
  }
}

CardCipher DesfireCard::SessionCipher() const {
  return CardCipher(session_->key);
}

std::uint64_t DesfireCard::FreeMemory() const {
  const std::uint64_t total = StorageBytes(options_.storageCode);
  return total > usedMemory_ ? total - usedMemory_ : 0;
}

}  // namespace lumivex::sim::desfire
