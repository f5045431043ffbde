#include "component/parameters.h"

#include <cctype>
#include <vector>

#include "component/numeric_text.h"

namespace lumivex {

namespace {

constexpr std::string_view kCrLf = "\r\n";

std::string_view TrimBlanks(std::string_view text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return lower;
}

std::vector<std::string_view> SplitItems(std::string_view text) {
  const std::string_view separator = text.find(kCrLf) != std::string_view::npos ? kCrLf : ";";
  std::vector<std::string_view> items;
  for (std::size_t start = 0;;) {
    const auto end = text.find(separator, start);
    items.push_back(text.substr(start, end == std::string_view::npos ? end : end - start));
    if (end == std::string_view::npos) return items;
    start = end + separator.size();
  }
}

}  // namespace

void ApplyParameters(std::string_view text, EncoderSettings& settings) {
  for (const std::string_view item : SplitItems(text)) {
    const auto equals = item.find('=');
    const std::string key = Lower(TrimBlanks(item.substr(0, equals)));
    const std::string_view value =
        equals == std::string_view::npos ? std::string_view() : item.substr(equals + 1);
    if (key == "device") {
      settings.device = std::string(value);
    } else if (key == "protocol") {
      settings.protocol = RoundToInt32(LeadingNumber(value));
    } else if (key == "force_reconnect") {
      settings.forceReconnect = LeadingNumber(value) != 0.0;
    }
  }
}

std::string ParametersText(const EncoderSettings& settings) {
  std::string text = "Encoding capabilities=Mifare Classic, Mifare Ultralight, Mifare DESFire";
  text += kCrLf;
  text += "Device=" + settings.device;
  text += kCrLf;
  text += "Protocol=" + std::to_string(settings.protocol);
  text += kCrLf;
  text += std::string("Force_Reconnect=") + (settings.forceReconnect ? "1" : "0");
  return text;
}

}  // namespace lumivex
