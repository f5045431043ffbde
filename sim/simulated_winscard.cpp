#include "sim/simulated_winscard.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "sim/card_factory.h"

namespace lumivex::sim {

namespace {

constexpr std::uint32_t kNotTransacted = 0x80100016;  // SCARD_E_NOT_TRANSACTED
constexpr PcscDword kLastDisposition = 3;             // SCARD_EJECT_CARD

PcscLong Result(std::uint32_t code) {
  return ScardResult(code);
}

bool Failed(PcscLong result) {
  return ScardCode(result) != scard::S_SUCCESS;
}

PcscDword StateNumber(PcscDword bits, PcscDword protocol) {
  if ((bits & scard::STATE_POWERED) != 0) {
    return protocol != 0 ? winscard_state::kSpecific : winscard_state::kPowered;
  }
  return (bits & scard::STATE_PRESENT) != 0 ? winscard_state::kPresent : winscard_state::kAbsent;
}

}  // namespace

SimulatedWinscard::SimulatedWinscard(const char* cardKind, const char* uidHex) {
  const std::string kind = cardKind != nullptr && *cardKind != '\0' ? cardKind : "mifare1k";
  CardChoice choice = MakeCard(kind, uidHex != nullptr ? uidHex : "");
  if (!choice.ok()) {
    setupError_ = choice.error;
  } else if (choice.card) {
    pcsc_.InsertCard(std::move(choice.card));
  }
}

PcscLong SimulatedWinscard::EstablishContext(PcscDword scope, PcscContext* context) {
  std::lock_guard lock(mutex_);
  return pcsc_.EstablishContext(scope, context);
}

PcscLong SimulatedWinscard::ReleaseContext(PcscContext context) {
  std::lock_guard lock(mutex_);
  return pcsc_.ReleaseContext(context);
}

PcscLong SimulatedWinscard::IsValidContext(PcscContext context) {
  std::lock_guard lock(mutex_);
  PcscDword length = 0;
  return pcsc_.ListReaders(context, nullptr, &length);
}

PcscLong SimulatedWinscard::ListReaders(PcscContext context, char* readers, PcscDword* length) {
  std::lock_guard lock(mutex_);
  if (length == nullptr) return Result(scard::E_INVALID_PARAMETER);
  // Without a context the list is read through a context of its own.
  const bool ownContext = context == 0;
  if (ownContext) {
    const PcscLong opened = pcsc_.EstablishContext(scard::SCOPE_SYSTEM, &context);
    if (Failed(opened)) return opened;
  }
  PcscDword size = 0;
  PcscLong result = pcsc_.ListReaders(context, nullptr, &size);
  std::vector<std::uint8_t> list(size);
  if (!Failed(result)) {
    result = pcsc_.ListReaders(context, reinterpret_cast<char*>(list.data()), &size);
  }
  if (ownContext) (void)pcsc_.ReleaseContext(context);
  if (Failed(result)) return result;
  return Give(std::array{list}, std::array{Output{readers, length}});
}

PcscLong SimulatedWinscard::Connect(PcscContext context, const char* reader, PcscDword shareMode,
                                    PcscDword preferredProtocols, PcscHandle* card,
                                    PcscDword* activeProtocol) {
  std::lock_guard lock(mutex_);
  if (reader == nullptr) return Result(scard::E_INVALID_PARAMETER);
  return pcsc_.Connect(context, reader, shareMode, preferredProtocols, card, activeProtocol);
}

PcscLong SimulatedWinscard::Reconnect(PcscHandle card, PcscDword shareMode,
                                      PcscDword preferredProtocols, PcscDword initialization,
                                      PcscDword* activeProtocol) {
  std::lock_guard lock(mutex_);
  return pcsc_.Reconnect(card, shareMode, preferredProtocols, initialization, activeProtocol);
}

PcscLong SimulatedWinscard::Disconnect(PcscHandle card, PcscDword disposition) {
  std::lock_guard lock(mutex_);
  const PcscLong result = pcsc_.Disconnect(card, disposition);
  if (!Failed(result) && transactionHolder_ == card) transactionHolder_.reset();
  return result;
}

PcscLong SimulatedWinscard::Status(PcscHandle card, char* names, PcscDword* namesLength,
                                   PcscDword* state, PcscDword* protocol, std::uint8_t* atr,
                                   PcscDword* atrLength) {
  std::lock_guard lock(mutex_);
  std::string name;
  PcscDword bits = 0;
  PcscDword active = 0;
  PcscDword size = 0;
  PcscLong result = pcsc_.Status(card, &name, &bits, &active, nullptr, &size);
  if (Failed(result)) return result;
  std::vector<std::uint8_t> atrBytes(size);
  result = pcsc_.Status(card, nullptr, nullptr, nullptr, atrBytes.data(), &size);
  if (Failed(result)) return result;
  // The reader's name as a list of one: the name, its zero and the zero that ends the list.
  std::vector<std::uint8_t> nameList(name.begin(), name.end());
  nameList.resize(nameList.size() + 2, 0);
  const std::array values{nameList, atrBytes};
  const std::array outputs{Output{names, namesLength}, Output{atr, atrLength}};
  result = Give(values, outputs);
  if (Failed(result)) return result;
  if (state != nullptr) *state = StateNumber(bits, active);
  if (protocol != nullptr) *protocol = active;
  return result;
}

PcscLong SimulatedWinscard::GetAttrib(PcscHandle card, PcscDword attributeId, std::uint8_t* buffer,
                                      PcscDword* length) {
  std::lock_guard lock(mutex_);
  if (length == nullptr) return Result(scard::E_INVALID_PARAMETER);
  PcscDword size = 0;
  PcscLong result = pcsc_.GetAttrib(card, attributeId, nullptr, &size);
  if (Failed(result)) return result;
  std::vector<std::uint8_t> value(size);
  result = pcsc_.GetAttrib(card, attributeId, value.data(), &size);
  if (Failed(result)) return result;
  return Give(std::array{value}, std::array{Output{buffer, length}});
}

PcscLong SimulatedWinscard::Transmit(PcscHandle card, const PcscIoRequest* sendPci,
                                     const std::uint8_t* sendBuffer, PcscDword sendLength,
                                     PcscIoRequest* recvPci, std::uint8_t* recvBuffer,
                                     PcscDword* recvLength) {
  std::lock_guard lock(mutex_);
  return pcsc_.Transmit(card, sendPci, sendBuffer, sendLength, recvPci, recvBuffer, recvLength);
}

PcscLong SimulatedWinscard::BeginTransaction(PcscHandle card) {
  std::lock_guard lock(mutex_);
  const PcscLong result = Alive(card);
  if (Failed(result)) return result;
  if (transactionHolder_ && *transactionHolder_ != card && !Failed(Alive(*transactionHolder_))) {
    return Result(scard::E_SHARING_VIOLATION);
  }
  transactionHolder_ = card;
  return result;
}

PcscLong SimulatedWinscard::EndTransaction(PcscHandle card, PcscDword disposition) {
  std::lock_guard lock(mutex_);
  const PcscLong result = Alive(card);
  if (Failed(result)) return result;
  if (disposition > kLastDisposition) return Result(scard::E_INVALID_VALUE);
  if (transactionHolder_ != card) return Result(kNotTransacted);
  transactionHolder_.reset();
  // Reset, unpower and eject take the card's power away, as at a disconnect.
  if (disposition != scard::LEAVE_CARD) pcsc_.reader().PowerCycle();
  return result;
}

PcscLong SimulatedWinscard::FreeMemory(PcscContext /*context*/, const void* memory) {
  std::lock_guard lock(mutex_);
  if (memory == nullptr) return Result(scard::S_SUCCESS);
  if (blocks_.erase(memory) == 0) return Result(scard::E_INVALID_PARAMETER);
  return Result(scard::S_SUCCESS);
}

std::size_t SimulatedWinscard::blockCount() {
  std::lock_guard lock(mutex_);
  return blocks_.size();
}

PcscLong SimulatedWinscard::Give(std::span<const std::vector<std::uint8_t>> values,
                                 std::span<const Output> outputs) {
  bool tooShort = false;
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    const Output& output = outputs[i];
    if (output.length == nullptr) {
      if (output.buffer != nullptr) return Result(scard::E_INVALID_PARAMETER);
      continue;
    }
    if (*output.length == scard::AUTOALLOCATE) {
      if (output.buffer == nullptr) return Result(scard::E_INVALID_PARAMETER);
      continue;
    }
    if (output.buffer != nullptr && *output.length < values[i].size()) tooShort = true;
  }
  if (!tooShort) {
    for (std::size_t i = 0; i < outputs.size(); ++i) Write(values[i], outputs[i]);
    return Result(scard::S_SUCCESS);
  }
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    if (outputs[i].length != nullptr) *outputs[i].length = static_cast<PcscDword>(values[i].size());
  }
  return Result(scard::E_INSUFFICIENT_BUFFER);
}

void SimulatedWinscard::Write(const std::vector<std::uint8_t>& value, Output output) {
  if (output.length == nullptr) return;
  const PcscDword available = *output.length;
  *output.length = static_cast<PcscDword>(value.size());
  if (output.buffer == nullptr) return;
  if (available != scard::AUTOALLOCATE) {
    std::copy(value.begin(), value.end(), static_cast<std::uint8_t*>(output.buffer));
    return;
  }
  // The block's address goes where the caller's buffer pointer points; one byte at least, so
  // that even an empty value has an address of its own.
  std::vector<std::uint8_t> block(std::max<std::size_t>(value.size(), 1));
  std::copy(value.begin(), value.end(), block.begin());
  void* address = block.data();
  std::memcpy(output.buffer, &address, sizeof address);
  blocks_.emplace(address, std::move(block));
}

PcscLong SimulatedWinscard::Alive(PcscHandle card) {
  return pcsc_.Status(card, nullptr, nullptr, nullptr, nullptr, nullptr);
}

}  // namespace lumivex::sim
