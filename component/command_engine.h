// The command engine: every exchange with the reader or the card passes through Run, which fills
// a command's frame, transmits it, splits the answer into data and status word, judges the status
// word, gathers the card's continuation frames when asked to, records failures and traces every
// step. Escape, EscapeExt and ReadSerialNumber are the host's direct uses of it.
#pragma once

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

#include "component/bytes.h"
#include "component/command_set.h"
#include "component/frame.h"
#include "component/operation.h"
#include "component/status_word.h"
#include "component/types.h"

namespace lumivex {

class PcscApi;
class ReaderSession;

// What one command brought back.
struct Reply {
  sceReturnCode result = sceError;
  Bytes data;             // of every frame gathered; empty after a failure
  StatusWord statusWord;  // the last one received (FFFF: nothing came back)
};

// What a 91AF answer ("more frames") makes the engine do.
enum class Continuation {
  kReturn,  // hand it back: the caller sends the next part itself
  kGather,  // ask for the next frames and gather their data
};

class CommandEngine {
 public:
  CommandEngine(Reporting& reporting, ReaderSession& session, PcscApi& pcsc)
      : reporting_(reporting), session_(session), pcsc_(pcsc) {}

  // continuing: the name a continuation frame (kDesfireSendNextData) reports as its command.
  Reply Run(Command command, std::span<const FrameArg> args,
            Continuation continuation = Continuation::kReturn, std::string_view continuing = {});
  Reply Run(Command command, std::initializer_list<FrameArg> args = {},
            Continuation continuation = Continuation::kReturn, std::string_view continuing = {}) {
    return Run(command, std::span<const FrameArg>(args.begin(), args.size()), continuation,
               continuing);
  }

  // ---- The host's members ----
  sceReturnCode ReadSerialNumber(std::string& SerialNumber);
  sceReturnCode Escape(const std::string& Request, std::string& Response);
  sceReturnCode EscapeExt(const std::string& Request, std::string& Response, std::string& RetCode);

 private:
  // Escape and EscapeExt: the cleaned request through a selected card.
  Reply PassThrough(Command command, const std::string& request);

  Reporting& reporting_;
  ReaderSession& session_;
  PcscApi& pcsc_;
};

}  // namespace lumivex
