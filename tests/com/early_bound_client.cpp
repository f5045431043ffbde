// An early-bound client of the registered DLL: creates the Encoder through COM and calls it
// through the vtable of the widl header, one call for each kind of argument (typed texts,
// numbers, bytes and enumerations by reference, an optional VARIANT* left out or given), then
// checks the record object and the error information of a refused call, the dispatch rules a
// late-bound client meets, a host that re-enters (and lets go of the object) while OpenEncoder
// waits, and the trace file. Needs a simulated MIFARE Classic card in the reader.
#include <windows.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
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
constexpr const char* kReader = "Device=Lumivex Simulator 0";

template <typename Interface>
ComPtr<Interface> Create(const CLSID& clsid) {
  ComPtr<Interface> object;
  CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface),
                   reinterpret_cast<void**>(object.Receive()));
  return object;
}

ComPtr<_Encoder> NewEncoder() {
  ComPtr<_Encoder> encoder = Create<_Encoder>(__uuidof(::Encoder));
  if (encoder) encoder->put_Parameters(MakeBstr(kReader).get());
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
  const char* uid = std::getenv("LUMIVEX_SIM_UID");  // NOLINT(concurrency-mt-unsafe): one thread
  BSTR text = nullptr;
  sceReturnCode rc = sceError;
  sceEncoderState state = sceUnknown;
  check.That(e.OpenEncoder(0, &rc) == S_OK && rc == sceSuccess &&
                 e.get_EncoderState(&state) == S_OK && state == sceReady,
             "OpenEncoder returns sceSuccess, EncoderState is sceReady");
  check.That(e.ReadSerialNumber(&text, &rc) == S_OK && rc == sceSuccess && uid != nullptr &&
                 Take(text) == uid,
             "ReadSerialNumber: the UID through a typed BSTR*");

  const UniqueBstr key = MakeBstr(kKey);
  text = MakeBstr("00112233445566778899AABBCCDDEEFF").release();
  const bool written =
      e.MifareWriteDataBloc(4, key.get(), 0, &text, &rc) == S_OK && rc == sceSuccess;
  Take(text);
  check.That(written && e.MifareReadDataBloc(4, key.get(), 0, &text, &rc) == S_OK &&
                 rc == sceSuccess && Take(text) == "00112233445566778899AABBCCDDEEFF",
             "a block written and read back through BSTR* in/out");

  // The optional BX, a VARIANT*: given, then left out (the trailer keeps its own); the trailer
  // read back through typed enumeration and byte outputs. Both keys read and write, or read.
  const auto kReadWrite = static_cast<SCBS_SecurityLevelEnum>(scbs_A_ReadWrite + scbs_B_ReadWrite);
  const auto kRead = static_cast<SCBS_SecurityLevelEnum>(scbs_A_Read + scbs_B_Read);
  VARIANT optional;
  VariantInit(&optional);
  V_VT(&optional) = VT_I4;
  V_I4(&optional) = 0x42;
  const auto writeTrailer = [&] {
    return e.WriteSectorTrailer(3, key.get(), 0, key.get(), key.get(), 1, kReadWrite, kReadWrite,
                                kRead, scss_A_WriteKeysConditions, &optional, &rc) == S_OK &&
           rc == sceSuccess;
  };
  const bool given = writeTrailer();
  V_VT(&optional) = VT_ERROR;
  V_ERROR(&optional) = DISP_E_PARAMNOTFOUND;
  const bool leftOut = writeTrailer();
  unsigned char keysUsed = 0;
  unsigned char bx = 0;
  SCBS_SecurityLevelEnum s[3] = {scbs_A_Nothing, scbs_A_Nothing, scbs_A_Nothing};
  SCSS_SecurityLevelEnum conditions = scss_A_Nothing;
  e.ReadSectorTrailer(3, key.get(), 0, &keysUsed, &s[0], &s[1], &s[2], &conditions, &bx, &rc);
  check.That(given && leftOut && rc == sceSuccess && s[0] == kReadWrite && s[1] == kReadWrite &&
                 s[2] == kRead && conditions == scss_A_WriteKeysConditions && bx == 0x42,
             "WriteSectorTrailer with BX given, then left out; read back: Security " +
                 std::to_string(s[0]) + " " + std::to_string(s[1]) + " " + std::to_string(s[2]) +
                 ", Conditions " + std::to_string(conditions) + ", BX " + std::to_string(bx));

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

  // The record object: the same one each time, showing each outcome at once.
  ComPtr<_CError> record;
  ComPtr<_CError> again;
  e.get_LastError(record.Receive());
  e.get_LastError(again.Receive());
  LONG number = -1;
  record->get_Number(&number);
  record->get_ComFunction(&text);
  const std::string function = Take(text);
  check.That(
      record && record.Get() == again.Get() && number == 0 && function == "MifareReadSectorTrailer",
      "LastError is one object: Number 0 and ComFunction after a success (" + function + ")");
  check.That(e.MifareReadDataBloc(4, MakeBstr("00000000000").get(), 0, &text, &rc) == S_OK &&
                 rc == sceError && record->get_Number(&number) == S_OK && number != 0 &&
                 record->get_ComFunction(&text) == S_OK && Take(text) == "MifareReadDataBloc",
             "a malformed key: sceError, and the record names the failing operation");
  // A call the object refuses (a null output pointer) leaves its error information for the host.
  ComPtr<IErrorInfo> info;
  BSTR source = nullptr;
  BSTR description = nullptr;
  check.That(e.ReadSerialNumber(nullptr, &rc) == E_POINTER &&
                 GetErrorInfo(0, info.Receive()) == S_OK && info &&
                 info->GetSource(&source) == S_OK && info->GetDescription(&description) == S_OK &&
                 Take(source) == "Orbanet_Lumivex_BL.Encoder" && !Take(description).empty(),
             "a refused call: E_POINTER, and IErrorInfo names the source and the fault");
  check.That(e.CloseEncoder(&rc) == S_OK && rc == sceSuccess, "CloseEncoder");

  // A record the host creates itself is a plain record.
  ComPtr<_CError> own = Create<_CError>(__uuidof(::CError));
  check.That(own && own->put_Number(77) == S_OK &&
                 own->put_RdrRetCode(MakeBstr("6A82").get()) == S_OK &&
                 own->get_Number(&number) == S_OK && number == 77 &&
                 own->get_RdrRetCode(&text) == S_OK && Take(text) == "6A82",
             "a CError created by the host keeps its values");
}

