#include "cli/dialog_commands.h"

#include <cmath>
#include <cstdio>
#include <iostream>
#include <memory>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

#include "cli/terminal_configure_view.h"
#include "cli/terminal_test_view.h"
#include "platform/platform.h"

namespace lumivex::cli {

namespace {

bool StandardInputIsTerminal() {
#if defined(_WIN32)
  return _isatty(_fileno(stdin)) != 0;
#else
  return isatty(fileno(stdin)) != 0;
#endif
}

// The tool's PC/SC binding, shared without ownership: the context outlives every user.
std::shared_ptr<PcscApi> Borrowed(PcscApi& pcsc) {
  return {std::shared_ptr<PcscApi>{}, &pcsc};
}

std::string WithNewlines(std::string text) {
  for (std::size_t at = text.find("\r\n"); at != std::string::npos; at = text.find("\r\n", at)) {
    text.replace(at, 2, "\n");
  }
  return text;
}

}  // namespace

int ConfigureCommand(ToolContext& context, const std::string& language, std::istream& in,
                     std::ostream& out, std::ostream& err) {
  // An Encoder like the tool's own, on the same PC/SC binding, with the terminal as its dialogs.
  Platform platform = DefaultPlatform();
  platform.pcsc = Borrowed(context.pcsc());
  const bool interactive = &in == &std::cin && StandardInputIsTerminal();
  platform.dialogs = std::make_shared<TerminalDialogs>(in, out, !interactive);
  Encoder encoder(std::move(platform));
  encoder.SetOpenWait(
      std::chrono::milliseconds(std::llround(context.options().openWaitSeconds * 1000.0)));
  if (context.options().trace) {
    encoder.SetTraceSink([&err](std::string_view line) { err << line << '\n'; });
  }
  encoder.Parameters(context.encoder().Parameters());

  switch (encoder.Configure(language)) {
    case sceSuccess:
      out << '\n' << WithNewlines(encoder.Parameters()) << '\n';
      return 0;
    case sceCanceled:
      err << "configuration cancelled: nothing changed\n";
      return 1;
    default:
      err << "lumivex: " << encoder.LastError().Description();
      if (!encoder.LastError().RdrRetCode().empty())
        err << ": " << encoder.LastError().RdrRetCode();
      err << '\n';
      return 1;
  }
}

int TestReaderCommand(ToolContext& context, const std::string& language, std::ostream& out,
                      std::ostream& err) {
  std::string reader = context.options().reader;
  if (reader.empty() && context.simulator()) reader = context.simulator()->readerName();
  if (reader.empty()) {
    std::string error;
    const auto names = context.ListReaders(error);
    if (!error.empty() || names.empty()) {
      err << (error.empty() ? "no reader" : error) << "\n";
      return 1;
    }
    reader = names.front();
  }
  // The tool has no context of its own here: the test establishes one and releases it.
  const ui::ReaderTestRequest request{language, reader, context.options().protocol,
                                      Borrowed(context.pcsc()), 0};
  return ShowReaderTest(request, out) ? 0 : 1;
}

}  // namespace lumivex::cli
