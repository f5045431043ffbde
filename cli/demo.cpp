#include "cli/demo.h"

#include <chrono>
#include <cstdio>
#include <functional>
#include <string>

#include "cli/output.h"
#include "component/hex.h"

namespace lumivex::cli {

namespace {

constexpr const char* kFactoryKey = "FFFFFFFFFFFF";
constexpr const char* kNewKeyA = "A0A1A2A3A4A5";
constexpr const char* kNewKeyB = "B0B1B2B3B4B5";
constexpr const char* kDesfireFactoryKey = "0000000000000000";
constexpr const char* kAppMasterKey = "00112233445566778899AABBCCDDEEFF";  // 2K3DES
constexpr const char* kAppId = "A1B2C3";

// Prints the steps as they run and keeps the score.
class StepLog {
 public:
  StepLog(Encoder& encoder, std::ostream& out, std::function<std::string(const CError&)> note)
      : encoder_(encoder), out_(out), note_(std::move(note)) {}

  // A member call that must return sceSuccess; detail (read once the call has run) is printed
  // after the result.
  bool Call(const std::string& what, sceReturnCode code,
            const std::function<std::string()>& detail = nullptr) {
    const bool ok = code == sceSuccess;
    return Record(what, ok, !ok ? DescribeFailure(code) : detail ? detail() : "");
  }
  // A check of what was read back.
  bool Check(const std::string& what, bool ok, const std::string& detail) {
    return Record(what, ok, detail);
  }
  void Section(const std::string& title) { out_ << "\n" << title << "\n"; }
  [[nodiscard]] int steps() const { return steps_; }
  [[nodiscard]] int failures() const { return failures_; }

 private:
  std::string DescribeFailure(sceReturnCode code) {
    const CError& e = encoder_.LastError();
    const std::string note = note_(e);
    return ReturnCodeName(code) + ": " + NumberHex(e.Number()) + " " + e.Description() +
           (e.RdrRetCode().empty() ? "" : " [" + e.RdrRetCode() + "]") +
           (note.empty() ? "" : " (" + note + ")");
  }
  bool Record(const std::string& what, bool ok, const std::string& detail) {
    ++steps_;
    if (!ok) ++failures_;
    std::string label = what;
    if (label.size() < 46) label += " " + std::string(46 - label.size(), '.');
    out_ << "  [" << (steps_ < 10 ? " " : "") << steps_ << "] " << label << " "
         << (ok ? "ok  " : "FAIL") << (detail.empty() ? "" : "  " + detail) << "\n";
    return ok;
  }

