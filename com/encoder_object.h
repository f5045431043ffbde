// The COM class Encoder: the component's Encoder behind the dual interface _Encoder. Late-bound
// calls (IDispatch::Invoke) and early-bound calls (the vtable) both run the member tables of the
// surface, so the two paths behave the same; the object adds no card behaviour of its own.
#pragma once

#include <memory>

#include "Orbanet_Lumivex_BL.h"
#include "com/dual_object.h"
#include "com/error_record_object.h"
#include "com/typed_call.h"
#include "component/encoder.h"
#include "component/surface/member_info.h"

namespace lumivex::com {

class EncoderObject final : public DualObject<::_Encoder, surface::MemberInfo> {
 public:
  EncoderObject();
  ~EncoderObject() override;
  EncoderObject(const EncoderObject&) = delete;
  EncoderObject& operator=(const EncoderObject&) = delete;

  HRESULT STDMETHODCALLTYPE get_Parameters(BSTR* Value) override;
  HRESULT STDMETHODCALLTYPE put_Parameters(BSTR Value) override;
  HRESULT STDMETHODCALLTYPE get_LastError(::_CError** Value) override;
  HRESULT STDMETHODCALLTYPE WriteLog(BSTR sMessage) override;
  HRESULT STDMETHODCALLTYPE OpenEncoder(LONG Handle, ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE ReOpenEncoder() override;
  HRESULT STDMETHODCALLTYPE CloseEncoder(::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE get_EncoderState(::sceEncoderState* Value) override;
  HRESULT STDMETHODCALLTYPE get_ReaderType(BSTR* Value) override;
  HRESULT STDMETHODCALLTYPE get_ATRString(BSTR* Value) override;
  HRESULT STDMETHODCALLTYPE ReadSerialNumber(BSTR* SerialNumber, ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE Escape(BSTR Request, BSTR* Response, ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE EscapeExt(BSTR Request, BSTR* Response, BSTR* RetCode,
                                      ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE GetResponseText(BSTR sErrorCode, VARIANT* sErrorCaller,
                                            BSTR* Result) override;
  HRESULT STDMETHODCALLTYPE get_CardType(::sceCardTypes* Value) override;
  HRESULT STDMETHODCALLTYPE get_SerialNumberLength(LONG* Value) override;
  HRESULT STDMETHODCALLTYPE GetInformation(BSTR* Result) override;
  HRESULT STDMETHODCALLTYPE Configure(BSTR Language, ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE ReadDataBloc(LONG BlocNumber, BSTR Key, unsigned char KeyType,
                                         BSTR* BlocContents, ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE ReadManufacturerCode(BSTR Key, unsigned char KeyType,
                                                 LONG* SerialNumber, unsigned char* CheckSum,
                                                 BSTR* ManufacturerInfo,
                                                 ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE WriteDataBloc(LONG BlocNumber, BSTR Key, unsigned char KeyType,
                                          BSTR* BlocContents, ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE WriteBytesInBloc(LONG BlocNumber, BSTR Key, unsigned char KeyType,
                                             unsigned char FromByte, unsigned char ToByte,
                                             BSTR* BlocContents, ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE MifareReadDataBloc(LONG BlocNumber, BSTR Key, unsigned char KeyType,
                                               BSTR* BlocContents,
                                               ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE MifareReadManufacturerCode(BSTR Key, unsigned char KeyType,
                                                       LONG* SerialNumber, unsigned char* CheckSum,
                                                       BSTR* ManufacturerInfo,
                                                       ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE MifareWriteDataBloc(LONG BlocNumber, BSTR Key, unsigned char KeyType,
                                                BSTR* BlocContents,
                                                ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE MifareWriteBytesInBloc(LONG BlocNumber, BSTR Key, unsigned char KeyType,
                                                   unsigned char FromByte, unsigned char ToByte,
                                                   BSTR* BlocContents,
                                                   ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE WriteValueBloc(LONG BlocNumber, BSTR Key, unsigned char KeyType,
                                           LONG Value, ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE ReadSectorTrailer(LONG SectorNumber, BSTR Key, unsigned char KeyType,
                                              unsigned char* KeysUsed,
                                              ::SCBS_SecurityLevelEnum* Security0,
                                              ::SCBS_SecurityLevelEnum* Security1,
                                              ::SCBS_SecurityLevelEnum* Security2,
                                              ::SCSS_SecurityLevelEnum* Conditions,
                                              unsigned char* BX, ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE WriteSectorTrailer(LONG SectorNumber, BSTR Key, unsigned char KeyType,
                                               BSTR KeyA, BSTR KeyB, unsigned char KeysToUse,
                                               ::SCBS_SecurityLevelEnum Security0,
                                               ::SCBS_SecurityLevelEnum Security1,
                                               ::SCBS_SecurityLevelEnum Security2,
                                               ::SCSS_SecurityLevelEnum Conditions, VARIANT* BX,
                                               ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE MifareWriteValueBloc(LONG BlocNumber, BSTR Key, unsigned char KeyType,
                                                 LONG Value, ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE MifareReadSectorTrailer(
      LONG SectorNumber, BSTR Key, unsigned char KeyType, unsigned char* KeysUsed,
      ::SCBS_SecurityLevelEnum* Security0, ::SCBS_SecurityLevelEnum* Security1,
      ::SCBS_SecurityLevelEnum* Security2, ::SCSS_SecurityLevelEnum* Conditions, unsigned char* BX,
      ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE MifareWriteSectorTrailer(
      LONG SectorNumber, BSTR Key, unsigned char KeyType, BSTR KeyA, BSTR KeyB,
      unsigned char KeysToUse, ::SCBS_SecurityLevelEnum Security0,
      ::SCBS_SecurityLevelEnum Security1, ::SCBS_SecurityLevelEnum Security2,
      ::SCSS_SecurityLevelEnum Conditions, VARIANT* BX, ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE SetAccessCondition(LONG AccessConditionNumber, BSTR NewValue) override;
  HRESULT STDMETHODCALLTYPE MifareSetAccessCondition(LONG AccessConditionNumber,
                                                     BSTR NewValue) override;
  HRESULT STDMETHODCALLTYPE DESFireSelectRoot(BSTR KeyValue, ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireSelectApplication(BSTR ApplicationId, LONG KeyNumber,
                                                     BSTR KeyValue,
                                                     ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireFormat(::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireCreateApplication(BSTR ApplicationId,
                                                     ::DesfireKeySettings KeySettings,
                                                     LONG NumOfKeys,
                                                     ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireDeleteApplication(BSTR ApplicationId,
                                                     ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireGetApplications(BSTR* Applications,
                                                   ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireGetVersion(::DesfireVersionBytes RequestedInformation,
                                              VARIANT* Information,
                                              ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireChangeKey(LONG KeyNumber, BSTR OldKey, BSTR NewKey,
                                             ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireGetKeyVersion(LONG KeyNumber, LONG* KeyVersion,
                                                 ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireGetKeySettings(LONG* KeySettings, LONG* KeyCount,
                                                  ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireChangeKeySettings(::DesfireKeySettings KeySettings,
                                                     ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireGetFileIDs(BSTR* FileIds, ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireCreateStdDataFile(LONG FileNumber, LONG CommunicationSettings,
                                                     LONG KeyRead, LONG KeyWrite, LONG KeyReadWrite,
                                                     LONG KeyManage, LONG FileSize,
                                                     ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireCreateBackupDataFile(LONG FileNumber, LONG CommunicationSettings,
                                                        LONG KeyRead, LONG KeyWrite,
                                                        LONG KeyReadWrite, LONG KeyManage,
                                                        LONG FileSize,
                                                        ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireCreateValueFile(LONG FileNumber, LONG CommunicationSettings,
                                                   LONG KeyRead, LONG KeyWrite, LONG KeyReadWrite,
                                                   LONG KeyManage, LONG LowerLimit, LONG UpperLimit,
                                                   LONG InitialValue,
                                                   VARIANT_BOOL LimitedCreditEnabled,
                                                   ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireCreateLinearRecordFile(
      LONG FileNumber, LONG CommunicationSettings, LONG KeyRead, LONG KeyWrite, LONG KeyReadWrite,
      LONG KeyManage, LONG RecordSize, LONG MaxNumOfRecords, ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireCreateCyclicRecordFile(
      LONG FileNumber, LONG CommunicationSettings, LONG KeyRead, LONG KeyWrite, LONG KeyReadWrite,
      LONG KeyManage, LONG RecordSize, LONG MaxNumOfRecords, ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireDeleteFile(LONG FileNumber, ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireGetFileSettings(LONG FileNo, BSTR* Information,
                                                   ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireChangeFileSettings(LONG FileNo, LONG CommunicationSettings,
                                                      LONG KeyRead, LONG KeyWrite,
                                                      LONG KeyReadWrite, LONG KeyManage,
                                                      ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireWriteData(LONG FileNo, LONG Offset, LONG Length, BSTR DataString,
                                             VARIANT_BOOL IsDataHexaString,
                                             ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireReadData(LONG FileNo, LONG Offset, LONG Length, BSTR* DataString,
                                            VARIANT_BOOL IsDataHexaString,
                                            ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireWriteRecord(LONG FileNo, LONG Offset, LONG Length,
                                               BSTR DataString, VARIANT_BOOL IsDataHexaString,
                                               ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireReadRecords(LONG FileNo, LONG Offset, LONG Length,
                                               BSTR* DataString, VARIANT_BOOL IsDataHexaString,
                                               ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireClearRecordFile(LONG FileNo, ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireGetValue(LONG FileNo, LONG* ValueData,
                                            ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireDebit(LONG FileNo, LONG Amount,
                                         ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireCredit(LONG FileNo, LONG Amount,
                                          ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireLimitedCredit(LONG FileNo, LONG Amount,
                                                 ::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireCommitTransaction(::sceReturnCode* Result) override;
  HRESULT STDMETHODCALLTYPE DESFireAbortTransaction(::sceReturnCode* Result) override;

 private:
  HRESULT InvokeMember(const surface::MemberInfo& member, const InvokeRequest& request) override;
  // The record object, created on first use and the same object ever after.
  ErrorRecordObject& LastErrorObject();
  HRESULT GetText(const char* property, BSTR* value);
  // A number property, given as the type of the vtable getter (LONG or an enumeration).
  template <typename Number>
  HRESULT GetNumber(const char* property, Number* value);
  template <typename Result, typename... Args>
  HRESULT Run(const char* member, Result result, Args... args) {
    const KeepAlive alive(static_cast<::_Encoder*>(this));
    return Reported(typed::Call(*encoder_, member, result, args...));
  }
  HRESULT Reported(HRESULT hr);

  std::unique_ptr<Encoder> encoder_;
  ComPtr<ErrorRecordObject> lastError_;
};

}  // namespace lumivex::com
