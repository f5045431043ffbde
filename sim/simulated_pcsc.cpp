#include "sim/simulated_pcsc.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace lumivex::sim {

namespace {

constexpr const char* kVendorName = "Lumivex";
constexpr const char* kIfdType = "Lumivex Simulator";
constexpr const char* kSerialNumber = "LVX-SIM-0001";
// The interface device version as the attribute carries it: the word 0xMMmmbbbb (major 1, minor 2,
// build 3), least significant byte first.
constexpr std::uint8_t kIfdVersion[] = {0x03, 0x00, 0x02, 0x01};
constexpr PcscDword kLastDisposition = 3;  // SCARD_EJECT_CARD

PcscLong Result(std::uint32_t code) {
  return ScardResult(code);
}

std::vector<std::uint8_t> Text(const std::string& text) {
  std::vector<std::uint8_t> bytes(text.begin(), text.end());
  bytes.push_back(0);
  return bytes;
}

// Copies a value into a caller's buffer with the usual length protocol: a null buffer asks for the
// length, a short one gets SCARD_E_INSUFFICIENT_BUFFER; *length is the value's length either way.
PcscLong CopyOut(std::span<const std::uint8_t> value, std::uint8_t* buffer, PcscDword* length) {
  if (length == nullptr) return Result(scard::E_INVALID_PARAMETER);
  const PcscDword available = *length;
  *length = static_cast<PcscDword>(value.size());
  if (buffer == nullptr) return Result(scard::S_SUCCESS);
  if (available < value.size()) return Result(scard::E_INSUFFICIENT_BUFFER);
  std::copy(value.begin(), value.end(), buffer);
  return Result(scard::S_SUCCESS);
}

}  // namespace

SimulatedPcsc::SimulatedPcsc(std::string readerName, std::uint64_t seed)
    : readerName_(std::move(readerName)), slot_(seed) {}

void SimulatedPcsc::InsertCard(std::shared_ptr<SimCard> card) {
  std::lock_guard lock(mutex_);
  ++slot_.cardGeneration;
  slot_.reader.InsertCard(std::move(card));
}

void SimulatedPcsc::RemoveCard() {
  std::lock_guard lock(mutex_);
  ++slot_.cardGeneration;
  slot_.reader.RemoveCard();
}

std::size_t SimulatedPcsc::openContexts() const {
  std::lock_guard lock(mutex_);
  return handles_.contexts.size();
}

std::size_t SimulatedPcsc::openConnections() const {
  std::lock_guard lock(mutex_);
  return handles_.connections.size();
}

std::size_t SimulatedPcsc::transmitCount() const {
  std::lock_guard lock(mutex_);
  return slot_.transmits;
}

PcscLong SimulatedPcsc::EstablishContext(PcscDword scope, PcscContext* context) {
  std::lock_guard lock(mutex_);
  if (context == nullptr) return Result(scard::E_INVALID_PARAMETER);
  if (scope > scard::SCOPE_SYSTEM) return Result(scard::E_INVALID_VALUE);
  *context = handles_.nextContext++;
  handles_.contexts[*context] = true;
  return Result(scard::S_SUCCESS);
}

PcscLong SimulatedPcsc::ReleaseContext(PcscContext context) {
  std::lock_guard lock(mutex_);
  if (handles_.contexts.erase(context) == 0) return Result(scard::E_INVALID_HANDLE);
  // Releasing a context ends the card connections made through it.
  std::erase_if(handles_.connections,
                [&](const auto& entry) { return entry.second.context == context; });
  return Result(scard::S_SUCCESS);
}

PcscLong SimulatedPcsc::ListReaders(PcscContext context, char* readers, PcscDword* length) {
  std::lock_guard lock(mutex_);
  if (!handles_.contexts.contains(context)) return Result(scard::E_INVALID_HANDLE);
  if (length == nullptr) return Result(scard::E_INVALID_PARAMETER);
  // One name, its zero, and the zero that ends the list.
  std::vector<std::uint8_t> list(readerName_.begin(), readerName_.end());
  list.push_back(0);
  list.push_back(0);
  return CopyOut(list, reinterpret_cast<std::uint8_t*>(readers), length);
}

