#include "cli/terminal_configure_view.h"

#include <charconv>
#include <string>
#include <vector>

#include "cli/terminal_test_view.h"
#include "component/texts.h"
#include "ui/configure_model.h"

namespace lumivex::cli {

namespace {

enum Action : std::size_t { kTest = 0, kOk = 1, kCancel = 2 };

// The answer as an entry number from 1 to count; false for anything else.
bool ParseChoice(const std::string& answer, std::size_t count, std::size_t& entry) {
  std::size_t number = 0;
  const char* end = answer.data() + answer.size();
  const auto [stop, error] = std::from_chars(answer.data(), end, number);
  if (error != std::errc() || stop != end || number < 1 || number > count) return false;
  entry = number - 1;
  return true;
}

std::string Trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(" \t\r");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

}  // namespace

bool TerminalDialogs::Choose(const std::string& caption, const std::vector<std::string>& entries,
                             std::size_t& selected) {
  if (!caption.empty()) out_ << ui::WithoutAccelerators(caption) << '\n';
  for (std::size_t i = 0; i < entries.size(); ++i) {
    out_ << (i == selected ? " * " : "   ") << i + 1 << "  " << ui::WithoutAccelerators(entries[i])
         << '\n';
  }
  for (;;) {
    out_ << "1-" << entries.size() << " [" << selected + 1 << "]> " << std::flush;
    std::string line;
    if (!std::getline(in_, line)) {
      out_ << '\n';
      return false;
    }
    const std::string answer = Trimmed(line);
    if (echo_) out_ << (answer.empty() ? std::to_string(selected + 1) : answer) << '\n';
    if (answer.empty()) return true;
    if (ParseChoice(answer, entries.size(), selected)) return true;
  }
}

ConfigureAnswer TerminalDialogs::ShowConfigure(const ConfigureRequest& request) {
  ui::ConfigureModel model(request);
  const ui::ConfigureCaptions& captions = model.captions();
  const std::vector<std::string> actions = {captions.testButton, captions.okButton,
                                            captions.cancelButton};
  for (;;) {
    out_ << captions.title << "\n\n";
    if (model.listResult() != 0 && ScardCode(model.listResult()) != scard::E_NO_READERS_AVAILABLE) {
      out_ << "(" << SCardErrorText(ScardNumber(model.listResult())) << ")\n";
    }
    std::size_t reader = model.selectedReader();
    if (!Choose(captions.deviceLabel, model.readerEntries(), reader))
      return ui::ConfigureModel::Cancel();
    model.SelectReader(reader);
    std::size_t protocol = model.selectedProtocol();
    if (!Choose(captions.protocolLabel, model.protocolEntries(), protocol)) {
      return ui::ConfigureModel::Cancel();
    }
    model.SelectProtocol(protocol);
    std::size_t action = kOk;
    if (!Choose("", actions, action) || action == kCancel) return ui::ConfigureModel::Cancel();
    if (action == kOk) return model.Ok();
    out_ << '\n';
    ShowReaderTest(model.Test(), out_);
    out_ << '\n';
  }
}

}  // namespace lumivex::cli
