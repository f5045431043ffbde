#include "com/error_record_object.h"

#include <new>

#include "com/bstr_text.h"
#include "com/dispatch_call.h"
#include "component/surface/member_info.h"

namespace lumivex::com {

namespace {

const surface::RecordPropertyInfo* Find(const char* name) {
  for (const auto& p : surface::RecordProperties()) {
    if (std::string_view(p.name) == name) return &p;
  }
  return nullptr;
}

}  // namespace

ErrorRecordObject::ErrorRecordObject()
    : DualObject(__uuidof(::CError), surface::RecordProperties()) {}

ErrorRecordObject::ErrorRecordObject(CError& shown)
    : DualObject(__uuidof(::CError), surface::RecordProperties()), shown_(&shown) {}

void ErrorRecordObject::Detach() {
  if (shown_ == nullptr) return;
  own_ = *shown_;
  shown_ = nullptr;
}

HRESULT ErrorRecordObject::InvokeMember(const surface::RecordPropertyInfo& property,
                                        const InvokeRequest& request) {
  return InvokeRecordProperty(Record(), property, request);
}

HRESULT ErrorRecordObject::Get(const char* name, LONG* value) {
  if (value == nullptr) return E_POINTER;
  *value = Find(name)->get(Record()).ToInt32().value_or(0);
  return S_OK;
}

HRESULT ErrorRecordObject::Get(const char* name, BSTR* value) {
  if (value == nullptr) return E_POINTER;
  try {
    const Variant text = Find(name)->get(Record());
    *value = MakeBstr(text.AsText() != nullptr ? *text.AsText() : std::string()).release();
    return S_OK;
  } catch (const std::bad_alloc&) {
    *value = nullptr;
    return E_OUTOFMEMORY;
  }
}

HRESULT ErrorRecordObject::Put(const char* name, const Variant& value) {
  try {
    Find(name)->set(Record(), value);
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT STDMETHODCALLTYPE ErrorRecordObject::get_Number(LONG* Value) {
  return Get("Number", Value);
}
HRESULT STDMETHODCALLTYPE ErrorRecordObject::put_Number(LONG Value) {
  return Put("Number", Variant::FromInt32(Value));
}
HRESULT STDMETHODCALLTYPE ErrorRecordObject::get_Description(BSTR* Value) {
  return Get("Description", Value);
}
HRESULT STDMETHODCALLTYPE ErrorRecordObject::put_Description(BSTR Value) {
  return Put("Description", Variant::FromText(TextFromBstr(Value)));
}
HRESULT STDMETHODCALLTYPE ErrorRecordObject::get_LastDllError(LONG* Value) {
  return Get("LastDllError", Value);
}
HRESULT STDMETHODCALLTYPE ErrorRecordObject::put_LastDllError(LONG Value) {
  return Put("LastDllError", Variant::FromInt32(Value));
}
HRESULT STDMETHODCALLTYPE ErrorRecordObject::get_ComFunction(BSTR* Value) {
  return Get("ComFunction", Value);
}
HRESULT STDMETHODCALLTYPE ErrorRecordObject::put_ComFunction(BSTR Value) {
  return Put("ComFunction", Variant::FromText(TextFromBstr(Value)));
}
HRESULT STDMETHODCALLTYPE ErrorRecordObject::get_RdrCommand(BSTR* Value) {
  return Get("RdrCommand", Value);
}
HRESULT STDMETHODCALLTYPE ErrorRecordObject::put_RdrCommand(BSTR Value) {
  return Put("RdrCommand", Variant::FromText(TextFromBstr(Value)));
}
HRESULT STDMETHODCALLTYPE ErrorRecordObject::get_RdrRetCode(BSTR* Value) {
  return Get("RdrRetCode", Value);
}
HRESULT STDMETHODCALLTYPE ErrorRecordObject::put_RdrRetCode(BSTR Value) {
  return Put("RdrRetCode", Variant::FromText(TextFromBstr(Value)));
}

}  // namespace lumivex::com
