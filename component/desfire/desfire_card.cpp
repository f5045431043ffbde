#include "component/desfire/desfire_card.h"

#include <algorithm>

#include "component/desfire/cryptogram.h"
#include "crypto/des_mode.h"
#include "crypto/secure_memory.h"

namespace lumivex::desfire {

Card::~Card() {
  sessionKey_.Wipe();
}

Reply Card::Send(Command command, std::span<const FrameArg> args) {
  return engine_.Run(command, args, Continuation::kGather);
}

bool Card::Answered(const Reply& reply) {
  return reply.result == sceSuccess && reply.statusWord == sw::kDesfireOk;
}

Outcome Card::Fail(const Reply& reply, std::string_view operation) {
  reporting_.record.Fail(failure::kOperationFailed, operation, std::nullopt,
                         reply.statusWord.Hex());
  return Refused();
}

Outcome Card::SendExpectOk(Command command, std::span<const FrameArg> args,
                           std::string_view operation) {
  const Reply reply = Send(command, args);
  return Answered(reply) ? Succeeded() : Fail(reply, operation);
}

Outcome Card::Refuse(const Failure& failure, std::string_view operation) {
  reporting_.record.Fail(failure, operation);
  return Refused();
}

Bytes Card::Encipher(const Cryptogram& cryptogram) {
  // K1 is the session key's first half, K2 its second (a key of one half is both); before any
  // authentication there is none and both are zero.
  const ByteView session = sessionKey_.view();
  const ByteView second = session.size() > 8 ? session.last(8) : session;
  std::array<std::uint8_t, 8> k1{};
  std::array<std::uint8_t, 8> k2{};
  std::copy_n(session.begin(), std::min<std::size_t>(8, session.size()), k1.begin());
  std::copy_n(second.begin(), std::min<std::size_t>(8, second.size()), k2.begin());
  const auto algorithm = k1 == k2 ? crypto::DesAlgorithm::kSingle : crypto::DesAlgorithm::kTriple;
  LoadKey(k1, k2);
  crypto::SecureWipe(k1.data(), k1.size());
  crypto::SecureWipe(k2.data(), k2.size());
  // The chaining the card expects of what it receives: each block combined with the previous
  // result, then deciphered, which the card's encipher undoes.
  Bytes enciphered =
      cipher_.Decrypt(cryptogram.Padded().view(),
                      crypto::DesModeWord(algorithm, crypto::DesChaining::kLegacyChain));
  reporting_.trace.RememberSecret(enciphered);
  return enciphered;
}

}  // namespace lumivex::desfire
