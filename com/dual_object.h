// What every object of the server shares: reference counting tied to the DLL's object count, the
// interfaces every automation client may ask for (IUnknown, IDispatch, the dual interface itself,
// ISupportErrorInfo, IProvideClassInfo) and the type information of the embedded type library.
#pragma once

#include <oaidl.h>
#include <ocidl.h>

#include <atomic>
#include <memory>

#include "com/com_ptr.h"
#include "com/module.h"

namespace lumivex::com {

template <typename Interface>
class DualObject : public Interface, public ISupportErrorInfo, public IProvideClassInfo {
 public:
  explicit DualObject(const CLSID& clsid) : clsid_(clsid) { ObjectCreated(); }
  virtual ~DualObject() { ObjectDestroyed(); }
  DualObject(const DualObject&) = delete;
  DualObject& operator=(const DualObject&) = delete;

  // ---- IUnknown ----
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override {
    if (out == nullptr) return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IDispatch) ||
        IsEqualIID(riid, __uuidof(Interface))) {
      *out = static_cast<Interface*>(this);
    } else if (IsEqualIID(riid, IID_ISupportErrorInfo)) {
      *out = static_cast<ISupportErrorInfo*>(this);
    } else if (IsEqualIID(riid, IID_IProvideClassInfo)) {
      *out = static_cast<IProvideClassInfo*>(this);
    } else {
      *out = nullptr;
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    // The last reference ends the object: COM objects own themselves through their count.
    if (left == 0) std::default_delete<DualObject>{}(this);
    return left;
  }

  // ---- IDispatch: type information ----
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    *count = 1;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID /*lcid*/, ITypeInfo** out) override {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    const ComPtr<ITypeInfo> info = TypeInfoOf(__uuidof(Interface));
    if (!info) return TYPE_E_CANTLOADLIBRARY;
    info.CopyTo(out);
    return S_OK;
  }

  // ---- ISupportErrorInfo, IProvideClassInfo ----
  HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID riid) override {
    return IsEqualIID(riid, __uuidof(Interface)) ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE GetClassInfo(ITypeInfo** out) override {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    const ComPtr<ITypeInfo> info = TypeInfoOf(clsid_);
    if (!info) return TYPE_E_CANTLOADLIBRARY;
    info.CopyTo(out);
    return S_OK;
  }

 private:
  CLSID clsid_;
  std::atomic<ULONG> references_{1};
};

// Keeps an object alive for the length of a call, even when the host drops its last reference
// from a message handled while the call waits.
class KeepAlive {
 public:
  explicit KeepAlive(IUnknown* object) : object_(object) { object_->AddRef(); }
  ~KeepAlive() { object_->Release(); }
  KeepAlive(const KeepAlive&) = delete;
  KeepAlive& operator=(const KeepAlive&) = delete;

 private:
  IUnknown* object_;
};

}  // namespace lumivex::com
