#include "platform/windows/winscard_api.h"

// clang-format off
#include <windows.h>
#include <winscard.h>
// clang-format on

#include <map>
#include <set>
#include <string>
#include <type_traits>

namespace lumivex {

static_assert(sizeof(PcscContext) == sizeof(SCARDCONTEXT));
static_assert(sizeof(PcscHandle) == sizeof(SCARDHANDLE));
static_assert(std::is_same_v<PcscDword, DWORD>);
static_assert(std::is_same_v<PcscLong, LONG>);
static_assert(scard::E_UNSUPPORTED_FEATURE ==
              static_cast<std::uint32_t>(SCARD_E_UNSUPPORTED_FEATURE));
static_assert(scard::AUTOALLOCATE == SCARD_AUTOALLOCATE);
static_assert(scard::ATTR_ATR_STRING == SCARD_ATTR_ATR_STRING);

namespace {

constexpr const char* kLibraryName = "winscard.dll";

struct ModuleCloser {
  void operator()(HMODULE module) const { FreeLibrary(module); }
};
using ModuleHolder = std::unique_ptr<std::remove_pointer_t<HMODULE>, ModuleCloser>;

// winscard's numbered card states as pcsc-lite's state bits.
PcscDword StateBits(DWORD state) {
  constexpr PcscDword kUnknown = 0x0001;
  constexpr PcscDword kSwallowed = 0x0008;
  switch (state) {
    case SCARD_ABSENT:
      return scard::STATE_ABSENT;
    case SCARD_PRESENT:
      return scard::STATE_PRESENT;
    case SCARD_SWALLOWED:
      return scard::STATE_PRESENT | kSwallowed;
    case SCARD_POWERED:
      return scard::STATE_PRESENT | scard::STATE_POWERED;
    case SCARD_NEGOTIABLE:
      return scard::STATE_PRESENT | scard::STATE_POWERED | scard::STATE_NEGOTIABLE;
    case SCARD_SPECIFIC:
      return scard::STATE_PRESENT | scard::STATE_POWERED | scard::STATE_SPECIFIC;
    default:
      return kUnknown;
  }
}

}  // namespace

// The loaded library and the entry points found so far. The library is loaded on the first call,
// each entry point looked up on its first use; failures are reported each time they are met.
class WinscardApi::Library {
 public:
  decltype(&::SCardEstablishContext) establishContext = nullptr;
  decltype(&::SCardReleaseContext) releaseContext = nullptr;
  decltype(&::SCardListReadersA) listReaders = nullptr;
  decltype(&::SCardConnectA) connect = nullptr;
  decltype(&::SCardDisconnect) disconnect = nullptr;
  decltype(&::SCardStatusA) status = nullptr;
  decltype(&::SCardGetAttrib) getAttrib = nullptr;
  decltype(&::SCardTransmit) transmit = nullptr;

  template <typename Function>
  Function Entry(Function& slot, const char* name) {
    if (slot == nullptr) {
      // Through a generic function pointer: the entry point's real type is Function.
      slot = reinterpret_cast<Function>(reinterpret_cast<void (*)()>(Resolve(name)));
    }
    return slot;
  }

 private:
  FARPROC Resolve(const char* name) {
    if (!module_) {
      module_.reset(LoadLibraryA(kLibraryName));
      if (!module_) {
        const DWORD error = GetLastError();
        throw PcscCallError(static_cast<std::int32_t>(error), std::string("Cannot load ") +
                                                                  kLibraryName + " (system error " +
                                                                  std::to_string(error) + ")");
      }
    }
    const FARPROC entry = GetProcAddress(module_.get(), name);
    if (entry == nullptr) {
      const DWORD error = GetLastError();
      throw PcscCallError(static_cast<std::int32_t>(error),
                          std::string("Cannot find the entry point ") + name + " in " +
                              kLibraryName + " (system error " + std::to_string(error) + ")");
    }
    return entry;
  }

  ModuleHolder module_;
};

// The contexts and card handles the library gave out through this object and that are still open.
// Like the Encoder that owns the binding, it is used from one thread.
class WinscardApi::Handles {
 public:
  void AddContext(PcscContext context) { contexts_.insert(context); }
  void RemoveContext(PcscContext context) {
    contexts_.erase(context);
    std::erase_if(cards_, [context](const auto& card) { return card.second == context; });
  }
  bool HasContext(PcscContext context) { return contexts_.contains(context); }
  void AddCard(PcscHandle card, PcscContext context) { cards_[card] = context; }
  void RemoveCard(PcscHandle card) { cards_.erase(card); }
  bool HasCard(PcscHandle card) { return cards_.contains(card); }