// The host's window procedure during the open wait: it re-enters the object and lets go of it.
ComPtr<_Encoder>* g_reentered = nullptr;
int g_ticks = 0;
ULONG g_references = 0;  // the object's references during its own call, the host's included

void CALLBACK OnTimer(HWND /*window*/, UINT /*message*/, UINT_PTR timer, DWORD /*time*/) {
  ++g_ticks;
  if (g_reentered == nullptr || !*g_reentered) return;
  sceReturnCode rc = sceError;
  if (g_ticks == 1) {
    g_references = (*g_reentered)->AddRef() - 1;
    (*g_reentered)->Release();
    (*g_reentered)->OpenEncoder(0, &rc);  // a nested open inside the outer one's wait
  } else {
    (*g_reentered)->CloseEncoder(&rc);
    g_reentered->Reset();  // the host's last reference goes while OpenEncoder still runs
    KillTimer(nullptr, timer);
  }
}

void Reentrance(lumivex::wine::Checks& check) {
  ComPtr<_Encoder> encoder = NewEncoder();
  g_reentered = &encoder;
  const UINT_PTR timer = SetTimer(nullptr, 0, 700, OnTimer);
  sceReturnCode rc = sceError;
  _Encoder* raw = encoder.Get();
  const HRESULT hr = raw->OpenEncoder(0, &rc);  // the object must outlive its own call
  g_reentered = nullptr;
  KillTimer(nullptr, timer);
  // The object holds a reference of its own while its call runs: the host's last Release cannot
  // end it under its own feet.
  check.That(hr == S_OK && g_ticks >= 2 && !encoder && g_references >= 2,
             "calls re-entered during the open wait and the host released the object (" +
                 std::to_string(g_references) + " references during the call)");
  // Nothing of that object may still hold the card: a new one opens it exclusively.
  ComPtr<_Encoder> next = NewEncoder();
  ComPtr<_CError> record;
  LONG number = -1;
  check.That(next->OpenEncoder(0, &rc) == S_OK && rc == sceSuccess &&
                 next->get_LastError(record.Receive()) == S_OK &&
                 record->get_Number(&number) == S_OK && number == 0,
             "a new Encoder opens the card (no sharing violation, no empty reader)");
  next->CloseEncoder(&rc);
}

// LUMIVEX_TRACE: each Encoder created while it is set appends its trace lines to that file.
void TraceFile(lumivex::wine::Checks& check) {
  char folder[MAX_PATH] = {};
  char path[MAX_PATH] = {};
  GetTempPathA(MAX_PATH, folder);
  GetTempFileNameA(folder, "lvx", 0, path);
  SetEnvironmentVariableA("LUMIVEX_TRACE", path);
  {
    ComPtr<_Encoder> e = NewEncoder();
    SetEnvironmentVariableA("LUMIVEX_TRACE", nullptr);
    ::sceReturnCode rc = ::sceError;
    e->OpenEncoder(0, &rc);
    BSTR text = nullptr;
    e->MifareReadDataBloc(4, MakeBstr("A0A1A2A3A4A5").get(), 0, &text, &rc);
    Take(text);
    e->CloseEncoder(&rc);
  }
  std::ifstream file(path, std::ios::binary);
  const std::string trace{std::istreambuf_iterator<char>(file), {}};
  file.close();
  DeleteFileA(path);
  check.That(trace.find("--> OpenEncoder") != std::string::npos &&
                 trace.find("--> MifareReadDataBloc") != std::string::npos &&
                 trace.find("A0A1A2A3A4A5") == std::string::npos &&
                 trace.find("A0 A1 A2 A3 A4 A5") == std::string::npos,
             "LUMIVEX_TRACE receives the trace lines, the key masked");
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
