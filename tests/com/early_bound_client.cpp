// An early-bound client of the registered DLL: creates the Encoder through COM and calls it
// through the vtable of the widl header, with typed by-reference outputs, then checks the record
// object, the dispatch rules a late-bound client meets, and a host that re-enters (and lets go of
// the object) while OpenEncoder waits. Needs a simulated MIFARE Classic card in the reader.
#include <windows.h>

#include <cstdlib>
#include <string>

#include "Orbanet_Lumivex_BL.h"
#include "com/bstr_text.h"
#include "com/com_ptr.h"
#include "tests/com/check.h"
#include "tests/com/dispatch_checks.h"

namespace {

using lumivex::com::ComPtr;
using lumivex::com::MakeBstr;
using lumivex::com::TextFromBstr;
using lumivex::com::UniqueBstr;

constexpr const char* kKey = "FFFFFFFFFFFF";

std::string Environment(const char* name, const char* fallback) {
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): one thread
  return value != nullptr ? value : fallback;
}

ComPtr<_Encoder> NewEncoder() {
  ComPtr<_Encoder> encoder;
  CoCreateInstance(__uuidof(::Encoder), nullptr, CLSCTX_INPROC_SERVER, __uuidof(_Encoder),
                   reinterpret_cast<void**>(encoder.Receive()));
  return encoder;
}

// Text of an output BSTR, which the call allocated and the caller frees.
std::string Take(BSTR& text) {
  std::string value = TextFromBstr(text);
  SysFreeString(text);
  text = nullptr;
  return value;
}

