' The DESFire members of _Encoder, late-bound, on a simulated DESFire card: a card's life from
' the factory key to an application with every kind of file, and back.
' Argument: the card's UID. The runner puts check.vbs and the constants of the type library
' (enums.vbs) in front of these lines: Wine's VBScript has no ExecuteGlobal to load them.
gSuite = "desfire"

Const Factory = "0000000000000000"
Const AppKey = "00112233445566778899AABBCCDDEEFF"
Const App = "A1B2C3"
Dim uid: uid = WScript.Arguments(0)
Dim e, le, s, n, n2, v, rc
Set e = CreateObject("Orbanet_Lumivex_BL.Encoder")
Set le = e.LastError
e.Parameters = "Device=Lumivex Simulator 0" & vbCrLf & "Protocol=2"
CheckOk e.OpenEncoder(0), e, "OpenEncoder"
s = ""
CheckOk e.ReadSerialNumber(s), e, "ReadSerialNumber"
CheckEq s, uid, "the 7-byte UID"

' ---- card and applications ----
CheckOk e.DESFireSelectRoot(Factory), e, "DESFireSelectRoot with the factory key"
CheckOk e.DESFireFormat(), e, "DESFireFormat"
v = Empty
CheckOk e.DESFireGetVersion(dfvStorageSize, v), e, "DESFireGetVersion dfvStorageSize"
Check IsNumeric(v) And v > 0, "the storage size comes back as a number: " & v
v = Empty
CheckOk e.DESFireGetVersion(dfvAllData, v), e, "DESFireGetVersion dfvAllData"
Check IsArray(v), "all of the version as an array of bytes"
CheckOk e.DESFireCreateApplication(App, dfkApplDefault, 3), e, "DESFireCreateApplication"
CheckOk e.DESFireCreateApplication("010203", dfkApplDefault, 1), e, "a second application"
s = ""
CheckOk e.DESFireGetApplications(s), e, "DESFireGetApplications"
Check InStr(s, App) > 0 And InStr(s, "010203") > 0, "both applications are listed: " & s
CheckOk e.DESFireDeleteApplication("010203"), e, "DESFireDeleteApplication"
n = -1: n2 = -1
CheckOk e.DESFireGetKeySettings(n, n2), e, "DESFireGetKeySettings at the card's root"

' ---- keys ----
CheckOk e.DESFireSelectApplication(App, 0, Factory), e, "DESFireSelectApplication with the DES key"
CheckOk e.DESFireChangeKey(0, Factory, AppKey), e, "DESFireChangeKey 0 to a 2K3DES key"
CheckOk e.DESFireSelectApplication(App, 0, AppKey), e, "select again with the new key"
CheckOk e.DESFireChangeKey(1, Factory, AppKey), e, "DESFireChangeKey 1"
n = -1
CheckOk e.DESFireGetKeyVersion(1, n), e, "DESFireGetKeyVersion"
Check n >= 0 And n <= 255, "the key version is a byte: " & n
n = -1: n2 = -1
CheckOk e.DESFireGetKeySettings(n, n2), e, "DESFireGetKeySettings"
CheckEq n, dfkApplDefault, "KeySettings"
CheckEq n2, 3, "KeyCount"
CheckOk e.DESFireChangeKeySettings(dfkApplDefault), e, "DESFireChangeKeySettings"

