#include "cli/protocol_note.h"

#include "component/texts.h"

namespace lumivex::cli {

namespace {

// Whether the card in the reader accepts a shared connection with this protocol alone.
bool Accepts(PcscApi& pcsc, PcscContext context, const std::string& reader, PcscDword protocol) {
  PcscHandle card = 0;
  PcscDword active = 0;
  if (ScardCode(pcsc.Connect(context, reader, scard::SHARE_SHARED, protocol, &card, &active)) !=
      scard::S_SUCCESS) {
    return false;
  }
  pcsc.Disconnect(card, scard::LEAVE_CARD);
  return true;
}

}  // namespace

std::string ProtocolMismatchNote(const CError& record, PcscApi& pcsc, const std::string& reader) {
  const std::string& command = record.RdrCommand();
  const bool connect = command == "SCardConnect" || command.ends_with(":SCardConnect");
  if (!connect ||
      record.RdrRetCode() != SCardErrorText(static_cast<std::int32_t>(scard::E_PROTO_MISMATCH))) {
    return "";
  }
  try {
    // The context of the question, released whatever happens.
    struct Context {
      explicit Context(PcscApi& api) : pcsc(api) {}
      PcscApi& pcsc;
      PcscContext handle = 0;
      Context(const Context&) = delete;
      Context& operator=(const Context&) = delete;
      ~Context() {
        try {
          if (handle != 0) pcsc.ReleaseContext(handle);
        } catch (const PcscCallError&) {
        }
      }
    } context(pcsc);
    if (ScardCode(pcsc.EstablishContext(scard::SCOPE_SYSTEM, &context.handle)) !=
        scard::S_SUCCESS) {
      return "";
    }
    const bool t0 = Accepts(pcsc, context.handle, reader, scard::PROTOCOL_T0);
    const bool t1 = Accepts(pcsc, context.handle, reader, scard::PROTOCOL_T1);
    const std::string card = "the card in \"" + reader + "\"";
    if (t0 && t1) return card + " offers T=0 and T=1: run lumivex with --protocol 1 or 2";
    if (t0) return card + " offers T=0 only: run lumivex with --protocol 1";
    if (t1) return card + " offers T=1 only: run lumivex with --protocol 2";
    return card + " accepts neither T=0 nor T=1";
  } catch (const PcscCallError&) {
    return "";  // the library itself failed: nothing to add to the record
  }
}

}  // namespace lumivex::cli
