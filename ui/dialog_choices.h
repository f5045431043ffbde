// How the configuration and test dialogs behave where their description leaves the choice to us,
// decided the way an operator at an encoding station wants them. Every such decision lives here.
//
// - PC/SC context. The dialogs list the readers and run the test through the context they are
//   handed: the Encoder's own, which Configure opens first. They never release a context they
//   were handed. Handed none (0: the Encoder could not keep one, or a caller such as the tool's
//   test-reader has none), they establish their own for as long as they need it and release it
//   (DialogContext).
// - The encoder's own card connection. The test connects exclusively, so Configure releases the
//   Encoder's card connection before it shows the dialog (the next card operation connects again,
//   as after an open without a card). Were the card still held, the test reports the sharing
//   violation like any other failed open.
// - Card present or not (CardPresent below). SCARD_W_REMOVED_CARD on connect counts as an opened
//   reader without a card. After a connect that succeeded, SCardStatus decides: a card reported
//   absent or removed gives the no-card lines; a status that cannot be read leaves the connect's
//   word, a card.
// - The reader-name line. Drivers that answer no SCARD_ATTR_DEVICE_FRIENDLY_NAME_A (the virtual
//   reader vpcd, for one) would leave it empty: it then shows the reader's name as SCardStatus
//   reports it. The other attribute lines stay empty when the reader does not answer them.
// - After a failed open the test stops: the error line, the open-failed line, and the failure
//   line last. The closing and success lines follow a successful open only, so an operator never
//   sees success after a failure.
// - The reader list. The unknown entry comes first, always, followed by the readers in the order
//   PC/SC lists them. It is selected when the current Device is not among them (an operator sees at
//   once that the configured reader is not there); OK hands back the text of the entry chosen.
// - The protocol list. "T=0" is selected for Protocol 1, "T=1" for 2, and "T=0" (the component's
//   default Protocol) for any other value.
// - The language. "francais" in any letter case gives French; every other text, the empty one
//   included, gives English.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/pcsc_api.h"
#include "ui/dialog_texts.h"

namespace lumivex::ui {

// Time between the test dialog's appearance and the start of the test, so the dialog is drawn
// before the first PC/SC call.
constexpr std::chrono::milliseconds kTestTimerInterval{100};

// Attempts at reading the reader list when a reader arrives between the length and the list.
constexpr int kListReadersAttempts = 3;

// Position of the unknown entry in the reader list.
constexpr std::size_t kUnknownReaderEntry = 0;

Language DialogLanguage(std::string_view text);

// The reader entry selected for the current Device, among entries that hold the unknown entry at
// kUnknownReaderEntry.
std::size_t SelectedReaderEntry(const std::vector<std::string>& entries, const std::string& device);

// The protocol entry ("T=0" = 0, "T=1" = 1) selected for the current Protocol.
std::size_t SelectedProtocolEntry(std::int32_t protocol);

// Whether the test shows the card lines: connectResult is what the connect answered,
// statusResult and state what SCardStatus answered on the card handle (statusRead false when
// the status could not be asked at all).
bool CardPresent(PcscLong connectResult, bool statusRead, PcscLong statusResult, PcscDword state);

}  // namespace lumivex::ui