' ---- files ----
CheckOk e.DESFireCreateStdDataFile(1, dfcPlain, 0, 0, 0, 0, 64), e, "DESFireCreateStdDataFile"
CheckOk e.DESFireCreateBackupDataFile(2, dfcPlain, 0, 0, 0, 0, 32), e, "DESFireCreateBackupDataFile"
CheckOk e.DESFireCreateValueFile(3, dfcPlain, 0, 0, 0, 0, -100, 10000, 10, True), e, "DESFireCreateValueFile"
CheckOk e.DESFireCreateLinearRecordFile(4, dfcPlain, 0, 0, 0, 0, 8, 4), e, "DESFireCreateLinearRecordFile"
CheckOk e.DESFireCreateCyclicRecordFile(5, dfcPlain, 0, 0, 0, 0, 8, 3), e, "DESFireCreateCyclicRecordFile"
s = ""
CheckOk e.DESFireGetFileIDs(s), e, "DESFireGetFileIDs"
CheckEq s, "1,2,3,4,5", "the five files"
s = ""
CheckOk e.DESFireGetFileSettings(1, s), e, "DESFireGetFileSettings"
Check Len(s) > 0, "file settings: " & s
CheckOk e.DESFireChangeFileSettings(1, dfcPlain, dfaAllowAll, dfaAllowAll, dfaAllowAll, 0), e, _
  "DESFireChangeFileSettings"
CheckOk e.DESFireDeleteFile(5), e, "DESFireDeleteFile"

' ---- data and records ----
CheckOk e.DESFireWriteData(1, 0, 4, "A1B2C3D4", True), e, "DESFireWriteData (hexadecimal)"
s = ""
CheckOk e.DESFireReadData(1, 0, 4, s, True), e, "DESFireReadData"
CheckEq Replace(s, " ", ""), "A1B2C3D4", "the data reads back"
' Plain text is one byte a character: two accented letters are two bytes.
Dim plain: plain = Chr(233) & Chr(252)
CheckOk e.DESFireWriteData(1, 4, 2, plain, False), e, "DESFireWriteData of accented plain text"
s = ""
CheckOk e.DESFireReadData(1, 4, 2, s, True), e, "read as hexadecimal"
CheckEq Replace(s, " ", ""), "E9FC", "one byte a character"
s = ""
CheckOk e.DESFireReadData(1, 4, 2, s, False), e, "read as plain text"
CheckEq s, plain, "the text comes back unchanged"
CheckOk e.DESFireWriteData(2, 0, 0, "Printed", False), e, "DESFireWriteData (text) to a backup file"
CheckOk e.DESFireWriteRecord(4, 0, 8, "record 1", False), e, "DESFireWriteRecord"
CheckOk e.DESFireCommitTransaction(), e, "DESFireCommitTransaction"
s = ""
CheckOk e.DESFireReadData(2, 0, 7, s, False), e, "DESFireReadData of the backup file"
CheckEq s, "Printed", "the committed text"
s = ""
CheckOk e.DESFireReadRecords(4, 0, 1, s, False), e, "DESFireReadRecords"
CheckEq s, "record 1", "the record"
CheckOk e.DESFireClearRecordFile(4), e, "DESFireClearRecordFile"
CheckOk e.DESFireAbortTransaction(), e, "DESFireAbortTransaction"

' ---- values ----
CheckOk e.DESFireCredit(3, 500), e, "DESFireCredit"
CheckOk e.DESFireDebit(3, 120), e, "DESFireDebit"
CheckOk e.DESFireCommitTransaction(), e, "commit"
n = 0
CheckOk e.DESFireGetValue(3, n), e, "DESFireGetValue"
CheckEq n, 390, "10 + 500 - 120"
CheckOk e.DESFireLimitedCredit(3, 20), e, "DESFireLimitedCredit"
CheckOk e.DESFireCommitTransaction(), e, "commit"

' ---- failures come back through the record ----
rc = e.DESFireDebit(3, 100000)
CheckEq rc, sceError, "a debit below the lower limit gives sceError"
Check le.Number <> 0 And le.ComFunction = "DESFireDebit", "the record names it: " & Hex(le.Number) & " " & le.Description
rc = e.DESFireSelectApplication("A1B2", 0, AppKey)
CheckEq rc, sceError, "an application identifier of two bytes is refused"
CheckEq le.ComFunction, "DESFireSelectApplication", "ComFunction"

' ---- and back to the factory state ----
CheckOk e.DESFireSelectRoot(Factory), e, "DESFireSelectRoot"
CheckOk e.DESFireDeleteApplication(App), e, "DESFireDeleteApplication"
CheckOk e.CloseEncoder(), e, "CloseEncoder"
Finish
