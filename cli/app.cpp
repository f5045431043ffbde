#include "cli/app.h"

#include <CLI/CLI.hpp>

#include <fstream>
#include <iostream>
#include <sstream>

#include "cli/demo.h"
#include "cli/dialog_commands.h"
#include "cli/output.h"
#include "cli/script_runner.h"
#include "cli/tool_context.h"
#include "component/surface/interface_text.h"
#include "component/texts.h"

namespace lumivex::cli {

namespace {

int Readers(ToolContext& context, std::ostream& out, std::ostream& err) {
  std::string error;
  const auto names = context.ListReaders(error);
  if (!error.empty()) {
    err << error << "\n";
    return 1;
  }
  PcscApi& pcsc = context.pcsc();
  PcscContext handle = 0;
  pcsc.EstablishContext(scard::SCOPE_SYSTEM, &handle);
  for (const auto& name : names) {
    PcscHandle card = 0;
    PcscDword protocol = 0;
    const PcscLong rc = pcsc.Connect(handle, name, scard::SHARE_SHARED,
                                     scard::PROTOCOL_T0 | scard::PROTOCOL_T1, &card, &protocol);
    std::string state;
    if (ScardCode(rc) == scard::S_SUCCESS) {
      state = "card present";
      pcsc.Disconnect(card, scard::LEAVE_CARD);
    } else if (ScardCode(rc) == scard::E_NO_SMARTCARD || ScardCode(rc) == scard::W_REMOVED_CARD) {
      state = "no card";
    } else if (ScardCode(rc) == scard::E_SHARING_VIOLATION) {
      state = "card present, in use by another program";
    } else {
      state = SCardErrorText(ScardNumber(rc));
    }
    if (context.options().json) {
      out << "{\"reader\": " << JsonString(name)
          << ", \"card\": " << (state.rfind("card present", 0) == 0 ? "true" : "false")
          << ", \"state\": " << JsonString(state) << "}\n";
    } else {
      out << name << ": " << state << "\n";
    }
  }
  pcsc.ReleaseContext(handle);
  if (names.empty() && !context.options().json) out << "no reader\n";
  return 0;
}

int Info(ToolContext& context, std::ostream& out) {
  Encoder& e = context.encoder();
  const std::string information = e.GetInformation();
  const std::string parameters = e.Parameters();
  if (context.options().json) {
    out << "{\"information\": " << JsonString(information)
        << ", \"parameters\": " << JsonString(parameters) << "}\n";
  } else {
    out << information << "\n";
    std::string text = parameters;
    for (std::size_t at = text.find("\r\n"); at != std::string::npos; at = text.find("\r\n", at)) {
      text.replace(at, 2, "\n");
    }
    out << text << "\n";
  }
  return 0;
}

int Uid(ToolContext& context, std::ostream& out) {
  Encoder& e = context.encoder();
  const std::string script =
      "OpenEncoder 0\nReadSerialNumber ?\nGet ATRString\nGet CardType\n"
      "Get SerialNumberLength\nCloseEncoder\n";
  std::ostringstream ignored;
  return RunScript(e, script, context.options().json, out, ignored,
                   [&context](const CError& record) { return context.FailureNote(record); });
}

int Script(ToolContext& context, const std::string& file, std::ostream& out, std::ostream& err) {
  const bool json = context.options().json;
  const FailureNote note = [&context](const CError& record) { return context.FailureNote(record); };
  if (file == "-") return RunScriptAsItArrives(context.encoder(), std::cin, json, out, err, note);
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    err << "cannot read " << file << "\n";
    return kUsageError;
  }
  return RunCheckedScript(context.encoder(), in, json, out, err, note);
}

}  // namespace

int RunTool(int argc, char** argv) {
  CLI::App app{"lumivex: encode MIFARE Classic and DESFire cards through PC/SC readers"};
  app.require_subcommand(1);
  app.fallthrough();
  GlobalOptions options;
  app.add_option("--reader", options.reader, "PC/SC reader name (the Device)");
  app.add_option("--protocol", options.protocol,
                 "1 = T=0, 2 = T=1 (default 2: contactless readers speak T=1)")
      ->check(CLI::IsMember({1, 2}));
  app.add_option("--simulate", options.simulate, "use the built-in simulated reader with this card")
      ->check(CLI::IsMember({"desfire", "mifare1k", "mifare4k", "none"}));
  app.add_option("--uid", options.uid, "UID of the simulated card (hexadecimal)");
  app.add_option("--seed", options.seed, "seed of the simulated card's random numbers");
  app.add_option("--open-wait", options.openWaitSeconds, "seconds to wait after each open attempt")
      ->check(CLI::Range(0.0, 60.0));
  app.add_flag("--trace", options.trace, "trace lines on standard error (keys masked)");
  app.add_flag("--json", options.json, "one JSON object per line");

  auto* readers = app.add_subcommand("readers", "the PC/SC readers and whether a card is present");
  auto* info = app.add_subcommand("info", "GetInformation and the Parameters text");
  auto* uid = app.add_subcommand("uid", "serial number, ATR, card type and serial-number length");
  auto* script = app.add_subcommand(
      "script",
      "run member calls from FILE, checked whole first; - = standard input, each line run and "
      "answered as it arrives");
  std::string scriptFile;
  script->add_option("FILE", scriptFile, "script file, or - for standard input")->required();
  auto* demo = app.add_subcommand("demo", "encode a MIFARE Classic and a DESFire card, checked");
  auto* idl = app.add_subcommand("idl", "print the interface description of the COM component");
  std::string language;
  auto* configure = app.add_subcommand(
      "configure", "choose the reader and the protocol, test them, print the Parameters text");
  configure->add_option("--language", language, "francais for French, anything else English");
  auto* testReader = app.add_subcommand(
      "test-reader", "the reader test on --reader and --protocol (exit status 0 on success)");
  testReader->add_option("--language", language, "francais for French, anything else English");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    const int rc = app.exit(e);
    return rc == 0 ? 0 : kUsageError;
  }

  if (idl->parsed()) {
    std::cout << surface::InterfaceDescription();
    return 0;
  }
  // Without a reader the demo runs on the built-in simulator, with both cards in turn.
  if (demo->parsed() && options.simulate.empty() && options.reader.empty())
    options.simulate = "default";
  try {
    ToolContext context(options);
    if (context.simulator() && options.simulate != "default") {
      std::string error;
      if (!context.InsertSimulatedCard(options.simulate, error)) {
        std::cerr << error << "\n";
        return kUsageError;
      }
    }
    if (readers->parsed()) return Readers(context, std::cout, std::cerr);
    if (info->parsed()) return Info(context, std::cout);
    if (uid->parsed()) return Uid(context, std::cout);
    if (script->parsed()) return Script(context, scriptFile, std::cout, std::cerr);
    if (demo->parsed()) return RunDemo(context, std::cout);
    if (configure->parsed()) {
      return ConfigureCommand(context, language, std::cin, std::cout, std::cerr);
    }
    if (testReader->parsed()) return TestReaderCommand(context, language, std::cout, std::cerr);
  } catch (const std::exception& e) {
    std::cerr << "lumivex: " << e.what() << "\n";
    return 1;
  }
  return kUsageError;
}

}  // namespace lumivex::cli
