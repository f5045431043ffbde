// The simulated DESFire card: ISO 7816-4 unwrapping, the native command dispatcher and the frames
// that continue an exchange.
#include "sim/desfire/desfire_card.h"

#include "sim/desfire/desfire_card_impl.h"

namespace lumivex::sim {

std::shared_ptr<SimCard> MakeDesfire(const DesfireOptions& options) {
  return std::make_shared<desfire::DesfireCard>(options);
}

}  // namespace lumivex::sim

namespace lumivex::sim::desfire {

namespace {

constexpr std::uint8_t kWrappedClass = 0x90;
constexpr std::uint8_t kReaderClass = 0xFF;
constexpr std::uint8_t kContinue = 0xAF;

std::vector<std::uint8_t> IsoStatus(std::uint8_t sw1, std::uint8_t sw2) {
  return {sw1, sw2};
}

bool LosesAuthentication(Status status) {
  return status == kAuthenticationError || status == kIntegrityError || status == kPermissionDenied;
}

}  // namespace

DesfireCard::DesfireCard(const DesfireOptions& options) : state_(options) {}

std::vector<std::uint8_t> DesfireCard::Atr() const {
  return {0x3B, 0x81, 0x80, 0x01, 0x80, 0x80};
}

std::vector<std::uint8_t> DesfireCard::Uid() const {
  return {state_.options.uid.begin(), state_.options.uid.end()};
}

std::vector<std::uint8_t> DesfireCard::Transmit(std::span<const std::uint8_t> command) {
  if (command.size() < 4) return IsoStatus(0x67, 0x00);
  const std::uint8_t cla = command[0];
  const std::uint8_t ins = command[1];
  if (cla == kReaderClass) {
    if (ins == 0xCA && command[2] == 0 && command[3] == 0) {
      std::vector<std::uint8_t> answer = Uid();
      answer.insert(answer.end(), {0x90, 0x00});
      return answer;
    }
    return IsoStatus(0x6A, 0x81);  // reader function the card does not support
  }
  if (cla != kWrappedClass) return IsoStatus(0x6E, 0x00);
  if (command[2] != 0 || command[3] != 0) return IsoStatus(0x6A, 0x86);

  Data data;
  if (command.size() > 5) {
    const std::size_t lc = command[4];
    // Lc then the data, with or without the trailing Le byte.
    if (command.size() != 5 + lc && command.size() != 6 + lc) return IsoStatus(0x67, 0x00);
    data = command.subspan(5, lc);
  }

  Reply reply = ins == kContinue ? Continue(data) : Execute(ins, data);
  if (LosesAuthentication(reply.status)) state_.session.End();
  std::vector<std::uint8_t> answer = std::move(reply.data);
  answer.push_back(0x91);
  answer.push_back(reply.status);
  return answer;
}

Reply DesfireCard::Execute(std::uint8_t command, Data data) {
  // A new command ends whatever exchange was under way.
  state_.exchanges.Abandon();
  if (data.size() > kMaxFrameData) return {kLengthError, {}};
  switch (command) {
    case 0x0A:
      return keys_.Authenticate(data);
    case 0xC4:
      return keys_.ChangeKey(data);
    case 0x54:
      return keys_.ChangeKeySettings(data);
    case 0x45:
      return keys_.GetKeySettings(data);
    case 0x64:
      return keys_.GetKeyVersion(data);
    case 0x60:
      return applications_.GetVersion(data);
    case 0xFC:
      return applications_.FormatPicc(data);
    case 0xCA:
      return applications_.CreateApplication(data);
    case 0xDA:
      return applications_.DeleteApplication(data);
    case 0x6A:
      return applications_.GetApplicationIds(data);
    case 0x5A:
      return applications_.SelectApplication(data);
    case 0x6E:
      return applications_.GetFreeMemory(data);
    case 0xCD:
    case 0xCB:
    case 0xCC:
    case 0xC1:
    case 0xC0:
      return files_.CreateFile(command, data);
    case 0xDF:
      return files_.DeleteFile(data);
    case 0x6F:
      return files_.GetFileIds(data);
    case 0xF5:
      return files_.GetFileSettings(data);
    case 0x5F:
      return files_.ChangeFileSettings(data);
    case 0xBD:
    case 0xBB:
      return data_.ReadData(command, data);
    case 0x3D:
    case 0x3B:
      return data_.StartWrite(command, data);
    case 0xEB:
      return data_.ClearRecordFile(data);
    case 0x6C:
      return values_.GetValue(data);
    case 0x0C:
    case 0xDC:
    case 0x1C:
      return values_.ChangeValue(command, data);
    case 0xC7:
      return values_.CommitTransaction(data);
    case 0xA7:
      return values_.AbortTransaction(data);
    default:
      return {kIllegalCommand, {}};
  }
}

Reply DesfireCard::Continue(Data data) {
  if (!state_.exchanges.outgoing.empty()) {
    if (!data.empty()) {
      state_.exchanges.outgoing.clear();
      return {kLengthError, {}};
    }
    OutgoingFrame frame = std::move(state_.exchanges.outgoing.front());
    state_.exchanges.outgoing.pop_front();
    return {frame.status, std::move(frame.data)};
  }
  if (state_.exchanges.authentication) return keys_.FinishAuthentication(data);
  if (state_.exchanges.write) return data_.ContinueWrite(data);
  return {kCommandAborted, {}};  // nothing to continue
}

void DesfireCard::PowerCycle() {
  state_.exchanges.Abandon();
  state_.AbortTransaction();
  state_.session.End();
  state_.selected.reset();
}

}  // namespace lumivex::sim::desfire