  Encoder& encoder_;
  std::ostream& out_;
  std::function<std::string(const CError&)> note_;
  int steps_ = 0;
  int failures_ = 0;
};

std::string TextToHex(const std::string& text) {
  const std::vector<std::uint8_t> bytes(text.begin(), text.end());
  return BytesToHex(bytes);
}

// Hexadecimal text as the card answered it (bytes separated by blanks) in compact form.
std::string Compact(std::string hex) {
  IsHexString(hex);
  return hex;
}

std::string Pattern(std::size_t bytes, std::uint8_t seed) {
  std::vector<std::uint8_t> data(bytes);
  for (std::size_t i = 0; i < bytes; ++i) data[i] = static_cast<std::uint8_t>(seed + i * 7);
  return BytesToHex(data);
}

void MifareJob(Encoder& e, StepLog& log) {
  log.Section("MIFARE Classic 1K");
  std::string uid;
  log.Call("ReadSerialNumber", e.ReadSerialNumber(uid), [&] { return uid; });
  log.Check("Card identified by its ATR", !e.ATRString().empty(), e.ATRString());

  std::int32_t serial = 0;
  std::uint8_t check = 0;
  std::string maker;
  if (log.Call("MifareReadManufacturerCode (factory key)",
               e.MifareReadManufacturerCode(kFactoryKey, 1, serial, check, maker),
               [&] { return NumberHex(serial) + " check " + std::to_string(check); })) {
    log.Check("Manufacturer serial matches the UID", NumberHex(serial) == uid, uid);
  }

  const std::string blocks[3] = {TextToHex("Lumivex demo    "), TextToHex("Badge 000042    "),
                                 Pattern(16, 0x10)};
  for (int i = 0; i < 3; ++i) {
    std::string data = blocks[i];
    log.Call("MifareWriteDataBloc " + std::to_string(4 + i),
             e.MifareWriteDataBloc(4 + i, kFactoryKey, 1, data));
  }
  for (int i = 0; i < 3; ++i) {
    std::string read;
    if (log.Call("MifareReadDataBloc " + std::to_string(4 + i),
                 e.MifareReadDataBloc(4 + i, kFactoryKey, 1, read))) {
      log.Check("Block " + std::to_string(4 + i) + " reads back as written", read == blocks[i],
                read);
    }
  }

  if (log.Call("MifareWriteValueBloc 8 = 1000", e.MifareWriteValueBloc(8, kFactoryKey, 1, 1000))) {
    std::string read;
    e.MifareReadDataBloc(8, kFactoryKey, 1, read);
    log.Check("Block 8 is a value block of 1000", read == "E803000017FCFFFFE8030000FF00FF00", read);
  }

  // Sector 1 (blocks 4-7): new keys; key B reads and writes the data, key A only reads; key B
  // alone manages keys and access conditions.
  const auto level = static_cast<SCBS_SecurityLevelEnum>(scbs_A_Read + scbs_B_ReadWrite);
  log.Call("MifareWriteSectorTrailer 1 (new keys A and B)",
           e.MifareWriteSectorTrailer(1, kFactoryKey, 1, kNewKeyA, kNewKeyB, 2, level, level, level,
                                      scss_B_WriteKeysConditions));
  std::uint8_t keysUsed = 0;
  std::uint8_t bx = 0;
  SCBS_SecurityLevelEnum s0{}, s1{}, s2{};
  SCSS_SecurityLevelEnum conditions{};
  if (log.Call("MifareReadSectorTrailer 1 (key B)",
               e.MifareReadSectorTrailer(1, kNewKeyB, 2, keysUsed, s0, s1, s2, conditions, bx))) {
    log.Check("Access levels read back",
              keysUsed == 2 && s0 == level && s1 == level && s2 == level &&
                  conditions == scss_B_WriteKeysConditions,
              "keys " + std::to_string(keysUsed) + ", levels " + std::to_string(s0) + "/" +
                  std::to_string(s1) + "/" + std::to_string(s2) + ", trailer " +
                  std::to_string(conditions));
  }
  std::string read;
  if (log.Call("MifareReadDataBloc 4 (key B)", e.MifareReadDataBloc(4, kNewKeyB, 2, read))) {
    log.Check("Block 4 still holds its data", read == blocks[0], read);
  }
  std::string refused = blocks[0];
  log.Check("The old factory key is refused",
            e.MifareReadDataBloc(4, kFactoryKey, 1, refused) == sceError,
            e.LastError().RdrRetCode());

  // Leave the sector as the factory made it, so the demo can run again on the same card.
  log.Call(
      "MifareWriteSectorTrailer 1 (back to factory)",
      e.MifareWriteSectorTrailer(1, kNewKeyB, 2, kFactoryKey, kFactoryKey, 1, scbs_A_ReadWrite,
                                 scbs_A_ReadWrite, scbs_A_ReadWrite, scss_A_WriteKeysConditions));
  std::string trailer;
  if (log.Call("MifareReadDataBloc 7 (factory key)",
               e.MifareReadDataBloc(7, kFactoryKey, 1, trailer))) {
    log.Check("Trailer holds the factory access bytes", trailer.substr(12, 8) == "FF078069",
              trailer.substr(12, 8));
  }
}

void DesfireJob(Encoder& e, StepLog& log) {
  log.Section("DESFire");
  std::string uid;
  log.Call("ReadSerialNumber", e.ReadSerialNumber(uid), [&] { return uid; });
  if (!log.Call("DESFireSelectRoot (factory DES key)", e.DESFireSelectRoot(kDesfireFactoryKey)))
    return;
  log.Call("DESFireFormat", e.DESFireFormat());
  Variant storage;
  log.Call("DESFireGetVersion (storage size)", e.DESFireGetVersion(dfvStorageSize, storage),
           [&] { return VariantText(storage) + " bytes"; });
  log.Call("DESFireCreateApplication A1B2C3",
           e.DESFireCreateApplication(kAppId, dfkApplDefault, 3));
  std::string apps;
  if (log.Call("DESFireGetApplications", e.DESFireGetApplications(apps), [&] { return apps; })) {
    log.Check("The application is listed", apps == kAppId, apps);
  }
  log.Call("DESFireSelectApplication (key 0, DES)",
           e.DESFireSelectApplication(kAppId, 0, kDesfireFactoryKey));
  log.Call("DESFireChangeKey 0 to a 2K3DES key",
           e.DESFireChangeKey(0, kDesfireFactoryKey, kAppMasterKey));
  if (!log.Call("DESFireSelectApplication (key 0, 2K3DES)",
                e.DESFireSelectApplication(kAppId, 0, kAppMasterKey))) {
    return;
  }

  log.Call("DESFireCreateStdDataFile 1 (128 bytes)",
           e.DESFireCreateStdDataFile(1, dfcPlain, 0, 0, 0, 0, 128));
  log.Call("DESFireCreateBackupDataFile 2 (32 bytes)",
           e.DESFireCreateBackupDataFile(2, dfcPlain, 0, 0, 0, 0, 32));
  log.Call("DESFireCreateValueFile 3 (0..10000)",
           e.DESFireCreateValueFile(3, dfcPlain, 0, 0, 0, 0, 0, 10000, 0, true));
  log.Call("DESFireCreateLinearRecordFile 4 (10 x 16)",
           e.DESFireCreateLinearRecordFile(4, dfcPlain, 0, 0, 0, 0, 16, 10));
  std::string files;
  if (log.Call("DESFireGetFileIDs", e.DESFireGetFileIDs(files), [&] { return files; })) {
    log.Check("The four files are listed", files == "1,2,3,4", files);
  }

  const std::string data = Pattern(120, 0x21);  // 120 bytes: three frames
  log.Call("DESFireWriteData 1 (120 bytes)", e.DESFireWriteData(1, 0, 0, data, true));
  std::string read;
  if (log.Call("DESFireReadData 1", e.DESFireReadData(1, 0, 120, read, true))) {
    log.Check("Data file reads back as written", Compact(read) == data,
              std::to_string(Compact(read).size() / 2) + " bytes");
  }

  const std::string note = "Printed by Lumivex";
  log.Call("DESFireWriteData 2 (backup, text)", e.DESFireWriteData(2, 0, 0, note, false));
  log.Call("DESFireCredit 3 by 500", e.DESFireCredit(3, 500));
  log.Call("DESFireDebit 3 by 120", e.DESFireDebit(3, 120));
  const std::string record = Pattern(16, 0x80);
  log.Call("DESFireWriteRecord 4", e.DESFireWriteRecord(4, 0, 0, record, true));
  log.Call("DESFireCommitTransaction", e.DESFireCommitTransaction());

  std::string backup;
  if (log.Call("DESFireReadData 2",
               e.DESFireReadData(2, 0, static_cast<std::int32_t>(note.size()), backup, false))) {
    log.Check("Backup file holds the committed text", backup == note, backup);
  }
  std::int32_t value = 0;
  if (log.Call("DESFireGetValue 3", e.DESFireGetValue(3, value),
               [&] { return std::to_string(value); })) {
    log.Check("Value is 0 + 500 - 120", value == 380, std::to_string(value));
  }
  std::string records;
  if (log.Call("DESFireReadRecords 4", e.DESFireReadRecords(4, 0, 0, records, true))) {
    log.Check("Record file holds the committed record", Compact(records) == record, records);
  }
}

enum class CardKind { MifareClassic, Desfire, Unknown };

CardKind KindOfAtr(const std::string& atr) {
  if (atr.find("80 4F 0C A0 00 00 03 06 03") != std::string::npos) return CardKind::MifareClassic;
  if (atr == "3B 81 80 01 80 80") return CardKind::Desfire;
  return CardKind::Unknown;
}

// Opens the encoder, runs the job matching the card under the antenna, closes.
void EncodeOneCard(ToolContext& context, StepLog& log) {
  Encoder& e = context.encoder();
  log.Section("Reader " + context.options().reader);
  if (!log.Call("OpenEncoder", e.OpenEncoder(0))) return;
  const bool ready = e.EncoderState() == sceReady;
  log.Check("A card is under the antenna", ready, ready ? e.ATRString() : "no card");
  if (ready) {
    switch (KindOfAtr(e.ATRString())) {
      case CardKind::MifareClassic:
        MifareJob(e, log);
        break;
      case CardKind::Desfire:
        DesfireJob(e, log);
        break;
      case CardKind::Unknown:
        log.Check("The card is a MIFARE Classic or DESFire card", false, e.ATRString());
        break;
    }
  }
  log.Call("CloseEncoder", e.CloseEncoder());
}

}  // namespace

int RunDemo(ToolContext& context, std::ostream& out) {
  const auto start = std::chrono::steady_clock::now();
  Encoder& e = context.encoder();
  StepLog log(e, out, [&context](const CError& record) { return context.FailureNote(record); });
  out << "Lumivex demo: " << e.GetInformation() << "\n";

  if (context.simulator()) {
    const std::string kind = context.options().simulate;
    for (const char* card : {"mifare1k", "desfire"}) {
      if (kind != "default" && kind != card) continue;
      std::string error;
      if (!context.InsertSimulatedCard(card, error)) {
        log.Check(std::string("Simulated ") + card + " card", false, error);
        continue;
      }
      log.Section(std::string("Simulated reader \"") + context.simulator()->readerName() +
                  "\" with a " + card + " card");
      if (!log.Call("OpenEncoder", e.OpenEncoder(0))) continue;
      if (std::string(card) == "mifare1k")
        MifareJob(e, log);
      else
        DesfireJob(e, log);
      log.Call("CloseEncoder", e.CloseEncoder());
    }
  } else {
    EncodeOneCard(context, log);
  }

  const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(
                          std::chrono::steady_clock::now() - start)
                          .count();
  char elapsed[32];
  (void)std::snprintf(elapsed, sizeof elapsed, "%.1f ms", static_cast<double>(micros) / 1000.0);
  out << "\n"
      << (log.failures() == 0 ? "Demo passed: " : "Demo FAILED: ") << log.steps() << " steps, "
      << log.failures() << " failed, " << context.pcsc().transmits() << " commands sent, "
      << elapsed << "\n";
  return log.failures() == 0 ? 0 : 1;
}

}  // namespace lumivex::cli
