// The winscard calls with Windows' own conventions over one simulated reader, for the test
// winscard.dll: numbered card states, reader names as zero-separated lists, SCARD_AUTOALLOCATE
// buffers released by FreeMemory, a null context for ListReaders, Reconnect and transactions.
// Every call takes one lock, so host threads may share it.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/pcsc_api.h"
#include "sim/simulated_pcsc.h"

namespace lumivex::sim {

// Card states as winscard numbers them (SCardStatus).
namespace winscard_state {
constexpr PcscDword kAbsent = 1;
constexpr PcscDword kPresent = 2;
constexpr PcscDword kPowered = 4;
constexpr PcscDword kSpecific = 6;
}  // namespace winscard_state

class SimulatedWinscard {
 public:
  // cardKind and uidHex as the environment gives them, null when not set: the kind defaults to
  // "mifare1k". When the kind or the UID is not valid the reader stays empty and setupError()
  // says why; contexts and the reader list still work.
  SimulatedWinscard(const char* cardKind, const char* uidHex);

  [[nodiscard]] const std::string& setupError() const { return setupError_; }
  SimulatedPcsc& pcsc() { return pcsc_; }

  PcscLong EstablishContext(PcscDword scope, PcscContext* context);
  PcscLong ReleaseContext(PcscContext context);
  PcscLong IsValidContext(PcscContext context);
  // readers: a buffer of *length characters; null asks for the length; with *length ==
  // SCARD_AUTOALLOCATE it is the address of a char* that receives a block for FreeMemory.
  PcscLong ListReaders(PcscContext context, char* readers, PcscDword* length);
  PcscLong Connect(PcscContext context, const char* reader, PcscDword shareMode,
                   PcscDword preferredProtocols, PcscHandle* card, PcscDword* activeProtocol);
  PcscLong Reconnect(PcscHandle card, PcscDword shareMode, PcscDword preferredProtocols,
                     PcscDword initialization, PcscDword* activeProtocol);
  PcscLong Disconnect(PcscHandle card, PcscDword disposition);
  // names and atr follow ListReaders' buffer rules; state is a winscard_state number.
  PcscLong Status(PcscHandle card, char* names, PcscDword* namesLength, PcscDword* state,
                  PcscDword* protocol, std::uint8_t* atr, PcscDword* atrLength);
  PcscLong GetAttrib(PcscHandle card, PcscDword attributeId, std::uint8_t* buffer,
                     PcscDword* length);
  PcscLong Transmit(PcscHandle card, const PcscIoRequest* sendPci, const std::uint8_t* sendBuffer,
                    PcscDword sendLength, PcscIoRequest* recvPci, std::uint8_t* recvBuffer,
                    PcscDword* recvLength);
  // A transaction held by another live connection is refused (SCARD_E_SHARING_VIOLATION) rather
  // than waited for: a host with one thread would wait forever.
  PcscLong BeginTransaction(PcscHandle card);
  PcscLong EndTransaction(PcscHandle card, PcscDword disposition);
  // Releases a block given out for SCARD_AUTOALLOCATE; anything else is refused, never freed.
  PcscLong FreeMemory(PcscContext context, const void* memory);

  // Blocks given out and not yet released.
  [[nodiscard]] std::size_t blockCount();

 private:
  // Where one value goes: a caller's buffer and its length (both may be null).
  struct Output {
    void* buffer;
    PcscDword* length;
  };
  // Writes every value to its output when all of them fit (SCARD_S_SUCCESS), else writes none and
  // gives the error; on a short buffer every requested length is set to its value's length.
  PcscLong Give(std::span<const std::vector<std::uint8_t>> values, std::span<const Output> outputs);
  void Write(const std::vector<std::uint8_t>& value, Output output);
  PcscLong Alive(PcscHandle card);

  std::mutex mutex_;
  SimulatedPcsc pcsc_;
  std::string setupError_;
  std::map<const void*, std::vector<std::uint8_t>> blocks_;
  std::optional<PcscHandle> transactionHolder_;
};

}  // namespace lumivex::sim
