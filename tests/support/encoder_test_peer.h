// Tests reach the Encoder's private routines and state through this peer (a friend of Encoder).
#pragma once

#include <string>
#include <vector>

#include "component/encoder.h"

namespace lumivex {

struct EncoderTestPeer {
  // What one EncoderCommand call gave back.
  struct Outcome {
    sceReturnCode result;
    std::string response;
    std::string statusWord;
  };

  // ---- Command engine ----
  static sceReturnCode EncoderCommand(Encoder& e, std::int32_t command,
                                      const std::vector<std::string>& params, std::string& response,
                                      std::string& statusWord, bool& autoContinue) {
    return e.EncoderCommand(command, params, response, statusWord, autoContinue);
  }
  static Outcome Command(Encoder& e, std::int32_t command,
                         const std::vector<std::string>& params = {}, bool autoContinue = false) {
    Outcome out{sceError, "", ""};
    out.result = e.EncoderCommand(command, params, out.response, out.statusWord, autoContinue);
    return out;
  }
  static const std::string& LastStatusWord(const Encoder& e) { return e.lastStatusWord_; }

  // ---- Session ----
  static sceReturnCode OpenEncoderCore(Encoder& e, std::int32_t handle, bool reportFailure) {
    return e.OpenEncoderCore(handle, reportFailure);
  }
  static sceReturnCode SelectCardInRange(Encoder& e) { return e.SelectCardInRange(); }
  static void CloseEncoderQuietly(Encoder& e) { e.CloseEncoderQuietly(); }
  static std::string ReaderGetAttr(Encoder& e, const std::string& pattern, PcscDword id, int kind) {
    return e.ReaderGetAttr(pattern, id, kind);
  }
  static void LetATRString(Encoder& e, const std::string& atr) { e.LetATRString(atr); }
  static PcscContext Context(const Encoder& e) { return e.hContext_; }
  static PcscHandle Card(const Encoder& e) { return e.hCard_; }
  static const std::string& Device(const Encoder& e) { return e.device_; }
  static std::int32_t Protocol(const Encoder& e) { return e.protocol_; }
  static bool ForceReconnect(const Encoder& e) { return e.forceReconnect_; }
  static std::chrono::milliseconds OpenWait(const Encoder& e) { return e.openWait_; }

  // ---- Last error, trace, secrets, cipher ----
  static void SetLastError(Encoder& e, const ErrorFields& fields) { e.SetLastError(fields); }
  static void ClearLastError(Encoder& e, const std::string& comFunction = "") {
    e.ClearLastError(comFunction);
  }
  static void FinishLastError(Encoder& e, const std::string& name) { e.FinishLastError(name); }
  static void Trace(Encoder& e, const std::string& line) { e.Trace(line); }
  static void RememberSecret(Encoder& e, const std::string& hex) { e.RememberSecret(hex); }
  static std::size_t SecretCount(const Encoder& e) { return e.secrets_.size(); }
  static crypto::DES& Des(Encoder& e) { return e.Des(); }

  // ---- MIFARE ----
  static sceReturnCode MifareAuthenticate(Encoder& e, std::uint8_t keyType, std::int32_t bloc,
                                          const std::string& key) {
    return e.MifareAuthenticate(keyType, bloc, key);
  }
  static std::string NormaliseMifareKey(Encoder& e, const std::string& key) {
    return e.NormaliseMifareKey(key);
  }
  static std::vector<std::int32_t>& ValueBlocs(Encoder& e) { return e.valueBlocs_; }
  static std::array<std::string, 10>& AccessConditions(Encoder& e) { return e.accessConditions_; }

  // ---- DESFire ----
  static bool IsAuthenticated(const Encoder& e) { return e.DESFireIsAuthenticated(); }
  static bool AtRoot(const Encoder& e) { return e.DESFireAtRoot(); }
  static std::string& ApplicationId(Encoder& e) { return e.desfireApplicationId_; }
  static std::int32_t& KeyNumber(Encoder& e) { return e.desfireKeyNumber_; }
  static std::string& SessionKey(Encoder& e) { return e.desfireSessionKey_; }
  static std::vector<std::uint8_t>& VersionCache(Encoder& e) { return e.desfireVersion_; }
  static std::string Encipher(Encoder& e,
                              const std::vector<std::pair<std::string, std::string>>& rows) {
    return e.DESFireEncipher(rows);
  }
  static sceReturnCode GetFileCharacteristics(Encoder& e, std::int32_t fileNo,
                                              std::int32_t& fileType, std::int32_t& comm) {
    return e.DESFireGetFileCharacteristics(fileNo, fileType, comm);
  }
  static sceReturnCode FramedSend(Encoder& e, std::int32_t command, const std::string& header,
                                  const std::string& payload,
                                  const std::vector<std::int32_t>& allowedTypes,
                                  std::int32_t fileNo, const std::string& caller) {
    return e.DESFireFramedSend(command, header, payload, allowedTypes, fileNo, caller);
  }
  static sceReturnCode FramedReceive(Encoder& e, std::int32_t command,
                                     const std::vector<std::string>& params,
                                     const std::vector<std::int32_t>& allowedTypes,
                                     std::int32_t fileNo, const std::string& caller,
                                     std::string& answer) {
    return e.DESFireFramedReceive(command, params, allowedTypes, fileNo, caller, answer);
  }
  static void WipeDesfireSession(Encoder& e) { e.WipeDesfireSession(); }
};

}  // namespace lumivex