void TypedCalls(lumivex::wine::Checks& check, _Encoder& e) {
  const std::string uid = Environment("LUMIVEX_SIM_UID", "");
  check.That(e.put_Parameters(MakeBstr("Device=Lumivex Simulator 0\r\nProtocol=2").get()) == S_OK,
             "put_Parameters");
  BSTR text = nullptr;
  e.get_Parameters(&text);
  check.That(Take(text).find("Protocol=2") != std::string::npos, "get_Parameters reads back");
  sceReturnCode rc = sceError;
  check.That(e.OpenEncoder(0, &rc) == S_OK && rc == sceSuccess, "OpenEncoder returns sceSuccess");
  sceEncoderState state = sceUnknown;
  check.That(e.get_EncoderState(&state) == S_OK && state == sceReady, "EncoderState is sceReady");
  check.That(e.ReadSerialNumber(&text, &rc) == S_OK && rc == sceSuccess, "ReadSerialNumber");
  const std::string serial = Take(text);
  check.That(uid.empty() || serial == uid, "the serial number is the card's UID (" + serial + ")");

  const UniqueBstr key = MakeBstr(kKey);
  text = MakeBstr("00112233445566778899AABBCCDDEEFF").release();
  check.That(e.MifareWriteDataBloc(4, key.get(), 0, &text, &rc) == S_OK && rc == sceSuccess,
             "MifareWriteDataBloc with a typed BSTR* in/out");
  Take(text);
  check.That(e.ReadDataBloc(4, key.get(), 0, &text, &rc) == S_OK && rc == sceSuccess,
             "ReadDataBloc (the forwarder)");
  check.That(Take(text) == "00112233445566778899AABBCCDDEEFF", "the block reads back");

  unsigned char keysUsed = 0;
  unsigned char bx = 0;
  SCBS_SecurityLevelEnum s0 = scbs_A_Nothing;
  SCBS_SecurityLevelEnum s1 = scbs_A_Nothing;
  SCBS_SecurityLevelEnum s2 = scbs_A_Nothing;
  SCSS_SecurityLevelEnum conditions = scss_A_Nothing;
  check.That(e.MifareReadSectorTrailer(1, key.get(), 0, &keysUsed, &s0, &s1, &s2, &conditions, &bx,
                                       &rc) == S_OK &&
                 rc == sceSuccess,
             "MifareReadSectorTrailer with typed enum outputs");
  // A blank card's trailer (FF 07 80 69) lets both keys read and write the data blocks.
  check.That(s0 == scbs_A_ReadWrite + scbs_B_ReadWrite && conditions != scss_A_Nothing,
             "the sector's access levels come back: Security0=" + std::to_string(s0));

  // What automation clients ask of the object besides the interface itself.
  ComPtr<IProvideClassInfo> classInfo;
  ComPtr<ITypeInfo> coclass;
  BSTR className = nullptr;
  check.That(SUCCEEDED(e.QueryInterface(IID_IProvideClassInfo,
                                        reinterpret_cast<void**>(classInfo.Receive()))) &&
                 SUCCEEDED(classInfo->GetClassInfo(coclass.Receive())) &&
                 SUCCEEDED(coclass->GetDocumentation(MEMBERID_NIL, &className, nullptr, nullptr,
                                                     nullptr)) &&
                 Take(className) == "Encoder",
             "IProvideClassInfo gives the coclass Encoder");
  ComPtr<ISupportErrorInfo> errorInfo;
  check.That(SUCCEEDED(e.QueryInterface(IID_ISupportErrorInfo,
                                        reinterpret_cast<void**>(errorInfo.Receive()))) &&
                 errorInfo->InterfaceSupportsErrorInfo(__uuidof(_Encoder)) == S_OK,
             "ISupportErrorInfo for _Encoder");

  ComPtr<_CError> record;
  ComPtr<_CError> again;
  check.That(e.get_LastError(record.Receive()) == S_OK && record, "LastError");
  e.get_LastError(again.Receive());
  check.That(record.Get() == again.Get(), "LastError is the same object each time");
  LONG number = -1;
  record->get_Number(&number);
  check.That(number == 0, "Number is 0 after a success");
  record->get_ComFunction(&text);
  check.That(Take(text) == "MifareReadSectorTrailer", "ComFunction names the last operation");

  text = nullptr;
  check.That(e.MifareReadDataBloc(4, MakeBstr("00000000000").get(), 0, &text, &rc) == S_OK &&
                 rc == sceError,
             "a malformed key gives sceError, not a failed call");
  Take(text);
  record->get_Number(&number);
  check.That(number != 0, "the record object shows the failure at once");
  record->get_ComFunction(&text);
  check.That(Take(text) == "MifareReadDataBloc", "and names the failing operation");
  check.That(e.CloseEncoder(&rc) == S_OK && rc == sceSuccess, "CloseEncoder");

  // A record the host creates itself is a plain record.
  ComPtr<_CError> own;
  CoCreateInstance(__uuidof(::CError), nullptr, CLSCTX_INPROC_SERVER, __uuidof(_CError),
                   reinterpret_cast<void**>(own.Receive()));
  check.That(
      own && own->put_Number(77) == S_OK && own->put_RdrRetCode(MakeBstr("6A82").get()) == S_OK,
      "a CError created by the host takes values");
  own->get_Number(&number);
  own->get_RdrRetCode(&text);
  check.That(number == 77 && Take(text) == "6A82", "and keeps them");
}

// The host's window procedure during the open wait: it re-enters the object and lets go of it.
ComPtr<_Encoder>* g_reentered = nullptr;
int g_ticks = 0;

void CALLBACK OnTimer(HWND /*window*/, UINT /*message*/, UINT_PTR timer, DWORD /*time*/) {
  ++g_ticks;
  if (g_reentered == nullptr || !*g_reentered) return;
  sceReturnCode rc = sceError;
  if (g_ticks == 1) {
    (*g_reentered)->OpenEncoder(0, &rc);  // a nested open inside the outer one's wait
  } else {
    (*g_reentered)->CloseEncoder(&rc);
    g_reentered->Reset();  // the host's last reference goes while OpenEncoder still runs
    KillTimer(nullptr, timer);
  }
}

