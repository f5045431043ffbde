#include "tests/com/dispatch_checks.h"

#include <algorithm>
#include <array>
#include <cstdio>
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

// Arguments as a caller builds them; Call frees the texts among them.
VARIANT Arg(VARTYPE type) {
  VARIANT a;
  VariantInit(&a);
  V_VT(&a) = type;
  return a;
}
VARIANT I4(LONG v) {
  VARIANT a = Arg(VT_I4);
  V_I4(&a) = v;
  return a;
}
VARIANT Text(const std::string& v) {
  VARIANT a = Arg(VT_BSTR);
  V_BSTR(&a) = MakeBstr(v).release();
  return a;
}
// A reference: VT_BYREF with the type of the target's value.
template <typename T>
VARIANT Ref(VARTYPE type, T* target) {
  VARIANT a = Arg(VT_BYREF | type);
  V_BYREF(&a) = target;
  return a;
}
VARIANT Missing() {
  VARIANT a = Arg(VT_ERROR);
  V_ERROR(&a) = DISP_E_PARAMNOTFOUND;
  return a;
}

DISPID Id(IDispatch* d, const wchar_t* name) {
  DISPID id = DISPID_UNKNOWN;
  auto* names = const_cast<LPOLESTR>(name);  // NOLINT: the API takes a non-const name
  d->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id);
  return id;
}

struct Outcome {
  HRESULT hr;
  VARTYPE type;  // of the result
  LONG code;     // the result when it is a long
  UINT argErr;
};

// IDispatch::Invoke with the arguments in the order a caller writes them (rgvarg holds positional
// arguments reversed). With named arguments the list is rgvarg itself, in the caller's own order.
Outcome Call(IDispatch* d, const wchar_t* name, std::vector<VARIANT> args,
             std::vector<DISPID> named = {}, WORD flags = DISPATCH_METHOD | DISPATCH_PROPERTYGET) {
  if (named.empty()) std::reverse(args.begin(), args.end());
  DISPPARAMS params{args.data(), named.empty() ? nullptr : named.data(),
                    static_cast<UINT>(args.size()), static_cast<UINT>(named.size())};
  VARIANT result;
  VariantInit(&result);
  Outcome o{S_OK, VT_EMPTY, -1, 999};
  o.hr = d->Invoke(Id(d, name), IID_NULL, LOCALE_USER_DEFAULT, flags, &params, &result, nullptr,
                   &o.argErr);
  o.type = V_VT(&result);
  if (o.type == VT_I4) o.code = V_I4(&result);
  VariantClear(&result);
  for (VARIANT& a : args) VariantClear(&a);  // a reference's target stays the caller's
  return o;
}

