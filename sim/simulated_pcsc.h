// The PC/SC seam bound to a simulated reader in-process (reader "Lumivex Simulator 0"):
// contexts, exclusive connections, attributes, status, card removal and insertion at any moment.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/pcsc_api.h"
#include "sim/simulated_reader.h"

namespace lumivex::sim {

class SimulatedPcsc : public PcscApi {
 public:
  static constexpr const char* kDefaultReaderName = "Lumivex Simulator 0";

  explicit SimulatedPcsc(std::string readerName = kDefaultReaderName, std::uint64_t seed = 1);

  SimulatedReader& reader() { return slot_.reader; }
  const std::string& readerName() const { return readerName_; }
  // Inserting or removing a card invalidates every existing card connection, as a real reader does.
  void InsertCard(std::shared_ptr<SimCard> card);
  void RemoveCard();
  // Frames transmitted to the reader so far.
  std::size_t transmitCount() const;
  // Contexts and card connections established and not released yet.
  std::size_t openContexts() const;
  std::size_t openConnections() const;
  // The protocols the card accepts (scard::PROTOCOL_T0 | PROTOCOL_T1 unless set): a connection
  // that allows none of them fails with SCARD_E_PROTO_MISMATCH, as a real reader's does.
  void SetOfferedProtocols(PcscDword protocols);

  LUMIVEX_PCSC_OVERRIDES
  // Renews a connection with new share and protocol choices. initialization: LEAVE_CARD keeps the
  // card as it is, RESET_CARD or SCARD_UNPOWER_CARD (2) power-cycles it. A connection from before
  // a card change is attached to the card now in the reader.
  PcscLong Reconnect(PcscHandle card, PcscDword shareMode, PcscDword preferredProtocols,
                     PcscDword initialization, PcscDword* activeProtocol);

 private:
  struct Connection {
    PcscContext context = 0;
    PcscDword shareMode = 0;
    PcscDword protocol = 0;
    std::uint64_t cardGeneration = 0;  // the insertion this connection belongs to
  };

  // The rules Connect and Reconnect share: share mode, protocols, a card, no conflicting
  // connection (other than `except`). On success the connection's protocol is set.
  PcscLong Admit(Connection& connection, PcscDword preferredProtocols, PcscHandle except) const;

  // The reader's slot: the reader and its card, the insertion that card belongs to (every insertion
  // and removal counts one), the protocols the card accepts and the frames transmitted.
  struct Slot {
    explicit Slot(std::uint64_t seed) : reader(seed) {}
    SimulatedReader reader;
    std::uint64_t cardGeneration = 0;
    PcscDword offeredProtocols = scard::PROTOCOL_T0 | scard::PROTOCOL_T1;
    std::size_t transmits = 0;
    // A connection made to the card of this generation still reaches it.
    [[nodiscard]] bool Holds(std::uint64_t generation) const {
      return generation == cardGeneration && reader.HasCard();
    }
  };
  // The contexts and card connections given out, and the numbers the next ones get.
  struct Handles {
    std::map<PcscContext, bool> contexts;
    std::map<PcscHandle, Connection> connections;
    PcscContext nextContext = 0x1000;
    PcscHandle nextHandle = 0x2000;
  };

  mutable std::mutex mutex_;
  std::string readerName_;
  Slot slot_;
  Handles handles_;
};

}  // namespace lumivex::sim
