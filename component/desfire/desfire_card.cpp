#include "component/desfire/desfire_card.h"

#include "component/desfire/cryptogram.h"

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
  Bytes enciphered = cryptogram.Encipher(sessionKey_.view(), cipher_);
  reporting_.trace.RememberSecret(enciphered);
  return enciphered;
}

}  // namespace lumivex::desfire
