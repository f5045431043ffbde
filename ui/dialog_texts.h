// The words of the configuration and test dialogs, in French and in English. Captions keep their
// "&" accelerators; a view without accelerators removes them with WithoutAccelerators.
#pragma once

#include <string>
#include <string_view>

namespace lumivex::ui {

enum class Language { English, French };

struct ConfigureCaptions {
  std::string title;
  std::string deviceLabel;
  std::string unknownReader;  // the reader-list entry for an unknown reader
  std::string protocolLabel;
  std::string testButton;
  std::string cancelButton;
  std::string okButton;
};

// Texts of the test dialog; %1 and %2 are filled with FillIn.
struct TestTexts {
  std::string title;
  std::string starting;
  std::string opening;          // %1 reader, %2 protocol text
  std::string unknownProtocol;  // protocol text when neither T=0 nor T=1
  std::string openFailed;
  std::string opened;  // %1 active protocol text
  std::string cardPresent;
  std::string noCard;
  std::string readerName;    // %1
  std::string vendor;        // %1
  std::string type;          // %1
  std::string version;       // %1
  std::string serialNumber;  // %1
  std::string closing;
  std::string success;
  std::string failure;
  std::string error;  // %1 number, %2 description
};

const ConfigureCaptions& ConfigureCaptionsIn(Language language);
const TestTexts& TestTextsIn(Language language);

// "T=0" for 1, "T=1" for 2, the language's unknown text otherwise.
std::string ProtocolText(const TestTexts& texts, unsigned long protocol);

// The pattern with %1 and %2 replaced in one pass (a value that contains "%2" stays as it is).
std::string FillIn(std::string_view pattern, std::string_view first, std::string_view second = {});

// A caption as a view without keyboard accelerators shows it: "&Encoder:" -> "Encoder:",
// "&&" -> "&".
std::string WithoutAccelerators(std::string_view caption);

}  // namespace lumivex::ui
