#include "component/encoder.h"
#include "platform/platform.h"

namespace lumivex {

// Here rather than with the rest of the Encoder, so the component never depends on a binding.
Encoder::Encoder() : Encoder(DefaultPlatform()) {}

}  // namespace lumivex
