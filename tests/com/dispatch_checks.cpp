#include "tests/com/dispatch_checks.h"

#include <array>
#include <string>
#include <vector>

#include "com/bstr_text.h"
#include "com/com_ptr.h"
#include "component/surface/identity.h"
#include "component/surface/member_info.h"

namespace lumivex::wine {

namespace {

using com::ComPtr;
using com::MakeBstr;
using com::TextFromBstr;

constexpr const char* kKey = "FFFFFFFFFFFF";

// An argument list, built first to last as a caller writes it (rgvarg holds it reversed).
class Args {
 public:
  Args& I4(LONG v) {
    return Add(VT_I4).Set([&](VARIANT& a) { V_I4(&a) = v; });
  }
  Args& Text(const std::string& v) {
    return Add(VT_BSTR).Set([&](VARIANT& a) { V_BSTR(&a) = MakeBstr(v).release(); });
  }
  Args& Ref(VARIANT* target) {
    return Add(VT_BYREF | VT_VARIANT).Set([&](VARIANT& a) { V_VARIANTREF(&a) = target; });
  }
  Args& RefText(BSTR* target) {
    return Add(VT_BYREF | VT_BSTR).Set([&](VARIANT& a) { V_BSTRREF(&a) = target; });
  }
  Args& RefI4(LONG* target) {
    return Add(VT_BYREF | VT_I4).Set([&](VARIANT& a) { V_I4REF(&a) = target; });
  }
  Args& Missing() {
    return Add(VT_ERROR).Set([&](VARIANT& a) { V_ERROR(&a) = DISP_E_PARAMNOTFOUND; });
  }
  Args& Named(std::vector<DISPID> ids) {
    named_ = std::move(ids);
    return *this;
  }
  ~Args() {
    for (auto& v : values_) VariantClear(&v);
  }
  DISPPARAMS Params() {
    reversed_.assign(values_.rbegin(), values_.rend());
    // Named arguments come first in rgvarg, in the order of their ids.
    return {reversed_.data(), named_.empty() ? nullptr : named_.data(),
            static_cast<UINT>(reversed_.size()), static_cast<UINT>(named_.size())};
  }
  // With named arguments the caller gives rgvarg in its own order: no reversal.
  DISPPARAMS NamedParams() {
    reversed_.assign(values_.begin(), values_.end());
    return {reversed_.data(), named_.data(), static_cast<UINT>(reversed_.size()),
            static_cast<UINT>(named_.size())};
  }

 private:
  template <typename F>
  Args& Set(F&& f) {
    f(values_.back());
    return *this;
  }
  Args& Add(VARTYPE type) {
    values_.emplace_back();
    VariantInit(&values_.back());
    V_VT(&values_.back()) = type;
    return *this;
  }
  std::vector<VARIANT> values_;
  std::vector<VARIANT> reversed_;  // shallow copies: the values are cleared once, above
  std::vector<DISPID> named_;
};

DISPID Id(IDispatch* d, const wchar_t* name) {
  DISPID id = DISPID_UNKNOWN;
  auto* names = const_cast<LPOLESTR>(name);  // NOLINT: the API takes a non-const name
  d->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id);
  return id;
}

struct Outcome {
  HRESULT hr;
  VARIANT result;
  UINT argErr;
};

Outcome Call(IDispatch* d, const wchar_t* name, DISPPARAMS params,
             WORD flags = DISPATCH_METHOD | DISPATCH_PROPERTYGET) {
  Outcome o{};
  VariantInit(&o.result);
  o.argErr = 999;
  o.hr = d->Invoke(Id(d, name), IID_NULL, LOCALE_USER_DEFAULT, flags, &params, &o.result, nullptr,
                   &o.argErr);
  return o;
}

std::string ComFunction(_Encoder* e) {
  ComPtr<_CError> record;
  e->get_LastError(record.Receive());
  BSTR text = nullptr;
  record->get_ComFunction(&text);
  std::string value = TextFromBstr(text);
  SysFreeString(text);
  return value;
}

}  // namespace

