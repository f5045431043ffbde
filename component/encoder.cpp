// The Encoder facade: each member hands its work to the part of the component that does it.
#include "component/encoder.h"

#include <algorithm>

#include "component/encoder_parts.h"
#include "component/fallback_platform.h"
#include "component/parameters.h"
#include "component/texts.h"

namespace lumivex {

Encoder::Encoder(Platform platform)
    : parts_(std::make_unique<Parts>(WithFallbacks(std::move(platform)))) {
  try {
    parts_->reporting.trace.Line("--> Constructor");
    Parameters(std::string(kDefaultParameters));
    parts_->session.Identify("");
    Host& host = *parts_->platform.host;
    host.Randomize(static_cast<std::uint64_t>(host.Now().time_since_epoch().count()));
    parts_->reporting.record.Clear();
    parts_->reporting.trace.Line("<-- Constructor");
  } catch (...) {  // NOLINT(bugprone-empty-catch): the object stays closed and usable
  }
}

Encoder::~Encoder() {
  try {
    parts_->reporting.trace.Line("--> Destructor");
    parts_->session.CloseQuietly();
    parts_->reporting.trace.Line("<-- Destructor");
  } catch (...) {  // NOLINT(bugprone-empty-catch): nothing may leave a destructor
  }
}

// ---- Object, parameters, trace log, last error ----

std::string Encoder::Parameters() {
  Operation operation(parts_->reporting,
                      {.name = "Parameters", .traceName = "Get Parameters", .clearOnEntry = false});
  std::string text;
  operation.Run([&] {
    text = ParametersText(parts_->session.settings());
    return Finished(sceSuccess);
  });
  return text;
}

void Encoder::Parameters(const std::string& text) {
  Operation operation(parts_->reporting, {.name = "Parameters", .traceName = "Set Parameters"},
                      " = \"" + text + "\"");
  operation.Run([&] {
    ApplyParameters(text, parts_->session.settings());
    return Finished(sceSuccess);
  });
}

CError& Encoder::LastError() {
  return parts_->reporting.record.record();
}

void Encoder::WriteLog(const std::string& sMessage) {
  parts_->reporting.trace.Write(sMessage);
}

void Encoder::SetTraceSink(TraceSink sink) {
  parts_->reporting.trace.SetSink(std::move(sink));
}

void Encoder::SetOpenWait(std::chrono::milliseconds wait) {
  parts_->session.SetOpenWait(std::max(wait, std::chrono::milliseconds(0)));
}

// ---- Reader session ----

sceReturnCode Encoder::OpenEncoder(std::int32_t Handle) {
  return parts_->session.OpenEncoder(Handle);
}

void Encoder::ReOpenEncoder() {
  CloseEncoder();
  OpenEncoder(0);
}

sceReturnCode Encoder::CloseEncoder() {
  return parts_->session.CloseEncoder();
}

sceEncoderState Encoder::EncoderState() {
  return parts_->session.EncoderState();
}

std::string Encoder::ReaderType() {
  return parts_->session.ReaderType();
}

std::string Encoder::ATRString() {
  return parts_->session.ATRString();
}

sceReturnCode Encoder::ReadSerialNumber(std::string& SerialNumber) {
  return parts_->engine.ReadSerialNumber(SerialNumber);
}

// ---- Raw commands, texts ----

sceReturnCode Encoder::Escape(const std::string& Request, std::string& Response) {
  return parts_->engine.Escape(Request, Response);
}

sceReturnCode Encoder::EscapeExt(const std::string& Request, std::string& Response,
                                 std::string& RetCode) {
  return parts_->engine.EscapeExt(Request, Response, RetCode);
}

// sErrorCaller is part of the member's shape only: it is neither read nor changed, and nothing of
// the encoder is touched.
std::string Encoder::GetResponseText(const std::string& sErrorCode, std::string* /*sErrorCaller*/) {
  try {
    return StatusWordText(sErrorCode);
  } catch (...) {
    return {};  // only an exhausted heap gets here; no exception may reach the host
  }
}

// ---- Card identification, host information and configuration ----

std::int32_t Encoder::CardType() {
  return parts_->session.CardType();
}

std::int32_t Encoder::SerialNumberLength() {
  return parts_->session.SerialNumberLength();
}

std::string Encoder::GetInformation() {
  return parts_->host.GetInformation();
}

sceReturnCode Encoder::Configure(const std::string& Language) {
  return parts_->host.Configure(Language);
}

}  // namespace lumivex
