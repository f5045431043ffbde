' A late-bound client of the DESFire members on a simulated DESFire card: the kinds of argument
' only these members have (a variant output that is a number or an array of bytes, booleans,
' enumerations of their own, long outputs) and plain text that is one byte a character through
' the system's code page. The card's life itself is the unit tests' business.
' Argument: the card's UID. The runner puts check.vbs and the constants of the type library
' (enums.vbs) in front of these lines: Wine's VBScript has no ExecuteGlobal to load them.
gSuite = "desfire"

Const Factory = "0000000000000000"
Const App = "A1B2C3"
Dim e, s, n, n2, v
Set e = CreateObject("Orbanet_Lumivex_BL.Encoder")
e.Parameters = "Device=Lumivex Simulator 0" & vbCrLf & "Protocol=2"
CheckOk e.OpenEncoder(0), e, "OpenEncoder"
s = ""
CheckOk e.ReadSerialNumber(s), e, "ReadSerialNumber"
CheckEq s, WScript.Arguments(0), "the 7-byte UID"
CheckOk e.DESFireSelectRoot(Factory), e, "DESFireSelectRoot with the factory key"
CheckOk e.DESFireFormat(), e, "DESFireFormat"

' ---- a variant output: a number, then an array of bytes ----
v = Empty
CheckOk e.DESFireGetVersion(dfvStorageSize, v), e, "DESFireGetVersion dfvStorageSize"
Check IsNumeric(v) And v > 0, "the storage size comes back as a number: " & v
v = Empty
CheckOk e.DESFireGetVersion(dfvAllData, v), e, "DESFireGetVersion dfvAllData"
CheckEq VarType(v), vbArray + vbByte, "all of the version as an array of bytes"

' ---- enumerations in, longs out ----
CheckOk e.DESFireCreateApplication(App, dfkApplDefault, 3), e, "DESFireCreateApplication"
CheckOk e.DESFireSelectApplication(App, 0, Factory), e, "DESFireSelectApplication"
n = -1: n2 = -1
CheckOk e.DESFireGetKeySettings(n, n2), e, "DESFireGetKeySettings"
CheckEq n & " " & n2, dfkApplDefault & " 3", "KeySettings and KeyCount"

' ---- booleans: a value file with limited credit, data as hexadecimal or plain text ----
CheckOk e.DESFireCreateValueFile(3, dfcPlain, 0, 0, 0, 0, -100, 10000, 10, True), e, "DESFireCreateValueFile"
n = 0
CheckOk e.DESFireGetValue(3, n), e, "DESFireGetValue"
CheckEq n, 10, "the initial value"
CheckOk e.DESFireCreateStdDataFile(1, dfcPlain, 0, 0, 0, 0, 8), e, "DESFireCreateStdDataFile"
' Plain text is one byte a character: two accented letters are two bytes.
Dim plain: plain = Chr(233) & Chr(252)
CheckOk e.DESFireWriteData(1, 0, 2, plain, False), e, "DESFireWriteData of accented plain text"
s = ""
CheckOk e.DESFireReadData(1, 0, 2, s, True), e, "read as hexadecimal"
CheckEq Replace(s, " ", ""), "E9FC", "one byte a character"
s = ""
CheckOk e.DESFireReadData(1, 0, 2, s, False), e, "read as plain text"
CheckEq s, plain, "the text comes back unchanged"

CheckOk e.CloseEncoder(), e, "CloseEncoder"
Finish
