// The error information a failing call leaves for its client (ISupportErrorInfo): the source
// (the ProgID) and a description of what was wrong with the call. Card operations never fail this
// way: they return sceError and fill LastError; only a call that cannot be made at all does.
#pragma once

#include <oaidl.h>

namespace lumivex::com {

// Records the error information of a failed call and returns hr unchanged (S_OK clears it).
HRESULT ReportCallError(HRESULT hr, REFIID iid, const wchar_t* source);

}  // namespace lumivex::com
