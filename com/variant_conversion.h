// The component's Variant and the automation VARIANT, both ways.
#pragma once

#include <oaidl.h>

#include "component/variant.h"

namespace lumivex::com {

// A VARIANT that holds a value (not a reference) as the component's Variant. Numbers of kinds the
// component has no name for (VT_I1, VT_UI2, VT_UI4, VT_I8, VT_UI8, VT_INT, VT_UINT, VT_DECIMAL)
// arrive as 32-bit integers when they fit and as doubles otherwise. DISP_E_TYPEMISMATCH for what
// is not a value (objects, arrays other than bytes).
HRESULT ToComponentVariant(const VARIANT& in, Variant& out);

// The component's Variant as a new VARIANT (*out must be empty or initialised; it is cleared
// first).
HRESULT ToAutomationVariant(const Variant& in, VARIANT* out);

// The VARTYPE a component Variant takes at the surface (VT_ARRAY|VT_UI1 for bytes).
VARTYPE AutomationType(const Variant& value);

}  // namespace lumivex::com
