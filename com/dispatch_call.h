// Late-bound calls: one member of the surface run for IDispatch::Invoke. Arguments are matched to
// parameters by position and by name, converted as Automation converts them, and outputs are
// written back to the caller's variables; a wrong count or type is refused before anything runs.
#pragma once

#include <oaidl.h>

#include "component/encoder.h"
#include "component/surface/member_info.h"

namespace lumivex::com {

struct InvokeRequest {
  WORD flags;
  DISPPARAMS* params;
  LCID lcid;
  VARIANT* result;  // may be null
  UINT* argErr;     // may be null
};

HRESULT InvokeEncoderMember(Encoder& encoder, const surface::MemberInfo& member,
                            const InvokeRequest& request);
HRESULT InvokeRecordProperty(CError& record, const surface::RecordPropertyInfo& property,
                             const InvokeRequest& request);

// The value of one argument (a value or a reference, VT_BYREF|VT_VARIANT included) read into its
// slot as the parameter's type. A reference of another type than the parameter's is refused for an
// in/out parameter, since the output could not go back into it.
HRESULT LoadArgument(const surface::ParamInfo& param, const VARIANT& argument, LCID lcid,
                     surface::Slot& slot);
// Writes an output back through a reference argument (a value passed for an in/out parameter
// takes no output). Numbers keep the numeric type the caller's variable holds when they fit;
// texts go back as texts and variants as what they are.
HRESULT StoreArgument(const surface::ParamInfo& param, const surface::Slot& slot, LCID lcid,
                      VARIANT& argument);
// True for a left-out optional argument (VT_ERROR with DISP_E_PARAMNOTFOUND).
bool IsMissing(const VARIANT* argument);

}  // namespace lumivex::com
