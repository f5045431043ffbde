#include "platform/posix/pcsc_lite_api.h"

#include <reader.h>
#include <winscard.h>

#include <array>
#include <type_traits>

namespace lumivex {

// The seam declares the library's own types, so handles and lengths pass without conversion.
static_assert(std::is_same_v<PcscContext, SCARDCONTEXT>);
static_assert(std::is_same_v<PcscHandle, SCARDHANDLE>);
static_assert(std::is_same_v<PcscDword, DWORD>);
static_assert(std::is_same_v<PcscLong, LONG>);
static_assert(scard::E_UNSUPPORTED_FEATURE ==
              static_cast<std::uint32_t>(SCARD_E_UNSUPPORTED_FEATURE));
static_assert(scard::AUTOALLOCATE == SCARD_AUTOALLOCATE);
static_assert(scard::STATE_PRESENT == SCARD_PRESENT && scard::STATE_SPECIFIC == SCARD_SPECIFIC);
static_assert(scard::ATTR_ATR_STRING == SCARD_ATTR_ATR_STRING);
static_assert(scard::ATTR_DEVICE_FRIENDLY_NAME_A == SCARD_ATTR_DEVICE_FRIENDLY_NAME);

namespace {

// The send header: the library's own for T=0 and T=1, otherwise one built for the protocol. The
// component gives the 32-bit header size (8); the library's header is as wide as its DWORD, and
// no protocol bytes follow in either case, so the library's size is the faithful one.
const SCARD_IO_REQUEST* SendHeader(const PcscIoRequest* pci, SCARD_IO_REQUEST& built) {
  if (pci == nullptr) return nullptr;
  if (pci->dwProtocol == SCARD_PROTOCOL_T0) return SCARD_PCI_T0;
  if (pci->dwProtocol == SCARD_PROTOCOL_T1) return SCARD_PCI_T1;
  built.dwProtocol = pci->dwProtocol;
  built.cbPciLength = sizeof(SCARD_IO_REQUEST);
  return &built;
}

}  // namespace

PcscLong PcscLiteApi::EstablishContext(PcscDword scope, PcscContext* context) {
  return SCardEstablishContext(scope, nullptr, nullptr, context);
}

PcscLong PcscLiteApi::ReleaseContext(PcscContext context) {
  return SCardReleaseContext(context);
}

PcscLong PcscLiteApi::ListReaders(PcscContext context, char* readers, PcscDword* length) {
  // With a buffer and an automatic length the library would write a pointer into the buffer.
  if (readers != nullptr && length != nullptr && *length == SCARD_AUTOALLOCATE) {
    return SCARD_E_INVALID_PARAMETER;
  }
  return SCardListReaders(context, nullptr, readers, length);
}

PcscLong PcscLiteApi::Connect(PcscContext context, const std::string& reader, PcscDword shareMode,
                              PcscDword preferredProtocols, PcscHandle* card,
                              PcscDword* activeProtocol) {
  return SCardConnect(context, reader.c_str(), shareMode, preferredProtocols, card, activeProtocol);
}

PcscLong PcscLiteApi::Disconnect(PcscHandle card, PcscDword disposition) {
  return SCardDisconnect(card, disposition);
}

PcscLong PcscLiteApi::Status(PcscHandle card, std::string* readerName, PcscDword* state,
                             PcscDword* protocol, std::uint8_t* atr, PcscDword* atrLength) {
  if (atr != nullptr && atrLength != nullptr && *atrLength == SCARD_AUTOALLOCATE) {
    return SCARD_E_INVALID_PARAMETER;
  }
  // The daemon keeps reader names below MAX_READERNAME characters.
  std::array<char, MAX_READERNAME + 2> name{};
  DWORD nameLength = name.size();
  const LONG result =
      SCardStatus(card, readerName != nullptr ? name.data() : nullptr,
                  readerName != nullptr ? &nameLength : nullptr, state, protocol, atr, atrLength);
  if (readerName != nullptr) {
    // The name comes as a list of zero-ended names; the first one is the reader's.
    *readerName = result == SCARD_S_SUCCESS ? std::string(name.data()) : std::string();
  }
  return result;
}

PcscLong PcscLiteApi::GetAttrib(PcscHandle card, PcscDword attributeId, std::uint8_t* buffer,
                                PcscDword* length) {
  if (buffer != nullptr && length != nullptr && *length == SCARD_AUTOALLOCATE) {
    return SCARD_E_INVALID_PARAMETER;
  }
  return SCardGetAttrib(card, attributeId, buffer, length);
}

PcscLong PcscLiteApi::Transmit(PcscHandle card, const PcscIoRequest* sendPci,
                               const std::uint8_t* sendBuffer, PcscDword sendLength,
                               PcscIoRequest* recvPci, std::uint8_t* recvBuffer,
                               PcscDword* recvLength) {
  SCARD_IO_REQUEST built{};
  SCARD_IO_REQUEST received{};
  if (recvPci != nullptr) {
    received.dwProtocol = recvPci->dwProtocol;
    received.cbPciLength = sizeof(SCARD_IO_REQUEST);
  }
  const LONG result =
      SCardTransmit(card, SendHeader(sendPci, built), sendBuffer, sendLength,
                    recvPci != nullptr ? &received : nullptr, recvBuffer, recvLength);
  if (recvPci != nullptr && result == SCARD_S_SUCCESS) {
    recvPci->dwProtocol = received.dwProtocol;
    recvPci->cbPciLength = received.cbPciLength;
  }
  return result;
}

}  // namespace lumivex
