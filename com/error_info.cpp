#include "com/error_info.h"

#include "com/com_ptr.h"

namespace lumivex::com {

namespace {

const wchar_t* Description(HRESULT hr) {
  switch (hr) {
    case E_POINTER:
      return L"A required pointer argument is null.";
    case E_OUTOFMEMORY:
      return L"Not enough memory to complete the call.";
    case E_INVALIDARG:
      return L"An argument is not valid.";
    case DISP_E_TYPEMISMATCH:
      return L"An argument has a type the member does not accept.";
    case DISP_E_OVERFLOW:
      return L"An argument does not fit the member's type.";
    case DISP_E_BADPARAMCOUNT:
      return L"Wrong number of arguments.";
    case DISP_E_PARAMNOTOPTIONAL:
      return L"A required argument is missing.";
    case DISP_E_PARAMNOTFOUND:
      return L"A named argument is not a parameter of the member.";
    case DISP_E_MEMBERNOTFOUND:
      return L"The object has no such member, or it cannot be used that way.";
    case TYPE_E_CANTLOADLIBRARY:
      return L"The type library embedded in the component cannot be loaded.";
    default:
      return L"The call could not be completed.";
  }
}

}  // namespace

HRESULT ReportCallError(HRESULT hr, REFIID iid, const wchar_t* source) {
  if (SUCCEEDED(hr)) return hr;
  ComPtr<ICreateErrorInfo> create;
  if (FAILED(CreateErrorInfo(create.Receive()))) return hr;
  create->SetGUID(iid);
  create->SetSource(const_cast<LPOLESTR>(source));  // NOLINT: the API takes a non-const string
  create->SetDescription(const_cast<LPOLESTR>(Description(hr)));  // NOLINT: as above
  ComPtr<IErrorInfo> info;
  if (SUCCEEDED(create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(info.Receive())))) {
    SetErrorInfo(0, info.Get());
  }
  return hr;
}

}  // namespace lumivex::com
