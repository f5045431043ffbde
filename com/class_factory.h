// The class objects DllGetClassObject hands out: one per creatable class, living as long as the
// DLL. Holding one keeps the server locked, so the DLL stays while a client may still create.
#pragma once

#include <unknwn.h>

#include <memory>

#include "com/com_ptr.h"
#include "com/module.h"

namespace lumivex::com {

template <typename Object>
class ClassFactory final : public IClassFactory {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override {
    if (out == nullptr) return E_POINTER;
    if (!IsEqualIID(riid, IID_IUnknown) && !IsEqualIID(riid, IID_IClassFactory)) {
      *out = nullptr;
      return E_NOINTERFACE;
    }
    *out = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override {
    com::LockServer(true);
    return 2;
  }
  ULONG STDMETHODCALLTYPE Release() override {
    com::LockServer(false);
    return 1;
  }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** out) override {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    try {
      // The new object owns itself through its reference count (see DualObject::Release).
      auto object = ComPtr<Object>::Adopt(std::make_unique<Object>().release());
      return object->QueryInterface(riid, out);
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    } catch (...) {
      return E_UNEXPECTED;
    }
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    com::LockServer(lock != FALSE);
    return S_OK;
  }
};

}  // namespace lumivex::com