void DispatchChecks(Checks& check, _Encoder* encoder) {
  IDispatch* d = encoder;
  ::sceReturnCode rc = ::sceError;
  encoder->put_Parameters(MakeBstr("Device=Lumivex Simulator 0").get());
  encoder->OpenEncoder(0, &rc);

  // Names are found without regard to case; parameters by their names.
  std::array<LPOLESTR, 3> names = {const_cast<LPOLESTR>(L"mifarereaddatabloc"),  // NOLINT
                                   const_cast<LPOLESTR>(L"BLOCCONTENTS"),        // NOLINT
                                   const_cast<LPOLESTR>(L"key")};                // NOLINT
  std::array<DISPID, 3> ids{};
  check.That(d->GetIDsOfNames(IID_NULL, names.data(), 3, 0, ids.data()) == S_OK && ids[1] == 3 &&
                 ids[2] == 1,
             "GetIDsOfNames: member and parameter names, any case");
  check.That(Id(d, L"NoSuchMember") == DISPID_UNKNOWN, "an unknown name is DISPID_UNKNOWN");

  // Named arguments in any order, a typed BSTR reference for the output.
  BSTR contents = nullptr;
  {
    Args a;
    a.RefText(&contents).Text(kKey).I4(4).I4(0).Named({3, 1, 0, 2});
    Outcome o = Call(d, L"MifareReadDataBloc", a.NamedParams());
    check.That(o.hr == S_OK && V_VT(&o.result) == VT_I4 && V_I4(&o.result) == sceSuccess,
               "named arguments in any order");
    check.That(TextFromBstr(contents).size() == 32, "VT_BYREF|VT_BSTR receives the block");
    SysFreeString(contents);
  }
  // VT_BYREF|VT_VARIANT outputs: numbers keep the caller's numeric type, texts come as texts.
  {
    VARIANT serial;
    VARIANT checksum;
    VARIANT info;
    VariantInit(&serial);
    VariantInit(&checksum);
    VariantInit(&info);
    V_VT(&checksum) = VT_I2;
    V_I2(&checksum) = 0;
    Args a;
    a.Text(kKey).I4(0).Ref(&serial).Ref(&checksum).Ref(&info);
    Outcome o = Call(d, L"MifareReadManufacturerCode", a.Params());
    check.That(o.hr == S_OK && V_I4(&o.result) == sceSuccess,
               "MifareReadManufacturerCode with VT_BYREF|VT_VARIANT outputs (hr " +
                   std::to_string(o.hr) + ")");
    check.That(V_VT(&serial) == VT_I4 && V_VT(&checksum) == VT_I2 && V_I2(&checksum) >= 0 &&
                   V_VT(&info) == VT_BSTR,
               "an empty variable gets the natural type, an Integer variable stays Integer");
    VariantClear(&info);
  }
  // A value where an in/out argument is declared is accepted; its output goes nowhere.
  {
    Args a;
    a.I4(4).Text(kKey).I4(0).Text("literal");
    Outcome o = Call(d, L"MifareReadDataBloc", a.Params());
    check.That(o.hr == S_OK && V_I4(&o.result) == sceSuccess, "a literal for an in/out argument");
  }
  // Numbers and texts are coerced as Automation does.
  {
    Args a;
    a.Text("4").Text(kKey).Text("0").Text("");
    check.That(Call(d, L"MifareReadDataBloc", a.Params()).hr == S_OK, "\"4\" passes for a long");
  }
  // Wrong calls are refused before anything runs.
  const std::string before = ComFunction(encoder);
  {
    Args a;
    a.I4(4).Text(kKey).I4(0);
    check.That(Call(d, L"MifareReadDataBloc", a.Params()).hr == DISP_E_BADPARAMCOUNT,
               "too few arguments: DISP_E_BADPARAMCOUNT");
    Args b;
    b.I4(4).Text(kKey).I4(0).Text("").Text("extra");
    check.That(Call(d, L"MifareReadDataBloc", b.Params()).hr == DISP_E_BADPARAMCOUNT,
               "too many arguments: DISP_E_BADPARAMCOUNT");
    Args c;
    c.Text("four").Text(kKey).I4(0).Text("");
    Outcome o = Call(d, L"MifareReadDataBloc", c.Params());
    check.That(o.hr == DISP_E_TYPEMISMATCH && o.argErr == 3,
               "a text that is no number: DISP_E_TYPEMISMATCH, puArgErr 3 (the first argument)");
    Args e;
    e.I4(4).Text(kKey).I4(300).Text("");
    o = Call(d, L"MifareReadDataBloc", e.Params());
    check.That(o.hr == DISP_E_OVERFLOW && o.argErr == 1, "300 for a byte: DISP_E_OVERFLOW");
    LONG wrong = 0;
    Args f;
    f.I4(4).Text(kKey).I4(0).RefI4(&wrong);
    o = Call(d, L"MifareReadDataBloc", f.Params());
    check.That(o.hr == DISP_E_TYPEMISMATCH && o.argErr == 0,
               "a long reference for a text output: DISP_E_TYPEMISMATCH");
    Args g;
    g.Missing().Text(kKey).I4(0).Text("");
    check.That(Call(d, L"MifareReadDataBloc", g.Params()).hr == DISP_E_PARAMNOTOPTIONAL,
               "a required argument left out: DISP_E_PARAMNOTOPTIONAL");
  }
  check.That(ComFunction(encoder) == before, "none of the refused calls reached the component");
  // Optional arguments may be left out, at the end or as VT_ERROR.
  {
    Args a;
    a.Text("9000");
    Outcome o = Call(d, L"GetResponseText", a.Params());
    check.That(o.hr == S_OK && V_VT(&o.result) == VT_BSTR, "GetResponseText without sErrorCaller");
    VariantClear(&o.result);
    Args b;
    b.Text("9000").Missing();
    o = Call(d, L"GetResponseText", b.Params());
    check.That(o.hr == S_OK, "GetResponseText with sErrorCaller missing as VT_ERROR");
    VariantClear(&o.result);
  }
  // Properties: put with DISPID_PROPERTYPUT; a read-only one refuses it.
  {
    DISPID put = DISPID_PROPERTYPUT;
    Args a;
    a.Text("Device=Ré \xF0\x9D\x84\x9E\xED\xA0\x80 end").Named({put});
    check.That(Call(d, L"Parameters", a.NamedParams(), DISPATCH_PROPERTYPUT).hr == S_OK,
               "Parameters put");
    BSTR text = nullptr;
    encoder->get_Parameters(&text);
    const std::wstring wide(text, SysStringLen(text));
    SysFreeString(text);
    check.That(wide.find(L"Device=R\u00E9 \xD834\xDD1E\xD800 end") != std::wstring::npos,
               "texts keep every character across the surface, a lone surrogate included");
    Args b;
    b.Text("x").Named({put});
    check.That(
        Call(d, L"ReaderType", b.NamedParams(), DISPATCH_PROPERTYPUT).hr == DISP_E_MEMBERNOTFOUND,
        "a read-only property cannot be put");
  }
  DISPPARAMS none{nullptr, nullptr, 0, 0};
  VARIANT result;
  VariantInit(&result);
  check.That(d->Invoke(4242, IID_NULL, 0, DISPATCH_METHOD, &none, &result, nullptr, nullptr) ==
                 DISP_E_MEMBERNOTFOUND,
             "an unknown DISPID: DISP_E_MEMBERNOTFOUND");
  encoder->put_Parameters(MakeBstr("Device=Lumivex Simulator 0").get());
  encoder->CloseEncoder(&rc);
}

