// The COM class CError: a last-error record. An Encoder hands out one such object for its own
// record, always the same one, which shows the record as it is at each read; a CError the host
// creates itself holds a record of its own.
#pragma once

#include "Orbanet_Lumivex_BL.h"
#include "com/dual_object.h"
#include "component/cerror.h"
#include "component/surface/member_info.h"
#include "component/variant.h"

namespace lumivex::com {

class ErrorRecordObject final : public DualObject<::_CError, surface::RecordPropertyInfo> {
 public:
  ErrorRecordObject();                        // a record of its own
  explicit ErrorRecordObject(CError& shown);  // shows an Encoder's record
  // The Encoder that owns the shown record goes away: from now on the object keeps a copy.
  void Detach();

  HRESULT STDMETHODCALLTYPE get_Number(LONG* Value) override;
  HRESULT STDMETHODCALLTYPE put_Number(LONG Value) override;
  HRESULT STDMETHODCALLTYPE get_Description(BSTR* Value) override;
  HRESULT STDMETHODCALLTYPE put_Description(BSTR Value) override;
  HRESULT STDMETHODCALLTYPE get_LastDllError(LONG* Value) override;
  HRESULT STDMETHODCALLTYPE put_LastDllError(LONG Value) override;
  HRESULT STDMETHODCALLTYPE get_ComFunction(BSTR* Value) override;
  HRESULT STDMETHODCALLTYPE put_ComFunction(BSTR Value) override;
  HRESULT STDMETHODCALLTYPE get_RdrCommand(BSTR* Value) override;
  HRESULT STDMETHODCALLTYPE put_RdrCommand(BSTR Value) override;
  HRESULT STDMETHODCALLTYPE get_RdrRetCode(BSTR* Value) override;
  HRESULT STDMETHODCALLTYPE put_RdrRetCode(BSTR Value) override;

 private:
  HRESULT InvokeMember(const surface::RecordPropertyInfo& property,
                       const InvokeRequest& request) override;
  CError& Record() { return shown_ != nullptr ? *shown_ : own_; }
  HRESULT Get(const char* name, LONG* value);
  HRESULT Get(const char* name, BSTR* value);
  HRESULT Put(const char* name, const Variant& value);

  CError own_;
  CError* shown_ = nullptr;
};

}  // namespace lumivex::com
