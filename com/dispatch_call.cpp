#include "com/dispatch_call.h"

#include <new>
#include <vector>

#include "com/bstr_text.h"
#include "com/variant_conversion.h"

namespace lumivex::com {

namespace {

using surface::ArgType;

// Clears a VARIANT when it goes out of scope.
class VariantHolder {
 public:
  VariantHolder() { VariantInit(&value_); }
  ~VariantHolder() { VariantClear(&value_); }
  VariantHolder(const VariantHolder&) = delete;
  VariantHolder& operator=(const VariantHolder&) = delete;
  VARIANT* ptr() { return &value_; }
  VARIANT& get() { return value_; }

 private:
  VARIANT value_;
};

VARTYPE NaturalType(ArgType type) {
  switch (type) {
    case ArgType::Int32:
      return VT_I4;
    case ArgType::Byte:
      return VT_UI1;
    case ArgType::Bool:
      return VT_BOOL;
    case ArgType::Text:
      return VT_BSTR;
    case ArgType::Variant:
      return VT_VARIANT;
    case ArgType::None:
    case ArgType::Object:
      break;
  }
  return VT_EMPTY;
}

bool IsNumber(VARTYPE type) {
  switch (type) {
    case VT_I1:
    case VT_UI1:
    case VT_I2:
    case VT_UI2:
    case VT_I4:
    case VT_UI4:
    case VT_I8:
    case VT_UI8:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_R8:
    case VT_CY:
    case VT_DECIMAL:
    case VT_BOOL:
      return true;
    default:
      return false;
  }
}

HRESULT ConversionFailure(HRESULT hr) {
  return hr == DISP_E_OVERFLOW ? DISP_E_OVERFLOW : DISP_E_TYPEMISMATCH;
}

// The output of a slot as a VARIANT of the parameter's own type.
HRESULT NaturalOutput(const surface::ParamInfo& param, const surface::Slot& slot, VARIANT* out) {
  switch (param.type) {
    case ArgType::Int32:
      V_VT(out) = VT_I4;
      V_I4(out) = slot.i4;
      return S_OK;
    case ArgType::Byte:
      V_VT(out) = VT_UI1;
      V_UI1(out) = slot.ui1;
      return S_OK;
    case ArgType::Bool:
      V_VT(out) = VT_BOOL;
      V_BOOL(out) = slot.flag ? VARIANT_TRUE : VARIANT_FALSE;
      return S_OK;
    case ArgType::Text:
      V_BSTR(out) = MakeBstr(slot.text).release();
      V_VT(out) = VT_BSTR;
      return S_OK;
    case ArgType::Variant:
      return ToAutomationVariant(slot.variant, out);
    case ArgType::None:
    case ArgType::Object:
      break;
  }
  return E_UNEXPECTED;
}

struct Bound {
  VARIANT* argument = nullptr;
  UINT position = 0;  // index in rgvarg, as puArgErr reports it
};

HRESULT Fail(HRESULT hr, const InvokeRequest& request, UINT position) {
  if (request.argErr != nullptr) *request.argErr = position;
  return hr;
}

// Matches the arguments of a call to the parameters: positional ones first (rgvarg holds them in
// reverse order), then the named ones.
HRESULT BindArguments(const std::vector<surface::ParamInfo>& params, const InvokeRequest& request,
                      std::vector<Bound>& bound) {
  const DISPPARAMS& dp = *request.params;
  if (dp.cNamedArgs > dp.cArgs || (dp.cArgs > 0 && dp.rgvarg == nullptr) ||
      (dp.cNamedArgs > 0 && dp.rgdispidNamedArgs == nullptr)) {
    return E_INVALIDARG;
  }
  bound.assign(params.size(), {});
  const UINT positional = dp.cArgs - dp.cNamedArgs;
  if (positional > params.size()) return DISP_E_BADPARAMCOUNT;
  for (UINT k = 0; k < positional; ++k) {
    const UINT position = dp.cArgs - 1 - k;
    bound[k] = {&dp.rgvarg[position], position};
  }
  for (UINT i = 0; i < dp.cNamedArgs; ++i) {
    const DISPID id = dp.rgdispidNamedArgs[i];
    if (id < 0 || static_cast<std::size_t>(id) >= params.size() ||
        bound[static_cast<std::size_t>(id)].argument != nullptr) {
      return Fail(DISP_E_PARAMNOTFOUND, request, i);
    }
    bound[static_cast<std::size_t>(id)] = {&dp.rgvarg[i], i};
  }
  for (std::size_t p = 0; p < params.size(); ++p) {
    if (params[p].optional || !IsMissing(bound[p].argument)) continue;
    if (bound[p].argument == nullptr) return DISP_E_BADPARAMCOUNT;
    return Fail(DISP_E_PARAMNOTOPTIONAL, request, bound[p].position);
  }
  return S_OK;
}

HRESULT SetResult(const surface::CallResult& result, VARIANT* out) {
  if (out == nullptr) return S_OK;
  VariantInit(out);
  if (result.code) {
    V_VT(out) = VT_I4;
    V_I4(out) = *result.code;
    return S_OK;
  }
  if (result.value) return ToAutomationVariant(*result.value, out);
  return S_OK;
}

HRESULT PutText(const VARIANT& value, LCID lcid, std::string& text) {
  const surface::ParamInfo param{"Value", ArgType::Text};
  surface::Slot slot;
  const HRESULT hr = LoadArgument(param, value, lcid, slot);
  if (SUCCEEDED(hr)) text = std::move(slot.text);
  return hr;
}

bool IsPut(WORD flags) {
  return (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
}
bool IsGetOrCall(WORD flags) {
  return (flags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET)) != 0;
}

}  // namespace

bool IsMissing(const VARIANT* argument) {
  if (argument == nullptr) return true;
  if (V_VT(argument) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(argument) != nullptr) {
    argument = V_VARIANTREF(argument);
  }
  return V_VT(argument) == VT_ERROR && V_ERROR(argument) == DISP_E_PARAMNOTFOUND;
}

HRESULT LoadArgument(const surface::ParamInfo& param, const VARIANT& argument, LCID lcid,
                     surface::Slot& slot) {
  slot.given = true;
  const VARTYPE type = V_VT(&argument);
  if ((type & VT_BYREF) != 0 && param.byReference && type != (VT_BYREF | VT_VARIANT) &&
      (param.type == ArgType::Variant || type != (VT_BYREF | NaturalType(param.type)))) {
    return DISP_E_TYPEMISMATCH;
  }
  VariantHolder value;
  // The API takes the source as non-const but only reads it.
  HRESULT hr = VariantCopyInd(value.ptr(), const_cast<VARIANT*>(&argument));  // NOLINT

  if (FAILED(hr)) return ConversionFailure(hr);
  if (param.type == ArgType::Variant) return ToComponentVariant(value.get(), slot.variant);
  VariantHolder converted;
  hr = VariantChangeTypeEx(converted.ptr(), value.ptr(), lcid, 0, NaturalType(param.type));
  if (FAILED(hr)) return ConversionFailure(hr);
  switch (param.type) {
    case ArgType::Int32:
      slot.i4 = V_I4(&converted.get());
      break;
    case ArgType::Byte:
      slot.ui1 = V_UI1(&converted.get());
      break;
    case ArgType::Bool:
      slot.flag = V_BOOL(&converted.get()) != VARIANT_FALSE;
      break;
    case ArgType::Text:
      slot.text = TextFromBstr(V_BSTR(&converted.get()));
      break;
    default:
      return E_UNEXPECTED;
  }
  return S_OK;
}

HRESULT StoreArgument(const surface::ParamInfo& param, const surface::Slot& slot, LCID lcid,
                      VARIANT& argument) {
  const VARTYPE type = V_VT(&argument);
  if ((type & VT_BYREF) == 0) return S_OK;
  VariantHolder output;
  HRESULT hr = NaturalOutput(param, slot, output.ptr());
  if (FAILED(hr)) return hr;
  if (type == (VT_BYREF | VT_VARIANT)) {
    VARIANT* target = V_VARIANTREF(&argument);
    if (target == nullptr) return E_POINTER;
    const VARTYPE callerType = V_VT(target);
    if (IsNumber(callerType) && IsNumber(V_VT(&output.get())) &&
        callerType != V_VT(&output.get())) {
      VariantHolder kept;
      if (SUCCEEDED(VariantChangeTypeEx(kept.ptr(), output.ptr(), lcid, 0, callerType))) {
        std::swap(kept.get(), output.get());
      }
    }
    hr = VariantClear(target);
    if (FAILED(hr)) return hr;
    *target = output.get();
    VariantInit(output.ptr());  // the caller's variable owns the value now
    return S_OK;
  }
  switch (type & ~VT_BYREF) {
    case VT_I4:
      *V_I4REF(&argument) = slot.i4;
      return S_OK;
    case VT_UI1:
      *V_UI1REF(&argument) = slot.ui1;
      return S_OK;
    case VT_BOOL:
      *V_BOOLREF(&argument) = slot.flag ? VARIANT_TRUE : VARIANT_FALSE;
      return S_OK;
    case VT_BSTR:
      SysFreeString(*V_BSTRREF(&argument));
      *V_BSTRREF(&argument) = V_BSTR(&output.get());
      VariantInit(output.ptr());
      return S_OK;
    default:
      return DISP_E_TYPEMISMATCH;
  }
}

HRESULT InvokeEncoderMember(Encoder& encoder, const surface::MemberInfo& member,
                            const InvokeRequest& request) {
  try {
    const DISPPARAMS& dp = *request.params;
    if (member.kind == surface::MemberKind::Property) {
      if (IsPut(request.flags)) {
        if (!member.set) return DISP_E_MEMBERNOTFOUND;
        if (dp.cArgs != 1 || dp.rgvarg == nullptr) return DISP_E_BADPARAMCOUNT;
        std::string text;
        const HRESULT hr = PutText(dp.rgvarg[0], request.lcid, text);
        if (FAILED(hr)) return Fail(hr, request, 0);
        member.set(encoder, text);
        return S_OK;
      }
      if (!IsGetOrCall(request.flags) || !member.get) return DISP_E_MEMBERNOTFOUND;
      if (dp.cArgs != 0) return DISP_E_BADPARAMCOUNT;
      if (request.result == nullptr) {
        (void)member.get(encoder);
        return S_OK;
      }
      VariantInit(request.result);
      return ToAutomationVariant(member.get(encoder), request.result);
    }
    if (IsPut(request.flags) || !IsGetOrCall(request.flags)) return DISP_E_MEMBERNOTFOUND;
    std::vector<Bound> bound;
    HRESULT hr = BindArguments(member.params, request, bound);
    if (FAILED(hr)) return hr;
    surface::Slots slots(member.params.size());
    for (std::size_t p = 0; p < member.params.size(); ++p) {
      if (IsMissing(bound[p].argument)) continue;
      hr = LoadArgument(member.params[p], *bound[p].argument, request.lcid, slots[p]);
      if (FAILED(hr)) return Fail(hr, request, bound[p].position);
    }
    const surface::CallResult result = member.call(encoder, slots);
    for (std::size_t p = 0; p < member.params.size(); ++p) {
      if (!member.params[p].byReference || !slots[p].given) continue;
      hr = StoreArgument(member.params[p], slots[p], request.lcid, *bound[p].argument);
      if (FAILED(hr)) return Fail(hr, request, bound[p].position);
    }
    return SetResult(result, request.result);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

HRESULT InvokeRecordProperty(CError& record, const surface::RecordPropertyInfo& property,
                             const InvokeRequest& request) {
  try {
    const DISPPARAMS& dp = *request.params;
    if (IsPut(request.flags)) {
      if (dp.cArgs != 1 || dp.rgvarg == nullptr) return DISP_E_BADPARAMCOUNT;
      const surface::ParamInfo param{"Value", property.type};
      surface::Slot slot;
      const HRESULT hr = LoadArgument(param, dp.rgvarg[0], request.lcid, slot);
      if (FAILED(hr)) return Fail(hr, request, 0);
      property.set(record, property.type == ArgType::Text ? Variant::FromText(slot.text)
                                                          : Variant::FromInt32(slot.i4));
      return S_OK;
    }
    if (!IsGetOrCall(request.flags)) return DISP_E_MEMBERNOTFOUND;
    if (dp.cArgs != 0) return DISP_E_BADPARAMCOUNT;
    if (request.result == nullptr) return S_OK;
    VariantInit(request.result);
    return ToAutomationVariant(property.get(record), request.result);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

}  // namespace lumivex::com
