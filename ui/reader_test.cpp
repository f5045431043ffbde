#include "ui/reader_test.h"

#include <array>
#include <cstdio>

#include "component/texts.h"
#include "ui/dialog_choices.h"
#include "ui/dialog_context.h"
#include "ui/reader_attributes.h"

namespace lumivex::ui {

namespace {

// The test's card connection, let go (SCARD_LEAVE_CARD) at the latest when the test ends.
class CardConnection {
 public:
  explicit CardConnection(PcscApi& pcsc) : pcsc_(pcsc) {}
  ~CardConnection() { Release(); }
  CardConnection(const CardConnection&) = delete;
  CardConnection& operator=(const CardConnection&) = delete;
  CardConnection(CardConnection&&) = delete;
  CardConnection& operator=(CardConnection&&) = delete;

  PcscHandle* out() { return &handle_; }
  [[nodiscard]] PcscHandle handle() const { return handle_; }
  void Forget() { handle_ = 0; }
  void Release() noexcept {
    if (handle_ == 0) return;
    try {
      pcsc_.Disconnect(handle_, scard::LEAVE_CARD);
    } catch (const PcscCallError&) {  // NOLINT(bugprone-empty-catch): the card is let go anyway
    }
    handle_ = 0;
  }

 private:
  PcscApi& pcsc_;
  PcscHandle handle_ = 0;
};

std::string OpenFailure(PcscLong result) {
  return SCardErrorText(ScardNumber(result)) + "Unable to open encoder: ";
}

}  // namespace

std::string ErrorNumberText(std::int32_t number) {
  if (number >= 0) return std::to_string(number);
  std::array<char, 16> text{};
  const int written = std::snprintf(text.data(), text.size(), "0x%08X",
                                    static_cast<unsigned>(static_cast<std::uint32_t>(number)));
  return written > 0 ? std::string(text.data(), static_cast<std::size_t>(written)) : "";
}

ReaderTest::ReaderTest(ReaderTestRequest request, LineSink sink)
    : request_(std::move(request)),
      sink_(std::move(sink)),
      texts_(TestTextsIn(DialogLanguage(request_.language))) {}

std::chrono::milliseconds ReaderTest::timerInterval() {
  return kTestTimerInterval;
}

void ReaderTest::OnTimer() {
  if (started_) return;
  started_ = true;
  try {
    Run();
  } catch (...) {  // NOLINT(bugprone-empty-catch): a failing view must not end the dialog's host
  }
  finished_ = true;
}

void ReaderTest::Add(const std::string& line) {
  if (!log_.empty()) log_ += "\r\n";
  log_ += line;
  if (sink_) sink_(line);
}

void ReaderTest::Fail(std::int32_t number, const std::string& description) {
  Add(FillIn(texts_.error, ErrorNumberText(number), description));
  Add(texts_.openFailed);
  Add(texts_.failure);
}

void ReaderTest::Run() {
  log_.clear();
  Add(texts_.starting);
  const auto protocol = static_cast<PcscDword>(request_.protocol);
  Add(FillIn(texts_.opening, request_.reader, ProtocolText(texts_, protocol)));
  if (!request_.pcsc) {
    const PcscLong noService = ScardResult(scard::E_NO_SERVICE);
    Fail(ScardNumber(noService), OpenFailure(noService));
    return;
  }
  PcscApi& pcsc = *request_.pcsc;
  try {
    const DialogContext context(pcsc, request_.context);
    CardConnection card(pcsc);
    PcscDword active = 0;
    PcscLong connected = context.result();
    if (connected == 0) {
      connected = pcsc.Connect(context.handle(), request_.reader, scard::SHARE_EXCLUSIVE, protocol,
                               card.out(), &active);
    }
    // Deliberately the reader counts as opened when the card has just left it.
    if (ScardCode(connected) != scard::S_SUCCESS && ScardCode(connected) != scard::W_REMOVED_CARD) {
      card.Forget();  // a failed connect hands back no connection
      Fail(ScardNumber(connected), OpenFailure(connected));
      return;
    }
    if (connected != 0) card.Forget();

    Add(FillIn(texts_.opened, ProtocolText(texts_, active)));
    bool statusRead = false;
    PcscLong status = 0;
    PcscDword state = 0;
    std::string statusName;  // the reader's name as SCardStatus reports it
    if (card.handle() != 0) {
      try {
        PcscDword statusProtocol = 0;
        std::array<std::uint8_t, 64> atr{};  // asked for as well: not every binding takes null
        PcscDword atrLength = atr.size();
        status = pcsc.Status(card.handle(), &statusName, &state, &statusProtocol, atr.data(),
                             &atrLength);
        statusRead = true;
      } catch (const PcscCallError&) {  // NOLINT(bugprone-empty-catch): the connect's word stands
      }
    }
    if (CardPresent(connected, statusRead, status, state)) {
      const auto text = [&](PcscDword id) {
        return AttributeText(ReadAttribute(pcsc, card.handle(), id));
      };
      std::string name = text(scard::ATTR_DEVICE_FRIENDLY_NAME_A);
      if (name.empty() && status == 0) name = statusName;  // a driver without the attribute
      Add(FillIn(texts_.readerName, name));
      Add(texts_.cardPresent);
      Add(FillIn(texts_.vendor, text(scard::ATTR_VENDOR_NAME)));
      Add(FillIn(texts_.type, text(scard::ATTR_VENDOR_IFD_TYPE)));
      Add(FillIn(texts_.version, AttributeVersion(ReadAttribute(pcsc, card.handle(),
                                                                scard::ATTR_VENDOR_IFD_VERSION))));
      Add(FillIn(texts_.serialNumber, text(scard::ATTR_VENDOR_IFD_SERIAL_NO)));
    } else {
      Add(FillIn(texts_.readerName, request_.reader));
      Add(texts_.noCard);
    }
    Add(texts_.closing);
    card.Release();
  } catch (const PcscCallError& error) {
    // The context or the connect could not be asked for at all.
    Fail(error.number(), error.what());
    return;
  }
  Add(texts_.success);
  succeeded_ = true;
}

}  // namespace lumivex::ui
