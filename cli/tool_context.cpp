#include "cli/tool_context.h"

#include <cmath>
#include <iostream>

#include "cli/protocol_note.h"
#include "component/hex.h"
#include "component/texts.h"
#include "platform/platform.h"
#include "sim/card_factory.h"

namespace lumivex::cli {

ToolContext::ToolContext(GlobalOptions options) : options_(std::move(options)) {
  Platform platform = DefaultPlatform();
  if (!options_.simulate.empty()) {
    simulator_ =
        std::make_shared<sim::SimulatedPcsc>(sim::SimulatedPcsc::kDefaultReaderName, options_.seed);
    pcsc_ = std::make_shared<CountingPcsc>(simulator_);
  } else {
    pcsc_ = std::make_shared<CountingPcsc>(platform.pcsc);
  }
  platform.pcsc = pcsc_;
  encoder_ = std::make_unique<Encoder>(std::move(platform));
  encoder_->SetOpenWait(std::chrono::milliseconds(std::llround(options_.openWaitSeconds * 1000.0)));
  if (options_.trace) {
    encoder_->SetTraceSink([](std::string_view line) { std::cerr << line << '\n'; });
  }
  device_ = options_.reader;
  if (device_.empty() && simulator_) device_ = simulator_->readerName();
  if (!device_.empty()) {
    encoder_->Parameters("Device=" + device_ + "\r\nProtocol=" + std::to_string(options_.protocol));
  } else {
    encoder_->Parameters("Protocol=" + std::to_string(options_.protocol));
  }
}

bool ToolContext::InsertSimulatedCard(const std::string& kind, std::string& error) {
  if (!simulator_) {
    error = "no simulated reader (use --simulate)";
    return false;
  }
  sim::CardChoice choice = sim::MakeCard(kind, options_.uid, options_.seed);
  if (!choice.ok()) {
    error = choice.error;
    return false;
  }
  if (choice.card) {
    simulator_->InsertCard(std::move(choice.card));
  } else {
    simulator_->RemoveCard();
  }
  return true;
}

std::vector<std::string> ToolContext::ListReaders(std::string& error) {
  std::vector<std::string> names;
  PcscContext context = 0;
  PcscLong rc = pcsc_->EstablishContext(scard::SCOPE_SYSTEM, &context);
  if (ScardCode(rc) != scard::S_SUCCESS) {
    error = "cannot reach the smart-card service: " + SCardErrorText(ScardNumber(rc));
    return names;
  }
  PcscDword length = 0;
  rc = pcsc_->ListReaders(context, nullptr, &length);
  if (ScardCode(rc) == scard::S_SUCCESS && length > 0) {
    std::string buffer(length, '\0');
    rc = pcsc_->ListReaders(context, buffer.data(), &length);
    if (ScardCode(rc) == scard::S_SUCCESS) {
      for (std::size_t start = 0; start < buffer.size() && buffer[start] != '\0';) {
        const std::size_t end = buffer.find('\0', start);
        names.push_back(buffer.substr(start, end - start));
        start = end + 1;
      }
    }
  }
  pcsc_->ReleaseContext(context);
  return names;
}

std::string ToolContext::FailureNote(const CError& record) {
  return ProtocolMismatchNote(record, *pcsc_, device_);
}

}  // namespace lumivex::cli
