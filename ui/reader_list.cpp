#include "ui/reader_list.h"

#include <algorithm>

#include "ui/dialog_choices.h"

namespace lumivex::ui {

std::vector<std::string> SplitMultiString(const std::string& buffer) {
  std::vector<std::string> names;
  std::size_t start = 0;
  while (start < buffer.size() && buffer[start] != '\0') {
    std::size_t end = buffer.find('\0', start);
    if (end == std::string::npos) end = buffer.size();
    names.push_back(buffer.substr(start, end - start));
    start = end + 1;
  }
  return names;
}

ReaderList ListReaderNames(PcscApi& pcsc, PcscContext context) {
  ReaderList list;
  for (int attempt = 0; attempt < kListReadersAttempts; ++attempt) {
    PcscDword length = 0;
    list.result = pcsc.ListReaders(context, nullptr, &length);
    if (list.result != 0 || length == 0) return list;
    std::string buffer(length, '\0');
    list.result = pcsc.ListReaders(context, buffer.data(), &length);
    // A reader plugged in between the two calls makes the list longer than the length read.
    if (ScardCode(list.result) == scard::E_INSUFFICIENT_BUFFER) continue;
    if (list.result == 0)
      list.names = SplitMultiString(buffer.substr(0, std::min<std::size_t>(length, buffer.size())));
    return list;
  }
  return list;
}

}  // namespace lumivex::ui
