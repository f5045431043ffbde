// Internal to the simulated DESFire card: the commands on data and record files.
#pragma once

#include <cstdint>

#include "sim/desfire/desfire_model.h"
#include "sim/desfire/desfire_state.h"

namespace lumivex::sim::desfire {

// Reading and writing data files and record files, and clearing record files. Long answers are
// chained; a write's data may arrive over several frames.
class DataCommands {
 public:
  explicit DataCommands(CardState& state) : state_(state) {}

  // command: ReadData (BD) or ReadRecords (BB).
  Reply ReadData(std::uint8_t command, Data data);
  // command: WriteData (3D) or WriteRecord (3B).
  Reply StartWrite(std::uint8_t command, Data data);
  // The next frame of the write's data.
  Reply ContinueWrite(Data data);
  Reply ClearRecordFile(Data data);

 private:
  // Takes the data received so far: complete, wait for the next frame, or refuse.
  Reply CollectWrite(IncomingWrite write, bool frameFull);
  Reply FinishWrite(IncomingWrite& write);

  CardState& state_;
};

}  // namespace lumivex::sim::desfire
