// The frame every public DESFire operation runs in: the "--> name" and "<-- name" trace lines,
// the record cleared on entry and named after the operation on success, and no exception leaving
// the body (see desfire::Guarded).
#pragma once

#include <string>

#include "component/desfire/desfire_common.h"
#include "component/encoder.h"

namespace lumivex {

template <typename Body>
sceReturnCode Encoder::DESFireOperation(const std::string& Operation, Body&& body) {
  Trace("--> " + Operation);
  ClearLastError();
  const sceReturnCode result = desfire::Guarded(LastError(), Operation, std::forward<Body>(body));
  if (result == sceSuccess) ClearLastError(Operation);
  Trace("<-- " + Operation);
  return result;
}

}  // namespace lumivex
