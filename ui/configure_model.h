// The configuration dialog's model. A view shows captions(), fills its reader list from
// readerEntries() and its protocol list from protocolEntries(), selects the entries the model
// selects, forwards the operator's choices (SelectReader, SelectProtocol) and its buttons: Ok()
// and Cancel() give what the dialog hands back, Test() what the test dialog is shown with.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/dialogs.h"
#include "ui/dialog_texts.h"
#include "ui/reader_test.h"

namespace lumivex::ui {

class ConfigureModel {
 public:
  // Loads the dialog: reads the reader list through the request's PC/SC binding and context and
  // selects the entries for the request's Device and Protocol. Never throws for a PC/SC failure:
  // the list is then empty and listResult() says why.
  explicit ConfigureModel(ConfigureRequest request);

  [[nodiscard]] const ConfigureCaptions& captions() const { return captions_; }

  [[nodiscard]] const std::vector<std::string>& readerEntries() const { return readerEntries_; }
  [[nodiscard]] std::size_t selectedReader() const { return selectedReader_; }
  // Entries out of range are ignored.
  void SelectReader(std::size_t entry);
  // The result of reading the reader list (0, or the PC/SC result that left it empty).
  [[nodiscard]] PcscLong listResult() const { return listResult_; }

  [[nodiscard]] const std::vector<std::string>& protocolEntries() const { return protocolEntries_; }
  [[nodiscard]] std::size_t selectedProtocol() const { return selectedProtocol_; }
  void SelectProtocol(std::size_t entry);

  // OK: the text of the selected reader entry, the protocol entry's position + 1, confirmed.
  [[nodiscard]] ConfigureAnswer Ok() const;
  // Cancel: not confirmed, nothing handed back.
  [[nodiscard]] static ConfigureAnswer Cancel();
  // Test: the selected reader and protocol in the dialog's language, through the same binding
  // and context.
  [[nodiscard]] ReaderTestRequest Test() const;

 private:
  ConfigureRequest request_;
  const ConfigureCaptions& captions_;
  std::vector<std::string> readerEntries_;
  std::vector<std::string> protocolEntries_{"T=0", "T=1"};
  std::size_t selectedReader_ = 0;
  std::size_t selectedProtocol_ = 0;
  PcscLong listResult_ = 0;
};

}  // namespace lumivex::ui
