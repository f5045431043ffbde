#include "com/encoder_object.h"

#include <new>

#include "com/bstr_text.h"
#include "com/dispatch_call.h"
#include "com/error_info.h"
#include "com/names.h"
#include "com/trace_file.h"
#include "component/surface/member_info.h"
#include "platform/platform.h"
#include "ui/win32/win32_dialogs.h"

namespace lumivex::com {

namespace {

const surface::MemberInfo& Member(const char* name) {
  return *surface::FindEncoderMember(name);  // every name used here is in the table
}

DISPID MemberId(const std::string& name) {
  for (const auto& m : surface::EncoderMembers()) {
    if (SameName(name, m.name)) return m.dispid;
  }
  return DISPID_UNKNOWN;
}

DISPID ParameterId(DISPID member, const std::string& name) {
  const auto& members = surface::EncoderMembers();
  if (member < 1 || static_cast<std::size_t>(member) > members.size()) return DISPID_UNKNOWN;
  const auto& params = members[static_cast<std::size_t>(member) - 1].params;
  for (std::size_t i = 0; i < params.size(); ++i) {
    if (SameName(name, params[i].name)) return static_cast<DISPID>(i);
  }
  return DISPID_UNKNOWN;
}

// The system's bindings, and the dialogs as Windows dialogs.
Platform WindowsPlatform() {
  Platform platform = DefaultPlatform();
  platform.dialogs = ui::win32::MakeWin32Dialogs();
  return platform;
}

}  // namespace

EncoderObject::EncoderObject()
    : DualObject(__uuidof(::Encoder)), encoder_(std::make_unique<Encoder>(WindowsPlatform())) {
  encoder_->SetTraceSink(TraceFileSink());
}

EncoderObject::~EncoderObject() {
  // A host may keep the record after releasing the Encoder: it keeps what it last showed.
  if (lastError_) lastError_->Detach();
}

ErrorRecordObject& EncoderObject::LastErrorObject() {
  if (!lastError_) {
    lastError_ = ComPtr<ErrorRecordObject>::Adopt(
        std::make_unique<ErrorRecordObject>(encoder_->LastError()).release());
  }
  return *lastError_.Get();
}

HRESULT EncoderObject::Reported(HRESULT hr) {
  return ReportCallError(hr, __uuidof(::_Encoder), L"Orbanet_Lumivex_BL.Encoder");
}

HRESULT STDMETHODCALLTYPE EncoderObject::GetIDsOfNames(REFIID /*riid*/, LPOLESTR* names, UINT count,
                                                       LCID /*lcid*/, DISPID* ids) {
  try {
    return LookupNames(names, count, ids, MemberId, ParameterId);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT STDMETHODCALLTYPE EncoderObject::Invoke(DISPID member, REFIID /*riid*/, LCID lcid,
                                                WORD flags, DISPPARAMS* params, VARIANT* result,
                                                EXCEPINFO* /*exception*/, UINT* argErr) {
  const auto& members = surface::EncoderMembers();
  if (member < 1 || static_cast<std::size_t>(member) > members.size()) {
    return DISP_E_MEMBERNOTFOUND;
  }
  if (params == nullptr) return E_INVALIDARG;
  const KeepAlive alive(static_cast<::_Encoder*>(this));
  const surface::MemberInfo& entry = members[static_cast<std::size_t>(member) - 1];
  if (entry.result == surface::ArgType::Object) {  // LastError: the record object itself
    if ((flags & DISPATCH_PROPERTYGET) == 0 && (flags & DISPATCH_METHOD) == 0) {
      return DISP_E_MEMBERNOTFOUND;
    }
    if (params->cArgs != 0) return DISP_E_BADPARAMCOUNT;
    if (result == nullptr) return S_OK;
    ::_CError* record = nullptr;
    const HRESULT hr = get_LastError(&record);
    if (FAILED(hr)) return hr;
    VariantInit(result);
    V_VT(result) = VT_DISPATCH;
    V_DISPATCH(result) = record;
    return S_OK;
  }
  return InvokeEncoderMember(*encoder_, entry, {flags, params, lcid, result, argErr});
}

HRESULT EncoderObject::GetText(const char* property, BSTR* value) {
  if (value == nullptr) return Reported(E_POINTER);
  const KeepAlive alive(static_cast<::_Encoder*>(this));
  try {
    const Variant text = Member(property).get(*encoder_);
    *value = MakeBstr(text.AsText() != nullptr ? *text.AsText() : std::string()).release();
    return S_OK;
  } catch (const std::bad_alloc&) {
    *value = nullptr;
    return Reported(E_OUTOFMEMORY);
  }
}

HRESULT EncoderObject::GetNumber(const char* property, LONG* value) {
  if (value == nullptr) return Reported(E_POINTER);
  const KeepAlive alive(static_cast<::_Encoder*>(this));
  try {
    *value = Member(property).get(*encoder_).ToInt32().value_or(0);
    return S_OK;
  } catch (const std::bad_alloc&) {
    return Reported(E_OUTOFMEMORY);
  }
}

HRESULT STDMETHODCALLTYPE EncoderObject::get_Parameters(BSTR* Value) {
  return GetText("Parameters", Value);
}

HRESULT STDMETHODCALLTYPE EncoderObject::put_Parameters(BSTR Value) {
  const KeepAlive alive(static_cast<::_Encoder*>(this));
  try {
    Member("Parameters").set(*encoder_, TextFromBstr(Value));
    return S_OK;
  } catch (const std::bad_alloc&) {
    return Reported(E_OUTOFMEMORY);
  }
}

HRESULT STDMETHODCALLTYPE EncoderObject::get_LastError(::_CError** Value) {
  if (Value == nullptr) return Reported(E_POINTER);
  try {
    ErrorRecordObject& record = LastErrorObject();
    record.AddRef();
    *Value = &record;
    return S_OK;
  } catch (const std::bad_alloc&) {
    *Value = nullptr;
    return Reported(E_OUTOFMEMORY);
  }
}

HRESULT STDMETHODCALLTYPE EncoderObject::get_EncoderState(::sceEncoderState* Value) {
  if (Value == nullptr) return Reported(E_POINTER);
  LONG state = 0;
  const HRESULT hr = GetNumber("EncoderState", &state);
  if (SUCCEEDED(hr)) *Value = static_cast<::sceEncoderState>(state);
  return hr;
}

HRESULT STDMETHODCALLTYPE EncoderObject::get_ReaderType(BSTR* Value) {
  return GetText("ReaderType", Value);
}

HRESULT STDMETHODCALLTYPE EncoderObject::get_ATRString(BSTR* Value) {
  return GetText("ATRString", Value);
}

HRESULT STDMETHODCALLTYPE EncoderObject::get_CardType(::sceCardTypes* Value) {
  if (Value == nullptr) return Reported(E_POINTER);
  LONG type = 0;
  const HRESULT hr = GetNumber("CardType", &type);
  if (SUCCEEDED(hr)) *Value = static_cast<::sceCardTypes>(type);
  return hr;
}

HRESULT STDMETHODCALLTYPE EncoderObject::get_SerialNumberLength(LONG* Value) {
  return GetNumber("SerialNumberLength", Value);
}

}  // namespace lumivex::com