PcscLong SimulatedPcsc::Connect(PcscContext context, const std::string& reader, PcscDword shareMode,
                                PcscDword preferredProtocols, PcscHandle* card,
                                PcscDword* activeProtocol) {
  std::lock_guard lock(mutex_);
  if (!handles_.contexts.contains(context)) return Result(scard::E_INVALID_HANDLE);
  if (card == nullptr || activeProtocol == nullptr) return Result(scard::E_INVALID_PARAMETER);
  if (reader != readerName_) return Result(scard::E_UNKNOWN_READER);
  Connection connection;
  connection.context = context;
  connection.shareMode = shareMode;
  const PcscLong admitted = Admit(connection, preferredProtocols, 0);
  if (admitted != Result(scard::S_SUCCESS)) return admitted;
  *card = handles_.nextHandle++;
  *activeProtocol = connection.protocol;
  handles_.connections[*card] = connection;
  return Result(scard::S_SUCCESS);
}

PcscLong SimulatedPcsc::Reconnect(PcscHandle card, PcscDword shareMode,
                                  PcscDword preferredProtocols, PcscDword initialization,
                                  PcscDword* activeProtocol) {
  constexpr PcscDword kUnpowerCard = 2;
  std::lock_guard lock(mutex_);
  const auto found = handles_.connections.find(card);
  if (found == handles_.connections.end()) return Result(scard::E_INVALID_HANDLE);
  if (activeProtocol == nullptr) return Result(scard::E_INVALID_PARAMETER);
  if (initialization > kUnpowerCard) return Result(scard::E_INVALID_VALUE);
  if (!slot_.reader.HasCard()) return Result(scard::W_REMOVED_CARD);
  Connection renewed = found->second;
  renewed.shareMode = shareMode;
  const PcscLong admitted = Admit(renewed, preferredProtocols, card);
  if (admitted != Result(scard::S_SUCCESS)) return admitted;
  const bool sameCard = found->second.cardGeneration == slot_.cardGeneration;
  found->second = renewed;
  *activeProtocol = renewed.protocol;
  if (sameCard && initialization != scard::LEAVE_CARD) slot_.reader.PowerCycle();
  return Result(scard::S_SUCCESS);
}

PcscLong SimulatedPcsc::Admit(Connection& connection, PcscDword preferredProtocols,
                              PcscHandle except) const {
  // Direct connections (no card needed) are not offered by this reader.
  if (connection.shareMode != scard::SHARE_EXCLUSIVE &&
      connection.shareMode != scard::SHARE_SHARED) {
    return Result(scard::E_INVALID_VALUE);
  }
  if ((preferredProtocols & (scard::PROTOCOL_T0 | scard::PROTOCOL_T1)) == 0) {
    return Result(scard::E_PROTO_MISMATCH);
  }
  if (!slot_.reader.HasCard()) return Result(scard::E_NO_SMARTCARD);
  const PcscDword allowed = preferredProtocols & slot_.offeredProtocols;
  if ((allowed & (scard::PROTOCOL_T0 | scard::PROTOCOL_T1)) == 0) {
    return Result(scard::E_PROTO_MISMATCH);
  }
  for (const auto& [handle, other] : handles_.connections) {
    if (handle == except || other.cardGeneration != slot_.cardGeneration) continue;
    if (connection.shareMode == scard::SHARE_EXCLUSIVE ||
        other.shareMode == scard::SHARE_EXCLUSIVE) {
      return Result(scard::E_SHARING_VIOLATION);
    }
  }
  // A contactless card usually offers both protocols; T=1 is chosen when both sides allow it.
  connection.protocol =
      (allowed & scard::PROTOCOL_T1) != 0 ? scard::PROTOCOL_T1 : scard::PROTOCOL_T0;
  connection.cardGeneration = slot_.cardGeneration;
  return Result(scard::S_SUCCESS);
}

void SimulatedPcsc::SetOfferedProtocols(PcscDword protocols) {
  std::lock_guard lock(mutex_);
  slot_.offeredProtocols = protocols;
}

PcscLong SimulatedPcsc::Disconnect(PcscHandle card, PcscDword disposition) {
  std::lock_guard lock(mutex_);
  const auto found = handles_.connections.find(card);
  if (found == handles_.connections.end()) return Result(scard::E_INVALID_HANDLE);
  if (disposition > kLastDisposition) return Result(scard::E_INVALID_VALUE);
  const bool current = found->second.cardGeneration == slot_.cardGeneration;
  handles_.connections.erase(found);
  // Reset, unpower and eject all take the card's power away: its authentication is lost.
  if (current && disposition != scard::LEAVE_CARD) slot_.reader.PowerCycle();
  return Result(scard::S_SUCCESS);
}

