// Internal to the simulated DESFire card: the commands that manage files.
#pragma once

#include <cstdint>

#include "sim/desfire/desfire_model.h"
#include "sim/desfire/desfire_state.h"

namespace lumivex::sim::desfire {

// Creating (any of the five file kinds), deleting, listing, describing and changing files of the
// selected application.
class FileCommands {
 public:
  explicit FileCommands(CardState& state) : state_(state) {}

  // command: the create command of the file's kind (CD, CB, CC, C1 or C0).
  Reply CreateFile(std::uint8_t command, Data data);
  Reply DeleteFile(Data data);
  Reply GetFileIds(Data data);
  Reply GetFileSettings(Data data);
  Reply ChangeFileSettings(Data data);

 private:
  [[nodiscard]] Status RequireFileManagement() const;
  [[nodiscard]] Status RequireDirectoryAccess() const;

  CardState& state_;
};

}  // namespace lumivex::sim::desfire
