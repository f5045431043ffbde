#include "com/encoder_object.h"

#include <new>

#include "com/bstr_text.h"
#include "com/dispatch_call.h"
#include "com/error_info.h"
#include "com/trace_file.h"
#include "component/surface/member_info.h"
#include "platform/platform.h"
#include "ui/win32/win32_dialogs.h"

namespace lumivex::com {

namespace {

const surface::MemberInfo& Member(const char* name) {
  return *surface::FindEncoderMember(name);  // every name used here is in the table
}

// The system's bindings, and the dialogs as Windows dialogs.
Platform WindowsPlatform() {
  Platform platform = DefaultPlatform();
  platform.dialogs = ui::win32::MakeWin32Dialogs();
  return platform;
}

}  // namespace

EncoderObject::EncoderObject()
    : DualObject(__uuidof(::Encoder), surface::EncoderMembers()),
      encoder_(std::make_unique<Encoder>(WindowsPlatform())) {
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

HRESULT EncoderObject::InvokeMember(const surface::MemberInfo& member,
                                    const InvokeRequest& request) {
  const KeepAlive alive(static_cast<::_Encoder*>(this));
  if (member.result == surface::ArgType::Object) {  // LastError: the record object itself
    if ((request.flags & DISPATCH_PROPERTYGET) == 0 && (request.flags & DISPATCH_METHOD) == 0) {
      return DISP_E_MEMBERNOTFOUND;
    }
    if (request.params->cArgs != 0) return DISP_E_BADPARAMCOUNT;
    if (request.result == nullptr) return S_OK;
    ::_CError* record = nullptr;
    const HRESULT hr = get_LastError(&record);
    if (FAILED(hr)) return hr;
    VariantInit(request.result);
    V_VT(request.result) = VT_DISPATCH;
    V_DISPATCH(request.result) = record;
    return S_OK;
  }
  return InvokeEncoderMember(*encoder_, member, request);
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

template <typename Number>
HRESULT EncoderObject::GetNumber(const char* property, Number* value) {
  if (value == nullptr) return Reported(E_POINTER);
  const KeepAlive alive(static_cast<::_Encoder*>(this));
  try {
    *value = static_cast<Number>(Member(property).get(*encoder_).ToInt32().value_or(0));
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
  return GetNumber("EncoderState", Value);
}

HRESULT STDMETHODCALLTYPE EncoderObject::get_ReaderType(BSTR* Value) {
  return GetText("ReaderType", Value);
}

HRESULT STDMETHODCALLTYPE EncoderObject::get_ATRString(BSTR* Value) {
  return GetText("ATRString", Value);
}

HRESULT STDMETHODCALLTYPE EncoderObject::get_CardType(::sceCardTypes* Value) {
  return GetNumber("CardType", Value);
}

HRESULT STDMETHODCALLTYPE EncoderObject::get_SerialNumberLength(LONG* Value) {
  return GetNumber("SerialNumberLength", Value);
}

}  // namespace lumivex::com