void VtableSweep(Checks& check) {
  ComPtr<_Encoder> encoder;
  CoCreateInstance(__uuidof(::Encoder), nullptr, CLSCTX_INPROC_SERVER, __uuidof(_Encoder),
                   reinterpret_cast<void**>(encoder.Receive()));
  ComPtr<ITypeLib> library;
  ComPtr<ITypeInfo> dispatchView;
  ComPtr<ITypeInfo> vtable;
  HREFTYPE ref = 0;
  GUID libraryId{};
  const std::wstring braced = L"{" + com::WideFromText(surface::kLibraryId) + L"}";
  IIDFromString(braced.c_str(), &libraryId);
  if (!check.That(
          encoder &&
              SUCCEEDED(LoadRegTypeLib(libraryId, surface::kLibraryMajor, surface::kLibraryMinor, 0,
                                       library.Receive())) &&
              SUCCEEDED(library->GetTypeInfoOfGuid(__uuidof(_Encoder), dispatchView.Receive())) &&
              SUCCEEDED(dispatchView->GetRefTypeOfImplType(static_cast<UINT>(-1), &ref)) &&
              SUCCEEDED(dispatchView->GetRefTypeInfo(ref, vtable.Receive())),
          "the registered type library describes the vtable of _Encoder")) {
    return;
  }
  TYPEATTR* attributes = nullptr;
  vtable->GetTypeAttr(&attributes);
  const UINT functions = attributes->cFuncs;
  vtable->ReleaseTypeAttr(attributes);
  int called = 0;
  std::string failures;
  for (UINT i = 0; i < functions; ++i) {
    FUNCDESC* f = nullptr;
    vtable->GetFuncDesc(i, &f);
    BSTR name = nullptr;
    vtable->GetDocumentation(f->memid, &name, nullptr, nullptr, nullptr);
    const std::string member = TextFromBstr(name);
    SysFreeString(name);
    // Opening waits five seconds a time; the early-bound calls above open already. Configure
    // waits for an operator at its dialog: tests/com/dialogs-test.sh is that operator.
    const bool skip = member == "OpenEncoder" || member == "ReOpenEncoder" || member == "Configure";
    const auto params = static_cast<UINT>(f->cParams);
    std::vector<VARIANT> args(params);
    std::vector<VARIANT> targets(params);
    std::vector<BSTR> texts(params, nullptr);
    std::vector<LONG> numbers(params, 0);
    std::vector<unsigned char> bytes(params, 0);
    UINT given = 0;
    for (UINT p = 0; p < params; ++p) {
      const ELEMDESC& e = f->lprgelemdescParam[p];
      if ((e.paramdesc.wParamFlags & PARAMFLAG_FRETVAL) != 0) continue;
      VARIANT& a = args[params - 1 - p];
      VariantInit(&a);
      VariantInit(&targets[p]);
      ++given;
      VARTYPE type = e.tdesc.vt;
      const bool byRef = type == VT_PTR;
      if (byRef) type = e.tdesc.lptdesc->vt;
      if ((e.paramdesc.wParamFlags & PARAMFLAG_FOPT) != 0) {
        V_VT(&a) = VT_ERROR;
        V_ERROR(&a) = DISP_E_PARAMNOTFOUND;
      } else if (type == VT_BSTR) {
        V_VT(&a) = byRef ? VT_BYREF | VT_BSTR : VT_BSTR;
        if (byRef)
          V_BSTRREF(&a) = &texts[p];
        else
          V_BSTR(&a) = SysAllocString(L"");
      } else if (type == VT_UI1) {
        V_VT(&a) = byRef ? VT_BYREF | VT_UI1 : VT_UI1;
        if (byRef) V_UI1REF(&a) = &bytes[p];
      } else if (type == VT_BOOL) {
        V_VT(&a) = VT_BOOL;
        V_BOOL(&a) = VARIANT_FALSE;
      } else if (type == VT_VARIANT) {
        V_VT(&a) = VT_BYREF | VT_VARIANT;
        V_VARIANTREF(&a) = &targets[p];
      } else {  // long and the enumerations
        V_VT(&a) = byRef ? VT_BYREF | VT_I4 : VT_I4;
        if (byRef) V_I4REF(&a) = &numbers[p];
      }
    }
    if (!skip) {
      DISPID put = DISPID_PROPERTYPUT;
      DISPPARAMS dp{given > 0 ? &args[params - given] : nullptr,
                    f->invkind == INVOKE_PROPERTYPUT ? &put : nullptr, given,
                    f->invkind == INVOKE_PROPERTYPUT ? 1U : 0U};
      VARIANT result;
      VariantInit(&result);
      UINT argErr = 0;
      const HRESULT hr = vtable->Invoke(encoder.Get(), f->memid, static_cast<WORD>(f->invkind), &dp,
                                        &result, nullptr, &argErr);
      ++called;
      if (hr != S_OK) failures += " " + member;
      VariantClear(&result);
    }
    for (UINT p = 0; p < params; ++p) {
      VariantClear(&targets[p]);
      SysFreeString(texts[p]);
      const VARIANT& a = args[params - 1 - p];
      if (V_VT(&a) == VT_BSTR) SysFreeString(V_BSTR(&a));
    }
    vtable->ReleaseFuncDesc(f);
  }
  UINT expected = 0;
  for (const auto& m : surface::EncoderMembers()) {
    expected += m.kind == surface::MemberKind::Method ? 1 : (m.get ? 1 : 0) + (m.set ? 1 : 0);
  }
  check.That(functions == expected, "the vtable has a function for every member and accessor (" +
                                        std::to_string(functions) + ")");
  check.That(failures.empty(), "every vtable method runs its member (" + std::to_string(called) +
                                   " called; failed:" + failures + ")");
}

}  // namespace lumivex::wine
