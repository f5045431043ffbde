' A late-bound client of _Encoder and _CError on a simulated MIFARE Classic 1K card: one call of
' each kind VBScript makes (properties, variables passed by reference for texts, numbers, bytes and
' enumerations, a value in parentheses, optional arguments, the record object, trapped refusals).
' What each card operation does is the unit tests' business.
' Argument: the card's UID. The runner puts check.vbs and the constants of the type library
' (enums.vbs) in front of these lines: Wine's VBScript has no ExecuteGlobal to load them.
gSuite = "mifare"

Const Key = "FFFFFFFFFFFF"
Dim uid: uid = WScript.Arguments(0)
' The host's card list, which the server reads from the registry to name the card.
CreateObject("WScript.Shell").RegWrite "HKLM\Software\Pellworth Systems\Badgeline\7.0\Contactless\" & _
  "Card types\Mifare Classic 1K", "11;3B 8F 80 01 80 4F 0C A0 00 00 03 06 03 00 01;04", "REG_SZ"

Dim e, le, s, contents, rc
Set e = CreateObject("Orbanet_Lumivex_BL.Encoder")
Set le = e.LastError
Dim info: info = Split(e.GetInformation(), "|")
CheckEq UBound(info) & " " & info(2), "5 7.1.1875", "GetInformation: six fields, the version"
CheckEq e.ReaderType, "Encoder is closed", "ReaderType while closed"
Check le Is e.LastError, "LastError is the same object each time"
e.Parameters = "Device=Lumivex Simulator 0;Protocol=2"
Check InStr(e.Parameters, "Protocol=2" & vbCrLf) > 0, "Parameters put and read back"
CheckEq le.ComFunction, "Parameters", "the record names the last member"
CheckOk e.OpenEncoder(0), e, "OpenEncoder"

' ---- properties of each type ----
CheckEq e.EncoderState, sceReady, "EncoderState (an enumeration)"
CheckEq e.CardType, sceMifare1K, "CardType from the host's card list"
CheckEq e.SerialNumberLength, 4, "SerialNumberLength (a long)"
Check Left(e.ATRString, 5) = "3B 8F", "ATRString (a text): " & e.ATRString
Check InStr(e.ReaderType, "Device name: ") = 1, "ReaderType asks the reader"

' ---- texts by reference ----
s = ""
CheckOk e.ReadSerialNumber(s), e, "ReadSerialNumber"
CheckEq s, uid, "the serial number comes back in the variable"
s = "unchanged"
CheckOk e.ReadSerialNumber((s)), e, "ReadSerialNumber with the variable in parentheses"
CheckEq s, "unchanged", "a value in parentheses takes no output"
Dim retCode: retCode = ""
CheckOk e.EscapeExt("FF CA 00 00 00", s, retCode), e, "EscapeExt"
CheckEq s & " " & retCode, uid & " 9000", "two text outputs: the answer and its status word"
CheckEq e.GetResponseText("9000"), e.GetResponseText("9000", s), "GetResponseText with and without sErrorCaller"
contents = "00 11 22 33 44 55 66 77 88 99 AA BB CC DD EE FF"
CheckOk e.MifareWriteDataBloc(4, Key, 0, contents), e, "MifareWriteDataBloc"
CheckOk e.MifareWriteBytesInBloc(4, Key, 0, 3, 5, "A1B2C3"), e, "MifareWriteBytesInBloc (byte arguments)"
contents = ""
CheckOk e.MifareReadDataBloc(4, Key, 0, contents), e, "MifareReadDataBloc"
CheckEq contents, "001122A1B2C366778899AABBCCDDEEFF", "the block with bytes 3 to 5 changed"

' ---- numbers, bytes and enumerations by reference ----
Dim serial, checksum, maker
serial = Empty: checksum = CInt(0): maker = ""
CheckOk e.MifareReadManufacturerCode(Key, 0, serial, checksum, maker), e, "MifareReadManufacturerCode"
CheckEq TypeName(serial) & " " & TypeName(checksum), "Long Integer", "an empty variable gets a Long, an Integer one stays Integer"
CheckEq Len(maker), 22, "ManufacturerInfo: the rest of block 0"
Dim keysUsed, s0, s1, s2, cond, bx
CheckOk e.MifareReadSectorTrailer(1, Key, 0, keysUsed, s0, s1, s2, cond, bx), e, "MifareReadSectorTrailer"
CheckEq s0, scbs_A_ReadWrite + scbs_B_ReadWrite, "Security0 of a blank sector"
CheckEq bx, 105, "BX of a blank sector (69)"

' ---- an optional argument given and left out ----
bx = 66
CheckOk e.MifareWriteSectorTrailer(2, Key, 0, Key, Key, 1, scbs_A_ReadWrite, scbs_A_ReadWrite, _
  scbs_A_Read + scbs_A_Write, scss_A_WriteKeys + scss_A_WriteConditions, bx), e, "MifareWriteSectorTrailer with BX"
CheckOk e.WriteSectorTrailer(2, Key, 0, Key, Key, 1, scbs_A_ReadWrite, scbs_A_ReadWrite, _
  scbs_A_ReadWrite, scss_A_WriteKeysConditions), e, "WriteSectorTrailer without BX"
bx = 0
CheckOk e.ReadSectorTrailer(2, Key, 0, keysUsed, s0, s1, s2, cond, bx), e, "ReadSectorTrailer"
CheckEq bx, 66, "the BX given first, kept by the write without one"

' ---- a failure comes back through the record ----
rc = e.MifareReadDataBloc(4, "A0A1A2A3A4A5", 0, contents)
CheckEq rc, sceError, "a wrong key gives sceError"
CheckEq Hex(le.Number) & "|" & le.Description & "|" & le.ComFunction & "|" & le.LastDllError, _
  "90010F04|Encoder command failed|MifareReadDataBloc|0", "Number, Description, ComFunction, LastDllError"
Check InStr(le.RdrCommand, "SCardTransmit:") > 0 And Len(le.RdrRetCode) = 4, _
  "RdrCommand and RdrRetCode: " & le.RdrCommand & " " & le.RdrRetCode

' ---- a CError of the host's own ----
Dim own: Set own = CreateObject("Orbanet_Lumivex_BL.CError")
own.Number = 42: own.Description = "d": own.LastDllError = 7
own.ComFunction = "f": own.RdrCommand = "c": own.RdrRetCode = "6A82"
Check own.Number = 42 And own.Description = "d" And own.LastDllError = 7 And own.ComFunction = "f" _
  And own.RdrCommand = "c" And own.RdrRetCode = "6A82", "a CError created by the host keeps its six properties"
Check Not (own Is le), "and is not the Encoder's record"

' ---- wrong calls are trapped, not fatal (tests/com/dispatch_checks.cpp has every refusal) ----
On Error Resume Next
rc = e.MifareReadDataBloc(4, Key)
CheckRaises 450, "too few arguments: Err.Number 450"
rc = e.MifareReadDataBloc("four", Key, 0, contents)
CheckRaises 13, "a text for a number: Err.Number 13"
rc = e.NoSuchMember()
CheckRaises 438, "an unknown member: Err.Number 438"
On Error GoTo 0

e.CloseEncoder
CheckEq e.EncoderState, sceClosed, "CloseEncoder called as a statement, without its result"
Finish
