// The rules a late-bound client meets, checked from C++ with IDispatch::Invoke, and a sweep over
// every vtable method through the type library (ITypeInfo::Invoke), which proves each method
// passes its arguments to the member of its name.
#pragma once

#include "Orbanet_Lumivex_BL.h"
#include "tests/com/check.h"

namespace lumivex::wine {

void DispatchChecks(Checks& check, _Encoder* encoder);
void VtableSweep(Checks& check);

}  // namespace lumivex::wine