// A card operation that ran and answered sceSuccess.
bool Succeeded(const Outcome& o) {
  return o.hr == S_OK && o.type == VT_I4 && o.code == sceSuccess;
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

  BSTR contents = nullptr;
  Outcome o = Call(d, L"MifareReadDataBloc", {Ref(VT_BSTR, &contents), Text(kKey), I4(4), I4(0)},
                   {3, 1, 0, 2});
  check.That(Succeeded(o) && TextFromBstr(contents).size() == 32,
             "named arguments in any order; VT_BYREF|VT_BSTR receives the block");
  SysFreeString(contents);

  // VT_BYREF|VT_VARIANT outputs: an empty variable gets the natural type, an Integer one stays
  // Integer, a text comes as a text.
  std::array<VARIANT, 3> out{Arg(VT_EMPTY), Arg(VT_I2), Arg(VT_EMPTY)};
  o = Call(d, L"MifareReadManufacturerCode",
           {Text(kKey), I4(0), Ref(VT_VARIANT, &out[0]), Ref(VT_VARIANT, &out[1]),
            Ref(VT_VARIANT, &out[2])});
  check.That(
      Succeeded(o) && V_VT(&out[0]) == VT_I4 && V_VT(&out[1]) == VT_I2 && V_VT(&out[2]) == VT_BSTR,
      "VT_BYREF|VT_VARIANT outputs keep the caller's numeric type");
  for (VARIANT& v : out) VariantClear(&v);

  // Wrong calls are refused, with the position of the argument in rgvarg, before anything runs:
  // the record still names the call before them.
  const std::string before = ComFunction(encoder);
  LONG wrong = 0;
  const struct {
    std::vector<VARIANT> args;
    HRESULT hr;
    UINT argErr;  // 999: not set
    const char* what;
  } refused[] = {
      {{I4(4), Text(kKey), I4(0)}, DISP_E_BADPARAMCOUNT, 999, "too few arguments"},
      {{I4(4), Text(kKey), I4(0), Text(""), Text("x")}, DISP_E_BADPARAMCOUNT, 999, "too many"},
      {{Text("four"), Text(kKey), I4(0), Text("")}, DISP_E_TYPEMISMATCH, 3, "a text for a long"},
      {{I4(4), Text(kKey), I4(300), Text("")}, DISP_E_OVERFLOW, 1, "300 for a byte"},
      {{I4(4), Text(kKey), I4(0), Ref(VT_I4, &wrong)}, DISP_E_TYPEMISMATCH, 0, "long* for BSTR*"},
      {{Missing(), Text(kKey), I4(0), Text("")}, DISP_E_PARAMNOTOPTIONAL, 3, "required, missing"},
  };
  for (const auto& r : refused) {
    o = Call(d, L"MifareReadDataBloc", r.args);
    char seen[40];
    (void)std::snprintf(seen, sizeof seen, "%08lX, puArgErr %u", static_cast<unsigned long>(o.hr),
                        o.argErr);
    check.That(o.hr == r.hr && o.argErr == r.argErr,
               std::string("refused: ") + r.what + " (" + seen + ")");
  }
  check.That(before == "MifareReadManufacturerCode" && ComFunction(encoder) == before,
             "none of the refused calls reached the component");

  // Calls Automation accepts: a value for an in/out argument (its output goes nowhere), texts
  // that are numbers, an optional argument left out at the end or as VT_ERROR.
  const struct {
    const wchar_t* member;
    std::vector<VARIANT> args;
    const char* what;
  } accepted[] = {
      {L"MifareReadDataBloc", {I4(4), Text(kKey), I4(0), Text("literal")}, "a literal in/out"},
      {L"MifareReadDataBloc", {Text("4"), Text(kKey), Text("0"), Text("")}, "\"4\" for a long"},
      {L"GetResponseText", {Text("9000")}, "an optional argument left out at the end"},
      {L"GetResponseText", {Text("9000"), Missing()}, "an optional argument as VT_ERROR"},
  };
  for (const auto& a : accepted) {
    o = Call(d, a.member, a.args);
    check.That(Succeeded(o) || (o.hr == S_OK && o.type == VT_BSTR),
               std::string("accepted: ") + a.what);
  }

  // Properties: put with DISPID_PROPERTYPUT, a text with every kind of character; a read-only
  // property refuses it.
  const DISPID put = DISPID_PROPERTYPUT;
  o = Call(d, L"Parameters", {Text("Device=Ré \xF0\x9D\x84\x9E\xED\xA0\x80 end")}, {put},
           DISPATCH_PROPERTYPUT);
  BSTR text = nullptr;
  encoder->get_Parameters(&text);
  const std::wstring wide(text, SysStringLen(text));
  SysFreeString(text);
  check.That(
      o.hr == S_OK && wide.find(L"Device=R\u00E9 \xD834\xDD1E\xD800 end") != std::wstring::npos,
      "Parameters put: every character kept, a lone surrogate included");
  o = Call(d, L"ReaderType", {Text("x")}, {put}, DISPATCH_PROPERTYPUT);
  check.That(o.hr == DISP_E_MEMBERNOTFOUND, "a read-only property cannot be put");
  DISPPARAMS none{nullptr, nullptr, 0, 0};
  check.That(d->Invoke(4242, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr) ==
                 DISP_E_MEMBERNOTFOUND,
             "an unknown DISPID: DISP_E_MEMBERNOTFOUND");
  encoder->put_Parameters(MakeBstr("Device=Lumivex Simulator 0").get());
  encoder->CloseEncoder(&rc);
}

namespace {

// Invokes one vtable function through the type information with a blank argument of each
// parameter's type (0, false, a null text, an empty variant), by reference where it is declared
// so, and every optional argument left out.
HRESULT InvokeWithBlanks(ITypeInfo* vtable, IUnknown* object, const FUNCDESC& f) {
  const auto count = static_cast<UINT>(f.cParams);
  std::vector<VARIANT> args(count);  // rgvarg: the last parameter first
  std::vector<VARIANT> targets(count);
  UINT given = 0;
  for (UINT p = 0; p < count; ++p) {
    const ELEMDESC& e = f.lprgelemdescParam[p];
    VariantInit(&targets[p]);
    if ((e.paramdesc.wParamFlags & PARAMFLAG_FRETVAL) != 0) continue;  // always the last
    VARIANT& a = args[count - 1 - p];
    ++given;
    const bool byRef = e.tdesc.vt == VT_PTR;
    VARTYPE type = byRef ? e.tdesc.lptdesc->vt : e.tdesc.vt;
    if ((e.paramdesc.wParamFlags & PARAMFLAG_FOPT) != 0) {
      a = Missing();
    } else if (type == VT_VARIANT) {
      a = Ref(VT_VARIANT, &targets[p]);
    } else {
      if (type != VT_BSTR && type != VT_UI1 && type != VT_BOOL) type = VT_I4;  // enumerations
      V_VT(&targets[p]) = type;
      // The union's members share one address: a reference to the value of whichever type.
      a = byRef ? Ref(type, &V_I4(&targets[p])) : targets[p];
    }
  }
  DISPID put = DISPID_PROPERTYPUT;
  const bool isPut = f.invkind == INVOKE_PROPERTYPUT;
  DISPPARAMS dp{given > 0 ? &args[count - given] : nullptr, isPut ? &put : nullptr, given,
                isPut ? 1U : 0U};
  VARIANT result;
  VariantInit(&result);
  UINT argErr = 0;
  const HRESULT hr =
      vtable->Invoke(object, f.memid, static_cast<WORD>(f.invkind), &dp, &result, nullptr, &argErr);
  VariantClear(&result);
  for (VARIANT& t : targets) VariantClear(&t);
  return hr;
}

}  // namespace

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
    // Opening waits five seconds a time, and the early-bound calls open already. Configure
    // waits for an operator at its dialog: tests/com/dialogs-test.sh is that operator.
    if (member != "OpenEncoder" && member != "ReOpenEncoder" && member != "Configure") {
      ++called;
      if (InvokeWithBlanks(vtable.Get(), encoder.Get(), *f) != S_OK) failures += " " + member;
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
