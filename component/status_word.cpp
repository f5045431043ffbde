#include "component/status_word.h"
#include "component/hex.h"

namespace lumivex {

StatusWord StatusWord::OfAnswer(ByteView answer) {
  StatusWord word;
  if (answer.size() >= 2) {
    word.value_ = static_cast<std::uint16_t>((answer[answer.size() - 2] << 8) | answer.back());
  } else if (answer.size() == 1) {
    word.value_ = answer.front();
    word.size_ = 1;
  }
  return word;
}

std::string StatusWord::Hex() const {
  const std::uint8_t bytes[2] = {static_cast<std::uint8_t>(value_ >> 8),
                                 static_cast<std::uint8_t>(value_)};
  return size_ == 1 ? ByteArrayToHex(ByteView(bytes + 1, 1)) : ByteArrayToHex(bytes);
}

}  // namespace lumivex
