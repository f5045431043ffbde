// The vtable of _Encoder for early-bound clients: each method hands its typed arguments to the
// member of the same name in the surface's table (see typed_call.h), as IDispatch::Invoke does.
#include "com/encoder_object.h"

namespace lumivex::com {

HRESULT STDMETHODCALLTYPE EncoderObject::WriteLog(BSTR sMessage) {
  return Run("WriteLog", nullptr, sMessage);
}

HRESULT STDMETHODCALLTYPE EncoderObject::OpenEncoder(LONG Handle, ::sceReturnCode* Result) {
  return Run("OpenEncoder", Result, Handle);
}

HRESULT STDMETHODCALLTYPE EncoderObject::ReOpenEncoder() {
  return Run("ReOpenEncoder", nullptr);
}

HRESULT STDMETHODCALLTYPE EncoderObject::CloseEncoder(::sceReturnCode* Result) {
  return Run("CloseEncoder", Result);
}

HRESULT STDMETHODCALLTYPE EncoderObject::ReadSerialNumber(BSTR* SerialNumber,
                                                          ::sceReturnCode* Result) {
  return Run("ReadSerialNumber", Result, SerialNumber);
}

HRESULT STDMETHODCALLTYPE EncoderObject::Escape(BSTR Request, BSTR* Response,
                                                ::sceReturnCode* Result) {
  return Run("Escape", Result, Request, Response);
}

HRESULT STDMETHODCALLTYPE EncoderObject::EscapeExt(BSTR Request, BSTR* Response, BSTR* RetCode,
                                                   ::sceReturnCode* Result) {
  return Run("EscapeExt", Result, Request, Response, RetCode);
}

HRESULT STDMETHODCALLTYPE EncoderObject::GetResponseText(BSTR sErrorCode, VARIANT* sErrorCaller,
                                                         BSTR* Result) {
  return Run("GetResponseText", Result, sErrorCode, sErrorCaller);
}

HRESULT STDMETHODCALLTYPE EncoderObject::GetInformation(BSTR* Result) {
  return Run("GetInformation", Result);
}

HRESULT STDMETHODCALLTYPE EncoderObject::Configure(BSTR Language, ::sceReturnCode* Result) {
  return Run("Configure", Result, Language);
}

HRESULT STDMETHODCALLTYPE EncoderObject::ReadDataBloc(LONG BlocNumber, BSTR Key,
                                                      unsigned char KeyType, BSTR* BlocContents,
                                                      ::sceReturnCode* Result) {
  return Run("ReadDataBloc", Result, BlocNumber, Key, KeyType, BlocContents);
}

HRESULT STDMETHODCALLTYPE EncoderObject::ReadManufacturerCode(BSTR Key, unsigned char KeyType,
                                                              LONG* SerialNumber,
                                                              unsigned char* CheckSum,
                                                              BSTR* ManufacturerInfo,
                                                              ::sceReturnCode* Result) {
  return Run("ReadManufacturerCode", Result, Key, KeyType, SerialNumber, CheckSum,
             ManufacturerInfo);
}

HRESULT STDMETHODCALLTYPE EncoderObject::WriteDataBloc(LONG BlocNumber, BSTR Key,
                                                       unsigned char KeyType, BSTR* BlocContents,
                                                       ::sceReturnCode* Result) {
  return Run("WriteDataBloc", Result, BlocNumber, Key, KeyType, BlocContents);
}

HRESULT STDMETHODCALLTYPE EncoderObject::WriteBytesInBloc(LONG BlocNumber, BSTR Key,
                                                          unsigned char KeyType,
                                                          unsigned char FromByte,
                                                          unsigned char ToByte, BSTR* BlocContents,
                                                          ::sceReturnCode* Result) {
  return Run("WriteBytesInBloc", Result, BlocNumber, Key, KeyType, FromByte, ToByte, BlocContents);
}

HRESULT STDMETHODCALLTYPE EncoderObject::MifareReadDataBloc(LONG BlocNumber, BSTR Key,
                                                            unsigned char KeyType,
                                                            BSTR* BlocContents,
                                                            ::sceReturnCode* Result) {
  return Run("MifareReadDataBloc", Result, BlocNumber, Key, KeyType, BlocContents);
}

HRESULT STDMETHODCALLTYPE EncoderObject::MifareReadManufacturerCode(BSTR Key, unsigned char KeyType,
                                                                    LONG* SerialNumber,
                                                                    unsigned char* CheckSum,
                                                                    BSTR* ManufacturerInfo,
                                                                    ::sceReturnCode* Result) {
  return Run("MifareReadManufacturerCode", Result, Key, KeyType, SerialNumber, CheckSum,
             ManufacturerInfo);
}

HRESULT STDMETHODCALLTYPE EncoderObject::MifareWriteDataBloc(LONG BlocNumber, BSTR Key,
                                                             unsigned char KeyType,
                                                             BSTR* BlocContents,
                                                             ::sceReturnCode* Result) {
  return Run("MifareWriteDataBloc", Result, BlocNumber, Key, KeyType, BlocContents);
}

HRESULT STDMETHODCALLTYPE EncoderObject::MifareWriteBytesInBloc(
    LONG BlocNumber, BSTR Key, unsigned char KeyType, unsigned char FromByte, unsigned char ToByte,
    BSTR* BlocContents, ::sceReturnCode* Result) {
  return Run("MifareWriteBytesInBloc", Result, BlocNumber, Key, KeyType, FromByte, ToByte,
             BlocContents);
}

HRESULT STDMETHODCALLTYPE EncoderObject::WriteValueBloc(LONG BlocNumber, BSTR Key,
                                                        unsigned char KeyType, LONG Value,
                                                        ::sceReturnCode* Result) {
  return Run("WriteValueBloc", Result, BlocNumber, Key, KeyType, Value);
}

HRESULT STDMETHODCALLTYPE EncoderObject::ReadSectorTrailer(
    LONG SectorNumber, BSTR Key, unsigned char KeyType, unsigned char* KeysUsed,
    ::SCBS_SecurityLevelEnum* Security0, ::SCBS_SecurityLevelEnum* Security1,
    ::SCBS_SecurityLevelEnum* Security2, ::SCSS_SecurityLevelEnum* Conditions, unsigned char* BX,
    ::sceReturnCode* Result) {
  return Run("ReadSectorTrailer", Result, SectorNumber, Key, KeyType, KeysUsed, Security0,
             Security1, Security2, Conditions, BX);
}

HRESULT STDMETHODCALLTYPE EncoderObject::WriteSectorTrailer(
    LONG SectorNumber, BSTR Key, unsigned char KeyType, BSTR KeyA, BSTR KeyB,
    unsigned char KeysToUse, ::SCBS_SecurityLevelEnum Security0, ::SCBS_SecurityLevelEnum Security1,
    ::SCBS_SecurityLevelEnum Security2, ::SCSS_SecurityLevelEnum Conditions, VARIANT* BX,
    ::sceReturnCode* Result) {
  return Run("WriteSectorTrailer", Result, SectorNumber, Key, KeyType, KeyA, KeyB, KeysToUse,
             Security0, Security1, Security2, Conditions, BX);
}

HRESULT STDMETHODCALLTYPE EncoderObject::MifareWriteValueBloc(LONG BlocNumber, BSTR Key,
                                                              unsigned char KeyType, LONG Value,
                                                              ::sceReturnCode* Result) {
  return Run("MifareWriteValueBloc", Result, BlocNumber, Key, KeyType, Value);
}

HRESULT STDMETHODCALLTYPE EncoderObject::MifareReadSectorTrailer(
    LONG SectorNumber, BSTR Key, unsigned char KeyType, unsigned char* KeysUsed,
    ::SCBS_SecurityLevelEnum* Security0, ::SCBS_SecurityLevelEnum* Security1,
    ::SCBS_SecurityLevelEnum* Security2, ::SCSS_SecurityLevelEnum* Conditions, unsigned char* BX,
    ::sceReturnCode* Result) {
  return Run("MifareReadSectorTrailer", Result, SectorNumber, Key, KeyType, KeysUsed, Security0,
             Security1, Security2, Conditions, BX);
}

HRESULT STDMETHODCALLTYPE EncoderObject::MifareWriteSectorTrailer(
    LONG SectorNumber, BSTR Key, unsigned char KeyType, BSTR KeyA, BSTR KeyB,
    unsigned char KeysToUse, ::SCBS_SecurityLevelEnum Security0, ::SCBS_SecurityLevelEnum Security1,
    ::SCBS_SecurityLevelEnum Security2, ::SCSS_SecurityLevelEnum Conditions, VARIANT* BX,
    ::sceReturnCode* Result) {
  return Run("MifareWriteSectorTrailer", Result, SectorNumber, Key, KeyType, KeyA, KeyB, KeysToUse,
             Security0, Security1, Security2, Conditions, BX);
}

HRESULT STDMETHODCALLTYPE EncoderObject::SetAccessCondition(LONG AccessConditionNumber,
                                                            BSTR NewValue) {
  return Run("SetAccessCondition", nullptr, AccessConditionNumber, NewValue);
}

HRESULT STDMETHODCALLTYPE EncoderObject::MifareSetAccessCondition(LONG AccessConditionNumber,
                                                                  BSTR NewValue) {
  return Run("MifareSetAccessCondition", nullptr, AccessConditionNumber, NewValue);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireSelectRoot(BSTR KeyValue, ::sceReturnCode* Result) {
  return Run("DESFireSelectRoot", Result, KeyValue);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireSelectApplication(BSTR ApplicationId,
                                                                  LONG KeyNumber, BSTR KeyValue,
                                                                  ::sceReturnCode* Result) {
  return Run("DESFireSelectApplication", Result, ApplicationId, KeyNumber, KeyValue);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireFormat(::sceReturnCode* Result) {
  return Run("DESFireFormat", Result);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireCreateApplication(BSTR ApplicationId,
                                                                  ::DesfireKeySettings KeySettings,
                                                                  LONG NumOfKeys,
                                                                  ::sceReturnCode* Result) {
  return Run("DESFireCreateApplication", Result, ApplicationId, KeySettings, NumOfKeys);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireDeleteApplication(BSTR ApplicationId,
                                                                  ::sceReturnCode* Result) {
  return Run("DESFireDeleteApplication", Result, ApplicationId);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireGetApplications(BSTR* Applications,
                                                                ::sceReturnCode* Result) {
  return Run("DESFireGetApplications", Result, Applications);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireGetVersion(
    ::DesfireVersionBytes RequestedInformation, VARIANT* Information, ::sceReturnCode* Result) {
  return Run("DESFireGetVersion", Result, RequestedInformation, Information);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireChangeKey(LONG KeyNumber, BSTR OldKey, BSTR NewKey,
                                                          ::sceReturnCode* Result) {
  return Run("DESFireChangeKey", Result, KeyNumber, OldKey, NewKey);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireGetKeyVersion(LONG KeyNumber, LONG* KeyVersion,
                                                              ::sceReturnCode* Result) {
  return Run("DESFireGetKeyVersion", Result, KeyNumber, KeyVersion);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireGetKeySettings(LONG* KeySettings, LONG* KeyCount,
                                                               ::sceReturnCode* Result) {
  return Run("DESFireGetKeySettings", Result, KeySettings, KeyCount);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireChangeKeySettings(::DesfireKeySettings KeySettings,
                                                                  ::sceReturnCode* Result) {
  return Run("DESFireChangeKeySettings", Result, KeySettings);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireGetFileIDs(BSTR* FileIds, ::sceReturnCode* Result) {
  return Run("DESFireGetFileIDs", Result, FileIds);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireCreateStdDataFile(
    LONG FileNumber, LONG CommunicationSettings, LONG KeyRead, LONG KeyWrite, LONG KeyReadWrite,
    LONG KeyManage, LONG FileSize, ::sceReturnCode* Result) {
  return Run("DESFireCreateStdDataFile", Result, FileNumber, CommunicationSettings, KeyRead,
             KeyWrite, KeyReadWrite, KeyManage, FileSize);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireCreateBackupDataFile(
    LONG FileNumber, LONG CommunicationSettings, LONG KeyRead, LONG KeyWrite, LONG KeyReadWrite,
    LONG KeyManage, LONG FileSize, ::sceReturnCode* Result) {
  return Run("DESFireCreateBackupDataFile", Result, FileNumber, CommunicationSettings, KeyRead,
             KeyWrite, KeyReadWrite, KeyManage, FileSize);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireCreateValueFile(
    LONG FileNumber, LONG CommunicationSettings, LONG KeyRead, LONG KeyWrite, LONG KeyReadWrite,
    LONG KeyManage, LONG LowerLimit, LONG UpperLimit, LONG InitialValue,
    VARIANT_BOOL LimitedCreditEnabled, ::sceReturnCode* Result) {
  return Run("DESFireCreateValueFile", Result, FileNumber, CommunicationSettings, KeyRead, KeyWrite,
             KeyReadWrite, KeyManage, LowerLimit, UpperLimit, InitialValue, LimitedCreditEnabled);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireCreateLinearRecordFile(
    LONG FileNumber, LONG CommunicationSettings, LONG KeyRead, LONG KeyWrite, LONG KeyReadWrite,
    LONG KeyManage, LONG RecordSize, LONG MaxNumOfRecords, ::sceReturnCode* Result) {
  return Run("DESFireCreateLinearRecordFile", Result, FileNumber, CommunicationSettings, KeyRead,
             KeyWrite, KeyReadWrite, KeyManage, RecordSize, MaxNumOfRecords);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireCreateCyclicRecordFile(
    LONG FileNumber, LONG CommunicationSettings, LONG KeyRead, LONG KeyWrite, LONG KeyReadWrite,
    LONG KeyManage, LONG RecordSize, LONG MaxNumOfRecords, ::sceReturnCode* Result) {
  return Run("DESFireCreateCyclicRecordFile", Result, FileNumber, CommunicationSettings, KeyRead,
             KeyWrite, KeyReadWrite, KeyManage, RecordSize, MaxNumOfRecords);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireDeleteFile(LONG FileNumber,
                                                           ::sceReturnCode* Result) {
  return Run("DESFireDeleteFile", Result, FileNumber);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireGetFileSettings(LONG FileNo, BSTR* Information,
                                                                ::sceReturnCode* Result) {
  return Run("DESFireGetFileSettings", Result, FileNo, Information);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireChangeFileSettings(
    LONG FileNo, LONG CommunicationSettings, LONG KeyRead, LONG KeyWrite, LONG KeyReadWrite,
    LONG KeyManage, ::sceReturnCode* Result) {
  return Run("DESFireChangeFileSettings", Result, FileNo, CommunicationSettings, KeyRead, KeyWrite,
             KeyReadWrite, KeyManage);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireWriteData(LONG FileNo, LONG Offset, LONG Length,
                                                          BSTR DataString,
                                                          VARIANT_BOOL IsDataHexaString,
                                                          ::sceReturnCode* Result) {
  return Run("DESFireWriteData", Result, FileNo, Offset, Length, DataString, IsDataHexaString);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireReadData(LONG FileNo, LONG Offset, LONG Length,
                                                         BSTR* DataString,
                                                         VARIANT_BOOL IsDataHexaString,
                                                         ::sceReturnCode* Result) {
  return Run("DESFireReadData", Result, FileNo, Offset, Length, DataString, IsDataHexaString);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireWriteRecord(LONG FileNo, LONG Offset, LONG Length,
                                                            BSTR DataString,
                                                            VARIANT_BOOL IsDataHexaString,
                                                            ::sceReturnCode* Result) {
  return Run("DESFireWriteRecord", Result, FileNo, Offset, Length, DataString, IsDataHexaString);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireReadRecords(LONG FileNo, LONG Offset, LONG Length,
                                                            BSTR* DataString,
                                                            VARIANT_BOOL IsDataHexaString,
                                                            ::sceReturnCode* Result) {
  return Run("DESFireReadRecords", Result, FileNo, Offset, Length, DataString, IsDataHexaString);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireClearRecordFile(LONG FileNo,
                                                                ::sceReturnCode* Result) {
  return Run("DESFireClearRecordFile", Result, FileNo);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireGetValue(LONG FileNo, LONG* ValueData,
                                                         ::sceReturnCode* Result) {
  return Run("DESFireGetValue", Result, FileNo, ValueData);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireDebit(LONG FileNo, LONG Amount,
                                                      ::sceReturnCode* Result) {
  return Run("DESFireDebit", Result, FileNo, Amount);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireCredit(LONG FileNo, LONG Amount,
                                                       ::sceReturnCode* Result) {
  return Run("DESFireCredit", Result, FileNo, Amount);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireLimitedCredit(LONG FileNo, LONG Amount,
                                                              ::sceReturnCode* Result) {
  return Run("DESFireLimitedCredit", Result, FileNo, Amount);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireCommitTransaction(::sceReturnCode* Result) {
  return Run("DESFireCommitTransaction", Result);
}

HRESULT STDMETHODCALLTYPE EncoderObject::DESFireAbortTransaction(::sceReturnCode* Result) {
  return Run("DESFireAbortTransaction", Result);
}
}  // namespace lumivex::com