PcscLong SimulatedPcsc::Status(PcscHandle card, std::string* readerName, PcscDword* state,
                               PcscDword* protocol, std::uint8_t* atr, PcscDword* atrLength) {
  std::lock_guard lock(mutex_);
  const auto found = handles_.connections.find(card);
  if (found == handles_.connections.end()) return Result(scard::E_INVALID_HANDLE);
  if (!slot_.Holds(found->second.cardGeneration)) {
    return Result(scard::W_REMOVED_CARD);
  }
  if (readerName != nullptr) *readerName = readerName_;
  // A connected card as pcsc-lite reports it: present, powered, negotiable.
  if (state != nullptr)
    *state = scard::STATE_PRESENT | scard::STATE_POWERED | scard::STATE_NEGOTIABLE;
  if (protocol != nullptr) *protocol = found->second.protocol;
  if (atrLength == nullptr)
    return Result(atr == nullptr ? scard::S_SUCCESS : scard::E_INVALID_PARAMETER);
  return CopyOut(slot_.reader.card()->Atr(), atr, atrLength);
}

PcscLong SimulatedPcsc::GetAttrib(PcscHandle card, PcscDword attributeId, std::uint8_t* buffer,
                                  PcscDword* length) {
  std::lock_guard lock(mutex_);
  const auto found = handles_.connections.find(card);
  if (found == handles_.connections.end()) return Result(scard::E_INVALID_HANDLE);
  if (!slot_.Holds(found->second.cardGeneration)) {
    return Result(scard::W_REMOVED_CARD);
  }
  std::vector<std::uint8_t> value;
  switch (attributeId) {
    case scard::ATTR_DEVICE_FRIENDLY_NAME_A:
      value = Text(readerName_);
      break;
    case scard::ATTR_VENDOR_NAME:
      value = Text(kVendorName);
      break;
    case scard::ATTR_VENDOR_IFD_TYPE:
      value = Text(kIfdType);
      break;
    case scard::ATTR_VENDOR_IFD_VERSION:
      value.assign(std::begin(kIfdVersion), std::end(kIfdVersion));
      break;
    case scard::ATTR_VENDOR_IFD_SERIAL_NO:
      value = Text(kSerialNumber);
      break;
    case scard::ATTR_ATR_STRING:
      value = slot_.reader.card()->Atr();
      break;
    default:
      return Result(scard::E_UNSUPPORTED_FEATURE);
  }
  return CopyOut(value, buffer, length);
}

PcscLong SimulatedPcsc::Transmit(PcscHandle card, const PcscIoRequest* sendPci,
                                 const std::uint8_t* sendBuffer, PcscDword sendLength,
                                 PcscIoRequest* recvPci, std::uint8_t* recvBuffer,
                                 PcscDword* recvLength) {
  std::lock_guard lock(mutex_);
  const auto found = handles_.connections.find(card);
  if (found == handles_.connections.end()) return Result(scard::E_INVALID_HANDLE);
  // An empty command goes to the card like any other (the card answers 6700), as pcsc-lite does.
  if (sendPci == nullptr || (sendBuffer == nullptr && sendLength != 0) || recvBuffer == nullptr ||
      recvLength == nullptr) {
    return Result(scard::E_INVALID_PARAMETER);
  }
  if (!slot_.Holds(found->second.cardGeneration)) {
    return Result(scard::W_REMOVED_CARD);
  }
  if (sendPci->dwProtocol != found->second.protocol) return Result(scard::E_PROTO_MISMATCH);

  ++slot_.transmits;
  const Exchange exchange = slot_.reader.Transmit(std::span(sendBuffer, sendLength));
  if (!slot_.reader.HasCard()) ++slot_.cardGeneration;  // the card left the field during the frame
  if (exchange.failure) return Result(*exchange.failure);
  if (recvPci != nullptr) recvPci->dwProtocol = found->second.protocol;
  // As with a real reader, the card has carried out the command even when its answer does not fit.
  return CopyOut(exchange.response, recvBuffer, recvLength);
}

}  // namespace lumivex::sim
