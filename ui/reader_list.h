// The names of the PC/SC readers, read the way SCardListReadersA is asked: the length of the list
// first, then the list itself into a buffer of that length.
#pragma once

#include <string>
#include <vector>

#include "platform/pcsc_api.h"

namespace lumivex::ui {

struct ReaderList {
  std::vector<std::string> names;  // in the order PC/SC gives them
  PcscLong result = 0;             // of the last call (SCARD_E_NO_READERS_AVAILABLE: none)
};

// Reads the list through the given context; a failure gives the names read so far (none) and
// its result. A binding that cannot make the call at all throws PcscCallError.
ReaderList ListReaderNames(PcscApi& pcsc, PcscContext context);

// Splits a multi-string (names each ended by a zero, the list ended by an empty name) into names.
// A buffer without its final zeros still gives every name in it.
std::vector<std::string> SplitMultiString(const std::string& buffer);

}  // namespace lumivex::ui
