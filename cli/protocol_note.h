// The tool's note on a card connection refused for its protocol: which protocol the card offers
// and the option that selects it. The component's own error record stays as it is.
#pragma once

#include <string>

#include "component/cerror.h"
#include "platform/pcsc_api.h"

namespace lumivex::cli {

// "" unless the record is a failed card connection with SCARD_E_PROTO_MISMATCH. Otherwise the
// reader is asked which protocols its card accepts (a shared connection per protocol, released
// at once), e.g. "the card in "R" offers T=0 only: run lumivex with --protocol 1".
std::string ProtocolMismatchNote(const CError& record, PcscApi& pcsc, const std::string& reader);

}  // namespace lumivex::cli