 private:
  std::set<PcscContext> contexts_;
  std::map<PcscHandle, PcscContext> cards_;  // card handle -> its context
};

WinscardApi::WinscardApi()
    : library_(std::make_unique<Library>()), handles_(std::make_unique<Handles>()) {}

WinscardApi::~WinscardApi() = default;

PcscLong WinscardApi::EstablishContext(PcscDword scope, PcscContext* context) {
  const auto call = library_->Entry(library_->establishContext, "SCardEstablishContext");
  SCARDCONTEXT handle = 0;
  const LONG result = call(scope, nullptr, nullptr, context != nullptr ? &handle : nullptr);
  if (context != nullptr) *context = static_cast<PcscContext>(handle);
  if (context != nullptr && result == SCARD_S_SUCCESS) handles_->AddContext(*context);
  return result;
}

PcscLong WinscardApi::ReleaseContext(PcscContext context) {
  const auto call = library_->Entry(library_->releaseContext, "SCardReleaseContext");
  handles_->RemoveContext(context);
  return call(static_cast<SCARDCONTEXT>(context));
}

PcscLong WinscardApi::ListReaders(PcscContext context, char* readers, PcscDword* length) {
  const auto call = library_->Entry(library_->listReaders, "SCardListReadersA");
  // With a buffer and an automatic length the library would write a pointer into the buffer.
  if (readers != nullptr && length != nullptr && *length == SCARD_AUTOALLOCATE) {
    return SCARD_E_INVALID_PARAMETER;
  }
  return call(static_cast<SCARDCONTEXT>(context), nullptr, readers, length);
}

PcscLong WinscardApi::Connect(PcscContext context, const std::string& reader, PcscDword shareMode,
                              PcscDword preferredProtocols, PcscHandle* card,
                              PcscDword* activeProtocol) {
  const auto call = library_->Entry(library_->connect, "SCardConnectA");
  if (!handles_->HasContext(context)) return SCARD_E_INVALID_HANDLE;
  SCARDHANDLE handle = 0;
  const LONG result = call(static_cast<SCARDCONTEXT>(context), reader.c_str(), shareMode,
                           preferredProtocols, card != nullptr ? &handle : nullptr, activeProtocol);
  if (card != nullptr) *card = static_cast<PcscHandle>(handle);
  if (card != nullptr && result == SCARD_S_SUCCESS) handles_->AddCard(*card, context);
  return result;
}

PcscLong WinscardApi::Disconnect(PcscHandle card, PcscDword disposition) {
  const auto call = library_->Entry(library_->disconnect, "SCardDisconnect");
  if (!handles_->HasCard(card)) return SCARD_E_INVALID_HANDLE;
  handles_->RemoveCard(card);
  return call(static_cast<SCARDHANDLE>(card), disposition);
}

PcscLong WinscardApi::Status(PcscHandle card, std::string* readerName, PcscDword* state,
                             PcscDword* protocol, std::uint8_t* atr, PcscDword* atrLength) {
  const auto call = library_->Entry(library_->status, "SCardStatusA");
  if (!handles_->HasCard(card)) return SCARD_E_INVALID_HANDLE;
  if (atr != nullptr && atrLength != nullptr && *atrLength == SCARD_AUTOALLOCATE) {
    return SCARD_E_INVALID_PARAMETER;
  }
  std::string name(readerName != nullptr ? 256 : 0, '\0');
  DWORD rawState = 0;
  LONG result = SCARD_S_SUCCESS;
  // A second round only when the reader's name is longer than the first buffer.
  for (int round = 0; round < 2; ++round) {
    auto nameLength = static_cast<DWORD>(name.size());
    const DWORD atrCapacity = atrLength != nullptr ? *atrLength : 0;
    result =
        call(static_cast<SCARDHANDLE>(card), readerName != nullptr ? name.data() : nullptr,
             readerName != nullptr ? &nameLength : nullptr, &rawState, protocol, atr, atrLength);
    if (result != SCARD_E_INSUFFICIENT_BUFFER || readerName == nullptr ||
        nameLength <= name.size()) {
      break;
    }
    name.assign(nameLength, '\0');
    if (atrLength != nullptr) *atrLength = atrCapacity;
  }
  if (state != nullptr) *state = result == SCARD_S_SUCCESS ? StateBits(rawState) : 0;
  if (readerName != nullptr) {
    // The name comes as a list of zero-ended names; the first one is the reader's.
    *readerName = result == SCARD_S_SUCCESS ? name.substr(0, name.find('\0')) : std::string();
  }
  return result;
}

PcscLong WinscardApi::GetAttrib(PcscHandle card, PcscDword attributeId, std::uint8_t* buffer,
                                PcscDword* length) {
  const auto call = library_->Entry(library_->getAttrib, "SCardGetAttrib");
  if (!handles_->HasCard(card)) return SCARD_E_INVALID_HANDLE;
  if (buffer != nullptr && length != nullptr && *length == SCARD_AUTOALLOCATE) {
    return SCARD_E_INVALID_PARAMETER;
  }
  return call(static_cast<SCARDHANDLE>(card), attributeId, buffer, length);
}

PcscLong WinscardApi::Transmit(PcscHandle card, const PcscIoRequest* sendPci,
                               const std::uint8_t* sendBuffer, PcscDword sendLength,
                               PcscIoRequest* recvPci, std::uint8_t* recvBuffer,
                               PcscDword* recvLength) {
  const auto call = library_->Entry(library_->transmit, "SCardTransmit");
  if (!handles_->HasCard(card)) return SCARD_E_INVALID_HANDLE;
  // No protocol bytes follow the header, so its length is the header's own size (8).
  SCARD_IO_REQUEST send{};
  if (sendPci != nullptr) {
    send.dwProtocol = sendPci->dwProtocol;
    send.cbPciLength = sizeof(SCARD_IO_REQUEST);
  }
  SCARD_IO_REQUEST received{};
  if (recvPci != nullptr) {
    received.dwProtocol = recvPci->dwProtocol;
    received.cbPciLength = sizeof(SCARD_IO_REQUEST);
  }
  const LONG result =
      call(static_cast<SCARDHANDLE>(card), sendPci != nullptr ? &send : nullptr, sendBuffer,
           sendLength, recvPci != nullptr ? &received : nullptr, recvBuffer, recvLength);
  if (recvPci != nullptr && result == SCARD_S_SUCCESS) {
    recvPci->dwProtocol = received.dwProtocol;
    recvPci->cbPciLength = received.cbPciLength;
  }
  return result;
}

}  // namespace lumivex
