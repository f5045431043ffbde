// The test winscard.dll: winscard's entry points over one simulated reader, "Lumivex Simulator 0",
// created on the first call. Its card comes from the environment at that moment:
// LUMIVEX_SIM_CARD = mifare1k (default), mifare4k, desfire or none, and LUMIVEX_SIM_UID = the
// card's UID in hexadecimal. An unknown kind or a bad UID leaves the reader empty (one line on
// stderr says why) while contexts and the reader list keep working: the DLL never stops its host.
#include <cstdio>
#include <cstdlib>
#include <new>

// The data exports are defined here, not imported.
#define WINSCARDDATA
// clang-format off
#include <windows.h>
#include <winscard.h>
// clang-format on

#include "sim/simulated_winscard.h"

namespace {

using lumivex::PcscContext;
using lumivex::PcscHandle;
using lumivex::PcscIoRequest;
using lumivex::sim::SimulatedWinscard;

// The process's simulator; its card is chosen from the environment when it is created.
struct Instance {
  SimulatedWinscard simulator{std::getenv("LUMIVEX_SIM_CARD"), std::getenv("LUMIVEX_SIM_UID")};
  Instance() {
    if (!simulator.setupError().empty()) {
      (void)std::fprintf(stderr, "Lumivex test winscard.dll: no card in the reader: %s\n",
                         simulator.setupError().c_str());
    }
  }
};

SimulatedWinscard& Simulator() {
  static Instance instance;
  return instance.simulator;
}

// Runs one call on the simulator; no exception leaves the DLL.
template <typename Call>
LONG Guarded(Call call) noexcept {
  try {
    return call(Simulator());
  } catch (const std::bad_alloc&) {
    return SCARD_E_NO_MEMORY;
  } catch (...) {
    return SCARD_F_INTERNAL_ERROR;
  }
}

PcscContext Context(SCARDCONTEXT context) {
  return static_cast<PcscContext>(context);
}

PcscHandle Card(SCARDHANDLE card) {
  return static_cast<PcscHandle>(card);
}

}  // namespace

const SCARD_IO_REQUEST g_rgSCardT0Pci{SCARD_PROTOCOL_T0, sizeof(SCARD_IO_REQUEST)};
const SCARD_IO_REQUEST g_rgSCardT1Pci{SCARD_PROTOCOL_T1, sizeof(SCARD_IO_REQUEST)};
const SCARD_IO_REQUEST g_rgSCardRawPci{SCARD_PROTOCOL_RAW, sizeof(SCARD_IO_REQUEST)};

LONG WINAPI SCardEstablishContext(DWORD dwScope, LPCVOID /*pvReserved1*/, LPCVOID /*pvReserved2*/,
                                  LPSCARDCONTEXT phContext) {
  return Guarded([&](SimulatedWinscard& simulator) {
    PcscContext context = 0;
    const LONG result =
        simulator.EstablishContext(dwScope, phContext != nullptr ? &context : nullptr);
    if (phContext != nullptr && result == SCARD_S_SUCCESS) *phContext = context;
    return result;
  });
}

LONG WINAPI SCardReleaseContext(SCARDCONTEXT hContext) {
  return Guarded(
      [&](SimulatedWinscard& simulator) { return simulator.ReleaseContext(Context(hContext)); });
}

LONG WINAPI SCardIsValidContext(SCARDCONTEXT hContext) {
  return Guarded(
      [&](SimulatedWinscard& simulator) { return simulator.IsValidContext(Context(hContext)); });
}

LONG WINAPI SCardListReadersA(SCARDCONTEXT hContext, LPCSTR /*mszGroups*/, LPSTR mszReaders,
                              LPDWORD pcchReaders) {
  return Guarded([&](SimulatedWinscard& simulator) {
    return simulator.ListReaders(Context(hContext), mszReaders, pcchReaders);
  });
}

