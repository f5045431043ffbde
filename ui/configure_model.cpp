#include "ui/configure_model.h"

#include "ui/dialog_choices.h"
#include "ui/dialog_context.h"
#include "ui/reader_list.h"

namespace lumivex::ui {

ConfigureModel::ConfigureModel(ConfigureRequest request)
    : request_(std::move(request)),
      captions_(ConfigureCaptionsIn(DialogLanguage(request_.language))) {
  ReaderList list;
  if (request_.pcsc) {
    try {
      const DialogContext context(*request_.pcsc, request_.context);
      list = context.result() == 0 ? ListReaderNames(*request_.pcsc, context.handle())
                                   : ReaderList{{}, context.result()};
    } catch (const PcscCallError&) {
      list.result = ScardResult(scard::E_NO_SERVICE);
    }
  } else {
    list.result = ScardResult(scard::E_NO_SERVICE);
  }
  listResult_ = list.result;
  readerEntries_ = std::move(list.names);
  readerEntries_.insert(readerEntries_.begin() + static_cast<std::ptrdiff_t>(kUnknownReaderEntry),
                        captions_.unknownReader);
  selectedReader_ = SelectedReaderEntry(readerEntries_, request_.device);
  selectedProtocol_ = SelectedProtocolEntry(request_.protocol);
}

void ConfigureModel::SelectReader(std::size_t entry) {
  if (entry < readerEntries_.size()) selectedReader_ = entry;
}

void ConfigureModel::SelectProtocol(std::size_t entry) {
  if (entry < protocolEntries_.size()) selectedProtocol_ = entry;
}

ConfigureAnswer ConfigureModel::Ok() const {
  return {true, readerEntries_[selectedReader_], static_cast<std::int32_t>(selectedProtocol_ + 1)};
}

ConfigureAnswer ConfigureModel::Cancel() {
  return {};
}

ReaderTestRequest ConfigureModel::Test() const {
  return {request_.language, readerEntries_[selectedReader_],
          static_cast<std::int32_t>(selectedProtocol_ + 1), request_.pcsc, request_.context};
}

}  // namespace lumivex::ui
