#include "component/trace_log.h"

#include <algorithm>
#include <cctype>

#include "crypto/secure_memory.h"

namespace lumivex {

namespace {

constexpr std::size_t kMaxSecrets = 64;
// Shorter hexadecimal texts are not keys; masking them would blank ordinary trace text.
constexpr std::size_t kMinSecretDigits = 8;

// "A1B2C3" -> "A1 B2 C3": the spaced form in which trace lines show byte strings.
std::string Spaced(const std::string& compact) {
  std::string spaced;
  for (std::size_t i = 0; i < compact.size(); i += 2) {
    if (i > 0) spaced += ' ';
    spaced += compact.substr(i, 2);
  }
  return spaced;
}

// Replaces every occurrence of needle (searched in the upper-cased copy) by '*' in both texts.
void MaskAll(std::string& line, std::string& upper, const std::string& needle) {
  if (needle.empty()) return;
  for (auto at = upper.find(needle); at != std::string::npos; at = upper.find(needle, at)) {
    std::fill_n(line.begin() + static_cast<std::ptrdiff_t>(at), needle.size(), '*');
    std::fill_n(upper.begin() + static_cast<std::ptrdiff_t>(at), needle.size(), '*');
    at += needle.size();
  }
}

}  // namespace

TraceLog::~TraceLog() {
  for (auto& secret : secrets_) crypto::SecureWipe(secret);
}

void TraceLog::Write(std::string_view text) {
  try {
    if (!sink_) return;
    if (secrets_.empty()) {
      sink_(text);
      return;
    }
    std::string line(text);
    std::string upper(text);
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    for (const std::string& secret : secrets_) {
      MaskAll(line, upper, secret);
      std::string spaced = Spaced(secret);
      MaskAll(line, upper, spaced);
      crypto::SecureWipe(spaced);
    }
    crypto::SecureWipe(upper);
    sink_(line);
  } catch (...) {  // NOLINT(bugprone-empty-catch): a failing sink never disturbs the operation
  }
}

void TraceLog::RememberSecret(std::string_view hex) {
  std::string secret;
  secret.reserve(hex.size());  // grown in place: no partial copy left behind in freed memory
  bool hexadecimal = true;
  for (const char c : hex) {
    if (c == ' ') continue;
    hexadecimal = hexadecimal && std::isxdigit(static_cast<unsigned char>(c)) != 0;
    secret += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  if (!hexadecimal || secret.size() < kMinSecretDigits ||
      std::find(secrets_.begin(), secrets_.end(), secret) != secrets_.end()) {
    crypto::SecureWipe(secret);
    return;
  }
  // Room for every secret up front: a reallocation would leave copies of keys in freed memory.
  if (secrets_.capacity() < kMaxSecrets) secrets_.reserve(kMaxSecrets);
  if (secrets_.size() < kMaxSecrets) {
    secrets_.push_back(secret);
  } else {
    // Forget the oldest: shift in place, wiping each slot before it takes its successor's text.
    for (std::size_t i = 0; i + 1 < secrets_.size(); ++i) {
      crypto::SecureWipe(secrets_[i]);
      secrets_[i].assign(secrets_[i + 1]);
    }
    crypto::SecureWipe(secrets_.back());
    secrets_.back().assign(secret);
  }
  crypto::SecureWipe(secret);
}

}  // namespace lumivex
