// The registry seam bound to advapi32 (the ANSI calls: texts in the process's code page).
#pragma once

#include "platform/registry_api.h"

namespace lumivex {

class Advapi32Registry : public RegistryApi {
 public:
  LUMIVEX_REGISTRY_OVERRIDES
};

}  // namespace lumivex
