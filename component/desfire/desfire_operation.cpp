// The plain exchange most DESFire operations end with: one native command, answered 9100.
#include "component/desfire/desfire_operation.h"

namespace lumivex {

sceReturnCode Encoder::DESFireSendExpectOk(std::int32_t Command,
                                           const std::vector<std::string>& Params,
                                           const std::string& Operation) {
  std::string response;
  std::string statusWord;
  bool autoContinue = true;
  if (EncoderCommand(Command, Params, response, statusWord, autoContinue) != sceSuccess ||
      desfire::Upper(statusWord) != desfire::kSwOk) {
    return desfire::Record(LastError(), desfire::fail::OperationFailed, Operation, std::nullopt,
                           statusWord);
  }
  return sceSuccess;
}

}  // namespace lumivex
