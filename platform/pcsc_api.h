// The PC/SC seam: the smart-card calls the component makes, shaped like winscard.h.
// Production bindings: pcsc-lite (Linux) and winscard.dll (Windows); the card simulator binds it
// in-process for tests and the command-line tool.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "platform/seam.h"

namespace lumivex {

// Handle and word types as the platform's own headers declare them: pcsc-lite on 64-bit Linux
// uses long / unsigned long (8 bytes), winscard uses ULONG_PTR handles and a 32-bit DWORD.
#if defined(_WIN32)
using PcscContext = std::uintptr_t;
using PcscHandle = std::uintptr_t;
#else
using PcscContext = long;
using PcscHandle = long;
#endif
using PcscDword = unsigned long;
using PcscLong = long;  // the result of every call

// The 32-bit value of a result, whatever the width of LONG on this platform.
constexpr std::uint32_t ScardCode(PcscLong result) {
  return static_cast<std::uint32_t>(result);
}
// A result as the signed 32-bit number the last-error record and the texts use.
constexpr std::int32_t ScardNumber(PcscLong result) {
  return static_cast<std::int32_t>(ScardCode(result));
}
// A 32-bit PC/SC code as this platform's LONG result (negative where LONG is 32 bits wide).
constexpr PcscLong ScardResult(std::uint32_t code) {
  return sizeof(PcscLong) == 4 ? static_cast<PcscLong>(static_cast<std::int32_t>(code))
                               : static_cast<PcscLong>(code);
}

namespace scard {
constexpr std::uint32_t S_SUCCESS = 0x00000000;
constexpr std::uint32_t F_INTERNAL_ERROR = 0x80100001;
constexpr std::uint32_t E_INVALID_HANDLE = 0x80100003;
constexpr std::uint32_t E_INVALID_PARAMETER = 0x80100004;
constexpr std::uint32_t E_NO_MEMORY = 0x80100006;
constexpr std::uint32_t E_INSUFFICIENT_BUFFER = 0x80100008;
constexpr std::uint32_t E_UNKNOWN_READER = 0x80100009;
constexpr std::uint32_t E_TIMEOUT = 0x8010000A;
constexpr std::uint32_t E_SHARING_VIOLATION = 0x8010000B;
constexpr std::uint32_t E_NO_SMARTCARD = 0x8010000C;
constexpr std::uint32_t E_UNKNOWN_CARD = 0x8010000D;
constexpr std::uint32_t E_PROTO_MISMATCH = 0x8010000F;
constexpr std::uint32_t E_NOT_READY = 0x80100010;
constexpr std::uint32_t E_INVALID_VALUE = 0x80100011;
constexpr std::uint32_t E_READER_UNAVAILABLE = 0x80100017;
constexpr std::uint32_t E_CARD_UNSUPPORTED = 0x8010001C;
constexpr std::uint32_t E_NO_SERVICE = 0x8010001D;
constexpr std::uint32_t E_SERVICE_STOPPED = 0x8010001E;
constexpr std::uint32_t E_NO_READERS_AVAILABLE = 0x8010002E;
constexpr std::uint32_t W_UNRESPONSIVE_CARD = 0x80100066;
constexpr std::uint32_t W_REMOVED_CARD = 0x80100069;
// pcsc-lite and winscard differ here: winscard 0x80100022, pcsc-lite 0x8010001F
// (SCARD_E_UNEXPECTED).
#if defined(_WIN32)
constexpr std::uint32_t E_UNSUPPORTED_FEATURE = 0x80100022;
#else
constexpr std::uint32_t E_UNSUPPORTED_FEATURE = 0x8010001F;
#endif

constexpr PcscDword SCOPE_SYSTEM = 2;
constexpr PcscDword SHARE_EXCLUSIVE = 1;
constexpr PcscDword SHARE_SHARED = 2;
constexpr PcscDword PROTOCOL_T0 = 1;
constexpr PcscDword PROTOCOL_T1 = 2;
constexpr PcscDword LEAVE_CARD = 0;
constexpr PcscDword RESET_CARD = 1;
constexpr PcscDword AUTOALLOCATE = static_cast<PcscDword>(-1);

constexpr PcscDword ATTR_DEVICE_FRIENDLY_NAME_A = 0x7FFF0003;
constexpr PcscDword ATTR_VENDOR_NAME = 0x00010100;
constexpr PcscDword ATTR_VENDOR_IFD_TYPE = 0x00010101;
constexpr PcscDword ATTR_VENDOR_IFD_VERSION = 0x00010102;
constexpr PcscDword ATTR_VENDOR_IFD_SERIAL_NO = 0x00010103;
constexpr PcscDword ATTR_ATR_STRING = 0x00090303;

// Card states reported by Status (pcsc-lite values; the bindings translate).
constexpr PcscDword STATE_ABSENT = 0x0002;
constexpr PcscDword STATE_PRESENT = 0x0004;
constexpr PcscDword STATE_POWERED = 0x0010;
constexpr PcscDword STATE_NEGOTIABLE = 0x0020;
constexpr PcscDword STATE_SPECIFIC = 0x0040;
}  // namespace scard

// The protocol header of a transmit (SCARD_IO_REQUEST).
struct PcscIoRequest {
  PcscDword dwProtocol = 0;
  PcscDword cbPciLength = 0;
};

// Thrown by a binding when the call itself cannot be made (library or entry point missing),
// as opposed to a call that returns an error result.
class PcscCallError : public std::runtime_error {
 public:
  PcscCallError(std::int32_t number, const std::string& description)
      : std::runtime_error(description), number_(number) {}
  [[nodiscard]] std::int32_t number() const { return number_; }