LONG WINAPI SCardConnectA(SCARDCONTEXT hContext, LPCSTR szReader, DWORD dwShareMode,
                          DWORD dwPreferredProtocols, LPSCARDHANDLE phCard,
                          LPDWORD pdwActiveProtocol) {
  return Guarded([&](SimulatedWinscard& simulator) {
    PcscHandle card = 0;
    const LONG result =
        simulator.Connect(Context(hContext), szReader, dwShareMode, dwPreferredProtocols,
                          phCard != nullptr ? &card : nullptr, pdwActiveProtocol);
    if (phCard != nullptr && result == SCARD_S_SUCCESS) *phCard = card;
    return result;
  });
}

LONG WINAPI SCardReconnect(SCARDHANDLE hCard, DWORD dwShareMode, DWORD dwPreferredProtocols,
                           DWORD dwInitialization, LPDWORD pdwActiveProtocol) {
  return Guarded([&](SimulatedWinscard& simulator) {
    return simulator.Reconnect(Card(hCard), dwShareMode, dwPreferredProtocols, dwInitialization,
                               pdwActiveProtocol);
  });
}

LONG WINAPI SCardDisconnect(SCARDHANDLE hCard, DWORD dwDisposition) {
  return Guarded([&](SimulatedWinscard& simulator) {
    return simulator.Disconnect(Card(hCard), dwDisposition);
  });
}

LONG WINAPI SCardBeginTransaction(SCARDHANDLE hCard) {
  return Guarded(
      [&](SimulatedWinscard& simulator) { return simulator.BeginTransaction(Card(hCard)); });
}

LONG WINAPI SCardEndTransaction(SCARDHANDLE hCard, DWORD dwDisposition) {
  return Guarded([&](SimulatedWinscard& simulator) {
    return simulator.EndTransaction(Card(hCard), dwDisposition);
  });
}

LONG WINAPI SCardStatusA(SCARDHANDLE hCard, LPSTR szReaderName, LPDWORD pcchReaderLen,
                         LPDWORD pdwState, LPDWORD pdwProtocol, LPBYTE pbAtr, LPDWORD pcbAtrLen) {
  return Guarded([&](SimulatedWinscard& simulator) {
    return simulator.Status(Card(hCard), szReaderName, pcchReaderLen, pdwState, pdwProtocol, pbAtr,
                            pcbAtrLen);
  });
}

LONG WINAPI SCardGetAttrib(SCARDHANDLE hCard, DWORD dwAttrId, LPBYTE pbAttr, LPDWORD pcbAttrLen) {
  return Guarded([&](SimulatedWinscard& simulator) {
    return simulator.GetAttrib(Card(hCard), dwAttrId, pbAttr, pcbAttrLen);
  });
}

LONG WINAPI SCardTransmit(SCARDHANDLE hCard, LPCSCARD_IO_REQUEST pioSendPci, LPCBYTE pbSendBuffer,
                          DWORD cbSendLength, LPSCARD_IO_REQUEST pioRecvPci, LPBYTE pbRecvBuffer,
                          LPDWORD pcbRecvLength) {
  return Guarded([&](SimulatedWinscard& simulator) {
    PcscIoRequest send;
    if (pioSendPci != nullptr) send = {pioSendPci->dwProtocol, pioSendPci->cbPciLength};
    PcscIoRequest received;
    if (pioRecvPci != nullptr) received = {pioRecvPci->dwProtocol, pioRecvPci->cbPciLength};
    const LONG result = simulator.Transmit(
        Card(hCard), pioSendPci != nullptr ? &send : nullptr, pbSendBuffer, cbSendLength,
        pioRecvPci != nullptr ? &received : nullptr, pbRecvBuffer, pcbRecvLength);
    if (pioRecvPci != nullptr && result == SCARD_S_SUCCESS) {
      pioRecvPci->dwProtocol = received.dwProtocol;
      pioRecvPci->cbPciLength = sizeof(SCARD_IO_REQUEST);
    }
    return result;
  });
}

LONG WINAPI SCardFreeMemory(SCARDCONTEXT hContext, LPCVOID pvMem) {
  return Guarded(
      [&](SimulatedWinscard& simulator) { return simulator.FreeMemory(Context(hContext), pvMem); });
}
