// The interface description (IDL) of the component, written from the member tables. The file
// com/Orbanet_Lumivex_BL.idl is this text; `lumivex idl` prints it.
#pragma once

#include <string>

namespace lumivex::surface {

std::string InterfaceDescription();

}  // namespace lumivex::surface
