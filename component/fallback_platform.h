// Stand-ins for the bindings an Encoder is built without, so that such an object stays usable
// instead of crashing on first use: without a host binding the system clock, no message queue to
// run, a local generator and no cryptographic one (an authentication then fails cleanly); without
// a PC/SC binding every call is one that cannot be made, reported like a missing library; without
// a code page Windows-1252.
#pragma once

#include "platform/platform.h"

namespace lumivex {

Platform WithFallbacks(Platform platform);

}  // namespace lumivex
