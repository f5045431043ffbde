// A seam's calls are written once, as a list in its header: LUMIVEX_<SEAM>_CALLS(CALL) applies
// CALL(result, Name, (parameters)) to every call, in the order of the interface. These turn that
// list into the interface's pure virtual functions and into the overrides a binding declares.
#pragma once

#define LUMIVEX_SEAM_PURE(result, name, parameters) virtual result name parameters = 0;
#define LUMIVEX_SEAM_OVERRIDE(result, name, parameters) result name parameters override;
