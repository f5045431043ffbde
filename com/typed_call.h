// Early-bound calls: the typed arguments of a vtable method are put into the member's slots, the
// member runs through the same table as a late-bound call, and the outputs go back through the
// caller's pointers. Each argument's C++ type is checked against the member's parameter, so a
// vtable method that does not match its table entry fails loudly (E_UNEXPECTED) instead of
// passing a wrong value.
#pragma once

#include <oaidl.h>

#include <array>
#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

#include "com/bstr_text.h"
#include "com/dispatch_call.h"
#include "component/encoder.h"
#include "component/surface/member_info.h"

namespace lumivex::com::typed {

using surface::ArgType;

struct Binding {
  const surface::ParamInfo* param = nullptr;
  surface::Slot* slot = nullptr;
};

inline bool Matches(const Binding& b, ArgType type, bool byReference) {
  return b.param != nullptr && b.param->type == type && b.param->byReference == byReference;
}

// ---- inputs ----
inline HRESULT Load(const Binding& b, LONG v) {
  if (!Matches(b, ArgType::Int32, false)) return E_UNEXPECTED;
  b.slot->i4 = v;
  b.slot->given = true;
  return S_OK;
}
template <typename Enum>
requires std::is_enum_v<Enum> HRESULT Load(const Binding& b, Enum v) {
  return Load(b, static_cast<LONG>(v));
}
inline HRESULT Load(const Binding& b, unsigned char v) {
  if (!Matches(b, ArgType::Byte, false)) return E_UNEXPECTED;
  b.slot->ui1 = v;
  b.slot->given = true;
  return S_OK;
}
inline HRESULT Load(const Binding& b, VARIANT_BOOL v) {
  if (!Matches(b, ArgType::Bool, false)) return E_UNEXPECTED;
  b.slot->flag = v != VARIANT_FALSE;
  b.slot->given = true;
  return S_OK;
}
inline HRESULT Load(const Binding& b, BSTR v) {
  if (!Matches(b, ArgType::Text, false)) return E_UNEXPECTED;
  b.slot->text = TextFromBstr(v);
  b.slot->given = true;
  return S_OK;
}

// ---- in/out ----
template <typename Number>
requires(std::is_same_v<Number, LONG> || std::is_enum_v<Number>) HRESULT
    Load(const Binding& b, Number* v) {
  if (!Matches(b, ArgType::Int32, true)) return E_UNEXPECTED;
  if (v == nullptr) return E_POINTER;
  b.slot->i4 = static_cast<std::int32_t>(*v);
  b.slot->given = true;
  return S_OK;
}
inline HRESULT Load(const Binding& b, unsigned char* v) {
  if (!Matches(b, ArgType::Byte, true)) return E_UNEXPECTED;
  if (v == nullptr) return E_POINTER;
  b.slot->ui1 = *v;
  b.slot->given = true;
  return S_OK;
}
inline HRESULT Load(const Binding& b, BSTR* v) {
  if (!Matches(b, ArgType::Text, true)) return E_UNEXPECTED;
  if (v == nullptr) return E_POINTER;
  b.slot->text = TextFromBstr(*v);
  b.slot->given = true;
  return S_OK;
}
// A VARIANT* is an in/out variant, or an optional in/out argument of any type.
inline HRESULT Load(const Binding& b, VARIANT* v) {
  if (b.param == nullptr || !b.param->byReference ||
      (b.param->type != ArgType::Variant && !b.param->optional)) {
    return E_UNEXPECTED;
  }
  if (IsMissing(v)) {
    if (!b.param->optional) return E_POINTER;
    return S_OK;  // left out: the slot stays not given
  }
  return LoadArgument(*b.param, *v, LOCALE_USER_DEFAULT, *b.slot);
}

// ---- outputs ----
template <typename Value>
HRESULT Store(const Binding& /*b*/, Value /*v*/) {
  return S_OK;  // an input
}
template <typename Number>
requires(std::is_same_v<Number, LONG> || std::is_enum_v<Number>) HRESULT
    Store(const Binding& b, Number* v) {
  *v = static_cast<Number>(b.slot->i4);
  return S_OK;
}
inline HRESULT Store(const Binding& b, unsigned char* v) {
  *v = b.slot->ui1;
  return S_OK;
}
inline HRESULT Store(const Binding& b, BSTR* v) {
  UniqueBstr text = MakeBstr(b.slot->text);
  SysFreeString(*v);
  *v = text.release();
  return S_OK;
}
inline HRESULT Store(const Binding& b, VARIANT* v) {
  if (!b.slot->given) return S_OK;
  // Through a reference to the caller's VARIANT, which keeps its own numeric type when it fits.
  VARIANT reference;
  V_VT(&reference) = VT_BYREF | VT_VARIANT;
  V_VARIANTREF(&reference) = v;
  return StoreArgument(*b.param, *b.slot, LOCALE_USER_DEFAULT, reference);
}

// ---- results ----
inline HRESULT SetResult(const surface::CallResult& r, ::sceReturnCode* out) {
  if (out == nullptr) return E_POINTER;
  *out = static_cast<::sceReturnCode>(r.code.value_or(lumivex::sceError));
  return S_OK;
}
inline HRESULT SetResult(const surface::CallResult& r, BSTR* out) {
  if (out == nullptr) return E_POINTER;
  const std::string* text = r.value ? r.value->AsText() : nullptr;
  *out = MakeBstr(text != nullptr ? *text : std::string()).release();
  return S_OK;
}
inline HRESULT SetResult(const surface::CallResult& /*r*/, std::nullptr_t /*out*/) {
  return S_OK;
}

// Runs the member called `name` with the vtable's arguments; `result` is the [out, retval]
// pointer, or nullptr for a member without result.
template <typename Result, typename... Args>
HRESULT Call(Encoder& encoder, const char* name, Result result, Args... args) {
  try {
    const surface::MemberInfo* member = surface::FindEncoderMember(name);
    if (member == nullptr || member->kind != surface::MemberKind::Method ||
        member->params.size() != sizeof...(Args)) {
      return E_UNEXPECTED;
    }
    surface::Slots slots(member->params.size());
    std::array<Binding, sizeof...(Args)> bindings{};
    for (std::size_t i = 0; i < bindings.size(); ++i) {
      bindings[i] = {&member->params[i], &slots[i]};
    }
    HRESULT hr = S_OK;
    std::size_t i = 0;
    ((hr = SUCCEEDED(hr) ? Load(bindings[i], args) : hr, ++i), ...);
    if (FAILED(hr)) return hr;
    const surface::CallResult r = member->call(encoder, slots);
    i = 0;
    ((hr = SUCCEEDED(hr) ? Store(bindings[i], args) : hr, ++i), ...);
    if (FAILED(hr)) return hr;
    return SetResult(r, result);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

}  // namespace lumivex::com::typed
