// What every object of the server shares: reference counting tied to the DLL's object count, the
// interfaces every automation client may ask for (IUnknown, IDispatch, the dual interface itself,
// ISupportErrorInfo, IProvideClassInfo), the type information of the embedded type library, and
// late binding over the object's member table of the surface: a member's DISPID is its position
// in the table (from 1), a parameter's its position among the member's parameters (from 0).
#pragma once

#include <oaidl.h>
#include <ocidl.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "com/com_ptr.h"
#include "com/dispatch_call.h"
#include "com/module.h"
#include "com/names.h"

namespace lumivex::com {

template <typename Interface, typename Member>
class DualObject : public Interface, public ISupportErrorInfo, public IProvideClassInfo {
 public:
  DualObject(const CLSID& clsid, const std::vector<Member>& members)
      : clsid_(clsid), members_(members) {
    ObjectCreated();
  }
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

  // ---- IDispatch: names and late-bound calls ----
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID /*riid*/, LPOLESTR* names, UINT count,
                                          LCID /*lcid*/, DISPID* ids) override {
    try {
      return LookupNames(
          names, count, ids, [this](const std::string& name) { return MemberId(name); },
          [this](DISPID member, const std::string& name) { return ParameterId(member, name); });
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID /*riid*/, LCID lcid, WORD flags,
                                   DISPPARAMS* params, VARIANT* result, EXCEPINFO* /*exception*/,
                                   UINT* argErr) override {
    const Member* entry = MemberOf(member);
    if (entry == nullptr) return DISP_E_MEMBERNOTFOUND;
    if (params == nullptr) return E_INVALIDARG;
    return InvokeMember(*entry, {flags, params, lcid, result, argErr});
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

 protected:
  // Runs one member of the table for IDispatch::Invoke.
  virtual HRESULT InvokeMember(const Member& member, const InvokeRequest& request) = 0;

 private:
  [[nodiscard]] const Member* MemberOf(DISPID id) const {
    if (id < 1 || static_cast<std::size_t>(id) > members_.size()) return nullptr;
    return &members_[static_cast<std::size_t>(id) - 1];
  }
  [[nodiscard]] DISPID MemberId(const std::string& name) const {
    for (const Member& m : members_) {
      if (SameName(name, m.name)) return m.dispid;
    }
    return DISPID_UNKNOWN;
  }
  [[nodiscard]] DISPID ParameterId(DISPID member, const std::string& name) const {
    if constexpr (requires(const Member& m) { m.params; }) {
      const Member* entry = MemberOf(member);
      if (entry == nullptr) return DISPID_UNKNOWN;
      for (std::size_t i = 0; i < entry->params.size(); ++i) {
        if (SameName(name, entry->params[i].name)) return static_cast<DISPID>(i);
      }
    }
    return DISPID_UNKNOWN;
  }

  CLSID clsid_;
  const std::vector<Member>& members_;
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
