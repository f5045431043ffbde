#include "com/variant_conversion.h"

#include <cstring>
#include <new>

#include "com/bstr_text.h"

namespace lumivex::com {

namespace {

HRESULT BytesFromArray(SAFEARRAY* array, Variant& out) {
  if (array == nullptr) {
    out = Variant::FromBytes({});
    return S_OK;
  }
  if (SafeArrayGetDim(array) != 1) return DISP_E_TYPEMISMATCH;
  LONG lower = 0;
  LONG upper = -1;
  if (FAILED(SafeArrayGetLBound(array, 1, &lower)) ||
      FAILED(SafeArrayGetUBound(array, 1, &upper))) {
    return DISP_E_TYPEMISMATCH;
  }
  std::vector<std::uint8_t> bytes(upper >= lower ? static_cast<std::size_t>(upper - lower + 1) : 0);
  void* data = nullptr;
  if (FAILED(SafeArrayAccessData(array, &data))) return DISP_E_TYPEMISMATCH;
  if (!bytes.empty()) std::memcpy(bytes.data(), data, bytes.size());
  SafeArrayUnaccessData(array);
  out = Variant::FromBytes(std::move(bytes));
  return S_OK;
}

}  // namespace

HRESULT ToComponentVariant(const VARIANT& in, Variant& out) {
  switch (V_VT(&in)) {
    case VT_EMPTY:
      out = Variant();
      return S_OK;
    case VT_NULL:
      out = Variant::Null();
      return S_OK;
    case VT_UI1:
      out = Variant::FromByte(V_UI1(&in));
      return S_OK;
    case VT_I2:
      out = Variant::FromInt16(V_I2(&in));
      return S_OK;
    case VT_I4:
      out = Variant::FromInt32(V_I4(&in));
      return S_OK;
    case VT_BOOL:
      out = Variant::FromBool(V_BOOL(&in) != VARIANT_FALSE);
      return S_OK;
    case VT_R4:
      out = Variant::FromSingle(V_R4(&in));
      return S_OK;
    case VT_R8:
      out = Variant::FromDouble(V_R8(&in));
      return S_OK;
    case VT_CY:
      out = Variant::FromCurrency(V_CY(&in).int64);
      return S_OK;
    case VT_DATE:
      out = Variant::FromDate(V_DATE(&in));
      return S_OK;
    case VT_BSTR:
      out = Variant::FromText(TextFromBstr(V_BSTR(&in)));
      return S_OK;
    case VT_ERROR:
      out = Variant::FromError(V_ERROR(&in));
      return S_OK;
    case VT_ARRAY | VT_UI1:
      return BytesFromArray(V_ARRAY(&in), out);
    case VT_I1:
    case VT_UI2:
    case VT_UI4:
    case VT_I8:
    case VT_UI8:
    case VT_INT:
    case VT_UINT:
    case VT_DECIMAL: {
      VARIANT number;
      VariantInit(&number);
      // The API takes the source as non-const but only reads it.
      auto* source = const_cast<VARIANT*>(&in);  // NOLINT(cppcoreguidelines-pro-type-const-cast)
      if (SUCCEEDED(VariantChangeType(&number, source, 0, VT_I4))) {
        out = Variant::FromInt32(V_I4(&number));
        return S_OK;
      }
      if (SUCCEEDED(VariantChangeType(&number, source, 0, VT_R8))) {
        out = Variant::FromDouble(V_R8(&number));
        return S_OK;
      }
      return DISP_E_OVERFLOW;
    }
    default:
      return DISP_E_TYPEMISMATCH;
  }
}

VARTYPE AutomationType(const Variant& value) {
  switch (value.kind()) {
    case Variant::Kind::Empty:
      return VT_EMPTY;
    case Variant::Kind::Null:
      return VT_NULL;
    case Variant::Kind::Byte:
      return VT_UI1;
    case Variant::Kind::Int16:
      return VT_I2;
    case Variant::Kind::Int32:
      return VT_I4;
    case Variant::Kind::Bool:
      return VT_BOOL;
    case Variant::Kind::Single:
      return VT_R4;
    case Variant::Kind::Double:
      return VT_R8;
    case Variant::Kind::Currency:
      return VT_CY;
    case Variant::Kind::Date:
      return VT_DATE;
    case Variant::Kind::Text:
      return VT_BSTR;
    case Variant::Kind::Bytes:
      return VT_ARRAY | VT_UI1;
    case Variant::Kind::Error:
      return VT_ERROR;
  }
  return VT_EMPTY;
}

HRESULT ToAutomationVariant(const Variant& in, VARIANT* out) {
  const HRESULT cleared = VariantClear(out);
  if (FAILED(cleared)) return cleared;
  try {
    switch (in.kind()) {
      case Variant::Kind::Empty:
      case Variant::Kind::Null:
        break;
      case Variant::Kind::Byte:
        V_UI1(out) = *in.AsByte();
        break;
      case Variant::Kind::Int16:
        V_I2(out) = *in.AsInt16();
        break;
      case Variant::Kind::Int32:
        V_I4(out) = *in.AsInt32();
        break;
      case Variant::Kind::Bool:
        V_BOOL(out) = *in.AsBool() ? VARIANT_TRUE : VARIANT_FALSE;
        break;
      case Variant::Kind::Single:
        V_R4(out) = *in.AsSingle();
        break;
      case Variant::Kind::Double:
        V_R8(out) = *in.AsDouble();
        break;
      case Variant::Kind::Currency:
        V_CY(out).int64 = in.AsCurrency()->scaled;
        break;
      case Variant::Kind::Date:
        V_DATE(out) = in.AsDate()->days;
        break;
      case Variant::Kind::Text:
        V_BSTR(out) = MakeBstr(*in.AsText()).release();
        break;
      case Variant::Kind::Bytes: {
        const auto& bytes = *in.AsBytes();
        SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
        if (array == nullptr) return E_OUTOFMEMORY;
        if (!bytes.empty()) std::memcpy(array->pvData, bytes.data(), bytes.size());
        V_ARRAY(out) = array;
        break;
      }
      case Variant::Kind::Error:
        V_ERROR(out) = in.AsError()->code;
        break;
    }
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  V_VT(out) = AutomationType(in);
  return S_OK;
}

}  // namespace lumivex::com