void Reentrance(lumivex::wine::Checks& check) {
  ComPtr<_Encoder> encoder = NewEncoder();
  encoder->put_Parameters(MakeBstr("Device=Lumivex Simulator 0").get());
  g_reentered = &encoder;
  const UINT_PTR timer = SetTimer(nullptr, 0, 700, OnTimer);
  sceReturnCode rc = sceError;
  _Encoder* raw = encoder.Get();
  const HRESULT hr = raw->OpenEncoder(0, &rc);  // the object must outlive its own call
  g_reentered = nullptr;
  KillTimer(nullptr, timer);
  check.That(hr == S_OK && g_ticks >= 2,
             "calls re-entered during the open wait and the host released the object");
  check.That(!encoder, "the host holds no reference any more");
  // Nothing of that object may still hold the card: a new one opens it exclusively.
  ComPtr<_Encoder> next = NewEncoder();
  next->put_Parameters(MakeBstr("Device=Lumivex Simulator 0").get());
  check.That(next->OpenEncoder(0, &rc) == S_OK && rc == sceSuccess, "a new Encoder opens the card");
  ComPtr<_CError> record;
  next->get_LastError(record.Receive());
  LONG number = -1;
  record->get_Number(&number);
  check.That(number == 0, "with the card connected (no sharing violation, no empty reader)");
  next->CloseEncoder(&rc);
}

// LUMIVEX_TRACE: each Encoder created while it is set appends its trace lines to that file, with
// the keys masked.
void TraceFile(lumivex::wine::Checks& check) {
  wchar_t folder[MAX_PATH] = {};
  wchar_t path[MAX_PATH] = {};
  GetTempPathW(MAX_PATH, folder);
  GetTempFileNameW(folder, L"lvx", 0, path);
  SetEnvironmentVariableW(L"LUMIVEX_TRACE", path);
  {
    ComPtr<_Encoder> e = NewEncoder();
    SetEnvironmentVariableW(L"LUMIVEX_TRACE", nullptr);
    e->put_Parameters(MakeBstr("Device=Lumivex Simulator 0").get());
    ::sceReturnCode rc = ::sceError;
    e->OpenEncoder(0, &rc);
    BSTR text = nullptr;
    e->MifareReadDataBloc(4, MakeBstr("A0A1A2A3A4A5").get(), 0, &text, &rc);
    Take(text);
    e->MifareReadDataBloc(4, MakeBstr("B0B1B2B3B4BG").get(), 0, &text, &rc);
    Take(text);
    e->CloseEncoder(&rc);
  }
  std::string trace;
  HANDLE file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_EXISTING, 0, nullptr);
  if (file != INVALID_HANDLE_VALUE) {
    char buffer[4096];
    DWORD read = 0;
    while (ReadFile(file, buffer, sizeof buffer, &read, nullptr) && read > 0) {
      trace.append(buffer, read);
    }
    CloseHandle(file);
  }
  DeleteFileW(path);
  check.That(trace.find("--> OpenEncoder") != std::string::npos &&
                 trace.find("--> MifareReadDataBloc") != std::string::npos,
             "LUMIVEX_TRACE receives the trace lines");
  const bool leaked = trace.find("A0A1A2A3A4A5") != std::string::npos ||
                      trace.find("A0 A1 A2 A3 A4 A5") != std::string::npos ||
                      trace.find("B0B1B2B3B4BG") != std::string::npos;
  check.That(!leaked, "no key reaches the trace file, a malformed one included");
}

}  // namespace

int main() {
  lumivex::wine::Checks check("early_bound_client");
  if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 100;
  {
    ComPtr<_Encoder> encoder = NewEncoder();
    if (check.That(static_cast<bool>(encoder), "CoCreateInstance of Encoder (IID__Encoder)")) {
      TypedCalls(check, *encoder.Get());
      lumivex::wine::DispatchChecks(check, encoder.Get());
      lumivex::wine::VtableSweep(check);
      Reentrance(check);
      TraceFile(check);
    }
  }
  CoUninitialize();
  return check.Finish();
}