 private:
  std::int32_t number_;
};

// The calls of the seam, each a winscard.h call without its SCard prefix; every one returns the
// PC/SC result. A binding declares its overrides of all of them with LUMIVEX_PCSC_OVERRIDES.
//   ListReaders  readers: a buffer of *length characters receiving zero-separated names and a
//                final zero; null asks for the length only.
//   Status       atr: a buffer of *atrLength bytes (may be null to ask for the length).
//   GetAttrib    buffer: null asks for the length only.
// clang-format off
#define LUMIVEX_PCSC_CALLS(CALL)                                                                   \
  CALL(PcscLong, EstablishContext, (PcscDword scope, PcscContext* context))                        \
  CALL(PcscLong, ReleaseContext, (PcscContext context))                                            \
  CALL(PcscLong, ListReaders, (PcscContext context, char* readers, PcscDword* length))             \
  CALL(PcscLong, Connect, (PcscContext context, const std::string& reader, PcscDword shareMode,    \
                           PcscDword preferredProtocols, PcscHandle* card,                         \
                           PcscDword* activeProtocol))                                             \
  CALL(PcscLong, Disconnect, (PcscHandle card, PcscDword disposition))                             \
  CALL(PcscLong, Status, (PcscHandle card, std::string* readerName, PcscDword* state,              \
                          PcscDword* protocol, std::uint8_t* atr, PcscDword* atrLength))           \
  CALL(PcscLong, GetAttrib, (PcscHandle card, PcscDword attributeId, std::uint8_t* buffer,         \
                             PcscDword* length))                                                   \
  CALL(PcscLong, Transmit, (PcscHandle card, const PcscIoRequest* sendPci,                         \
                            const std::uint8_t* sendBuffer, PcscDword sendLength,                  \
                            PcscIoRequest* recvPci, std::uint8_t* recvBuffer,                      \
                            PcscDword* recvLength))
// clang-format on

#define LUMIVEX_PCSC_OVERRIDES LUMIVEX_PCSC_CALLS(LUMIVEX_SEAM_OVERRIDE)

class PcscApi {
 public:
  virtual ~PcscApi() = default;

  LUMIVEX_PCSC_CALLS(LUMIVEX_SEAM_PURE)
};

}  // namespace lumivex
