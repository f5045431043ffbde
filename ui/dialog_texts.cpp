#include "ui/dialog_texts.h"

namespace lumivex::ui {

namespace {

constexpr const char* kProductTitle = "Orbanet Lumivex";

}  // namespace

const ConfigureCaptions& ConfigureCaptionsIn(Language language) {
  static const ConfigureCaptions french{
      .title = std::string("Configuration de l'encodeur ") + kProductTitle,
      .deviceLabel = "&Encodeur :",
      .unknownReader = "-- Inconnu --",
      .protocolLabel = "&Protocole :",
      .testButton = "&Test encodeur...",
      .cancelButton = "Annuler",
      .okButton = "OK",
  };
  static const ConfigureCaptions english{
      .title = std::string(kProductTitle) + " encoder Configuration",
      .deviceLabel = "&Encoder:",
      .unknownReader = "-- Unknown --",
      .protocolLabel = "&Protocol:",
      .testButton = "&Test settings...",
      .cancelButton = "Cancel",
      .okButton = "OK",
  };
  return language == Language::French ? french : english;
}

const TestTexts& TestTextsIn(Language language) {
  static const TestTexts french{
      .title = std::string("Test de l'encodeur ") + kProductTitle,
      .starting = "Début du test.",
      .opening = "Ouverture de l'encodeur \"%1\", protocole %2...",
      .unknownProtocol = "inconnu",
      .openFailed = "Impossible d'ouvrir l'encodeur.",
      .opened = "Ouvert. Protocole actif: %1",
      .cardPresent = "Carte présente dans l'encodeur.",
      .noCard = "Pas de carte dans l'encodeur.",
      .readerName = "Type d'encodeur : %1",
      .vendor = "Fabricant: %1",
      .type = "Type: %1",
      .version = "Version: %1",
      .serialNumber = "Numéro de série: %1",
      .closing = "Fermeture de l'encodeur",
      .success = "<< Test réussi >>",
      .failure = "<< Echec du test >>",
      .error = "Erreur %1 : %2",
  };
  static const TestTexts english{
      .title = std::string(kProductTitle) + " encoder test",
      .starting = "Starting the test.",
      .opening = "Opening encoder \"%1\", protocol %2...",
      .unknownProtocol = "unknown",
      .openFailed = "Failed to open the encoder.",
      .opened = "Encoder open. Active protocol: %1",
      .cardPresent = "Card available in the encoder.",
      .noCard = "No card available in the encoder.",
      .readerName = "Encoder type: %1",
      .vendor = "Vendor name: %1",
      .type = "Type: %1",
      .version = "Version: %1",
      .serialNumber = "Serial number: %1",
      .closing = "Closing the encoder...",
      .success = "<< Successful test >>",
      .failure = "<< Test failed >>",
      .error = "Error %1: %2",
  };
  return language == Language::French ? french : english;
}

std::string ProtocolText(const TestTexts& texts, unsigned long protocol) {
  if (protocol == 1) return "T=0";
  if (protocol == 2) return "T=1";
  return texts.unknownProtocol;
}

std::string FillIn(std::string_view pattern, std::string_view first, std::string_view second) {
  std::string text;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == '%' && i + 1 < pattern.size() &&
        (pattern[i + 1] == '1' || pattern[i + 1] == '2')) {
      text += pattern[i + 1] == '1' ? first : second;
      ++i;
    } else {
      text += pattern[i];
    }
  }
  return text;
}

std::string WithoutAccelerators(std::string_view caption) {
  std::string text;
  for (std::size_t i = 0; i < caption.size(); ++i) {
    if (caption[i] == '&' && i + 1 < caption.size()) ++i;
    text += caption[i];
  }
  return text;
}

}  // namespace lumivex::ui
