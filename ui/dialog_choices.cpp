#include "ui/dialog_choices.h"

#include <algorithm>
#include <cctype>

namespace lumivex::ui {

Language DialogLanguage(std::string_view text) {
  constexpr std::string_view kFrench = "francais";
  const bool french =
      std::equal(text.begin(), text.end(), kFrench.begin(), kFrench.end(),
                 [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; });
  return french ? Language::French : Language::English;
}

std::size_t SelectedReaderEntry(const std::vector<std::string>& entries,
                                const std::string& device) {
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (i != kUnknownReaderEntry && entries[i] == device) return i;
  }
  return kUnknownReaderEntry;
}

std::size_t SelectedProtocolEntry(std::int32_t protocol) {
  return protocol == 2 ? 1 : 0;
}

bool CardPresent(PcscLong connectResult, bool statusRead, PcscLong statusResult, PcscDword state) {
  if (connectResult != 0) return false;  // SCARD_W_REMOVED_CARD: opened, the card has left
  if (!statusRead) return true;
  switch (ScardCode(statusResult)) {
    case scard::S_SUCCESS:
      return (state & scard::STATE_PRESENT) != 0 && (state & scard::STATE_ABSENT) == 0;
    case scard::W_REMOVED_CARD:
    case scard::E_NO_SMARTCARD:
      return false;
    default:
      return true;
  }
}

}  // namespace lumivex::ui
