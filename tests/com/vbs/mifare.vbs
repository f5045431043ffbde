' The session, text and MIFARE Classic members of _Encoder and the CError properties, late-bound,
' on a simulated MIFARE Classic 1K card.
' Argument: the card's UID. The runner puts check.vbs and the constants of the type library
' (enums.vbs) in front of these lines: Wine's VBScript has no ExecuteGlobal to load them.
gSuite = "mifare"

Const Key = "FFFFFFFFFFFF"
Const Reader = "Lumivex Simulator 0"
Dim uid: uid = WScript.Arguments(0)
Dim shell: Set shell = CreateObject("WScript.Shell")
Dim cardList: cardList = "HKLM\Software\Pellworth Systems\Badgeline\7.0\Contactless\Card types\"
shell.RegWrite cardList & "Mifare Classic 1K", "11;3B 8F 80 01 80 4F 0C A0 00 00 03 06 03 00 01;04", "REG_SZ"

Dim e, le, le2, rc, s, n, b, text, info
Set e = CreateObject("Orbanet_Lumivex_BL.Encoder")

' ---- object, parameters, record ----
info = Split(e.GetInformation(), "|")
CheckEq UBound(info), 5, "GetInformation has six fields"
CheckEq info(2), "7.1.1875", "GetInformation: the version"
Check InStr(e.Parameters, "Device=<unknown>") > 0, "Parameters: the default Device"
e.Parameters = "Device=" & Reader & ";Protocol=2"
Check InStr(e.Parameters, "Protocol=2" & vbCrLf) > 0, "Parameters put with ;"
Set le = e.LastError
Set le2 = e.LastError
Check le Is le2, "LastError is the same object each time"
CheckEq le.ComFunction, "Parameters", "ComFunction names the last member"
e.WriteLog "a line the host writes itself"
CheckEq e.EncoderState, sceClosed, "EncoderState of a new object"
CheckEq e.ReaderType, "Encoder is closed", "ReaderType while closed"

' ---- session ----
rc = e.OpenEncoder(0)
CheckOk rc, e, "OpenEncoder"
CheckEq le.Number, 0, "the record shows the open's outcome"
CheckEq e.EncoderState, sceReady, "EncoderState with a card"
Check Left(e.ATRString, 5) = "3B 8F", "ATRString: " & e.ATRString
CheckEq e.CardType, sceMifare1K, "CardType from the host's card list"
CheckEq e.SerialNumberLength, 4, "SerialNumberLength from the card list"
Check InStr(e.ReaderType, "Device name: ") = 1, "ReaderType asks the reader"
s = ""
CheckOk e.ReadSerialNumber(s), e, "ReadSerialNumber"
CheckEq s, uid, "the serial number comes back in the variable"
s = "unchanged"
CheckOk e.ReadSerialNumber((s)), e, "ReadSerialNumber with the variable in parentheses"
CheckEq s, "unchanged", "a value in parentheses takes no output"
s = ""
CheckOk e.Escape("ff ca 00 00 00", s), e, "Escape"
CheckEq s, uid, "Escape answers the UID"
Dim retCode: retCode = ""
s = ""
CheckOk e.EscapeExt("FF CA 00 00 00", s, retCode), e, "EscapeExt"
CheckEq retCode, "9000", "EscapeExt: the status word"
CheckEq e.GetResponseText("9000"), e.GetResponseText("9000", s), "GetResponseText with and without sErrorCaller"

' ---- blocks ----
Dim contents: contents = "00 11 22 33 44 55 66 77 88 99 AA BB CC DD EE FF"
CheckOk e.MifareWriteDataBloc(4, Key, 0, contents), e, "MifareWriteDataBloc"
contents = ""
CheckOk e.MifareReadDataBloc(4, Key, 0, contents), e, "MifareReadDataBloc"
CheckEq contents, "00112233445566778899AABBCCDDEEFF", "the block reads back"
contents = "A1B2C3"
CheckOk e.MifareWriteBytesInBloc(4, Key, 0, 3, 5, contents), e, "MifareWriteBytesInBloc"
contents = ""
CheckOk e.ReadDataBloc(4, Key, 0, contents), e, "ReadDataBloc"
CheckEq contents, "001122A1B2C366778899AABBCCDDEEFF", "bytes 3 to 5 changed"
contents = "FFEEDDCCBBAA99887766554433221100"
CheckOk e.WriteDataBloc(5, Key, 0, contents), e, "WriteDataBloc"
contents = "0102"
CheckOk e.WriteBytesInBloc(5, Key, 0, 0, 1, contents), e, "WriteBytesInBloc"
Dim serial, checksum, maker
serial = 0: checksum = 0: maker = ""
CheckOk e.MifareReadManufacturerCode(Key, 0, serial, checksum, maker), e, "MifareReadManufacturerCode"
CheckEq TypeName(checksum), "Integer", "an Integer variable stays Integer"
CheckEq Len(maker), 22, "ManufacturerInfo: the rest of block 0"
CheckOk e.ReadManufacturerCode(Key, 0, serial, checksum, maker), e, "ReadManufacturerCode"

' ---- values, trailers, access conditions ----
CheckOk e.MifareWriteValueBloc(8, Key, 0, -1000), e, "MifareWriteValueBloc"
CheckOk e.WriteValueBloc(9, Key, 0, 1000), e, "WriteValueBloc"
Dim keysUsed, s0, s1, s2, cond, bx
CheckOk e.MifareReadSectorTrailer(1, Key, 0, keysUsed, s0, s1, s2, cond, bx), e, "MifareReadSectorTrailer"
CheckEq s0, scbs_A_ReadWrite + scbs_B_ReadWrite, "Security0 of a blank sector"
CheckEq bx, 105, "BX of a blank sector (69)"
CheckOk e.ReadSectorTrailer(1, Key, 0, keysUsed, s0, s1, s2, cond, bx), e, "ReadSectorTrailer"
bx = 105
CheckOk e.MifareWriteSectorTrailer(2, Key, 0, Key, Key, 1, scbs_A_ReadWrite, scbs_A_ReadWrite, _
  scbs_A_Read + scbs_A_Write, scss_A_WriteKeys + scss_A_WriteConditions, bx), e, "MifareWriteSectorTrailer with BX"
CheckOk e.WriteSectorTrailer(3, Key, 0, Key, Key, 1, scbs_A_ReadWrite, scbs_A_ReadWrite, _
  scbs_A_ReadWrite, scss_A_WriteKeysConditions), e, "WriteSectorTrailer without BX"
e.MifareSetAccessCondition 1, "001"
CheckEq le.Number, 0, "MifareSetAccessCondition"
e.SetAccessCondition 1, "000"
CheckEq le.Number, 0, "SetAccessCondition"

' ---- failures come back through the record ----
contents = ""
rc = e.MifareReadDataBloc(4, "A0A1A2A3A4A5", 0, contents)
CheckEq rc, sceError, "a wrong key gives sceError"
CheckEq Hex(le.Number), "90010F04", "Number of a refused command"
CheckEq le.Description, "Encoder command failed", "Description"
CheckEq le.ComFunction, "MifareReadDataBloc", "ComFunction"
Check InStr(le.RdrCommand, "SCardTransmit:") > 0, "RdrCommand: " & le.RdrCommand
Check Len(le.RdrRetCode) = 4, "RdrRetCode holds the status word: " & le.RdrRetCode
CheckEq le.LastDllError, 0, "LastDllError"
CheckEq contents, "", "the output is empty after a failure"

' ---- a CError of the host's own ----
Dim own: Set own = CreateObject("Orbanet_Lumivex_BL.CError")
own.Number = 42: own.Description = "d": own.LastDllError = 7
own.ComFunction = "f": own.RdrCommand = "c": own.RdrRetCode = "6A82"
Check own.Number = 42 And own.Description = "d" And own.LastDllError = 7 And own.ComFunction = "f" _
  And own.RdrCommand = "c" And own.RdrRetCode = "6A82", "a CError created by the host keeps its six properties"
Check Not (own Is le), "and is not the Encoder's record"

' ---- wrong calls are trapped, not fatal ----
On Error Resume Next
rc = e.MifareReadDataBloc(4, Key)
CheckRaises 450, "too few arguments: Err.Number 450"
rc = e.MifareReadDataBloc(4, Key, 0, contents, 1)
CheckRaises 450, "too many arguments: Err.Number 450"
rc = e.MifareReadDataBloc("four", Key, 0, contents)
CheckRaises 13, "a text for a number: Err.Number 13"
rc = e.MifareReadDataBloc(4, Key, 300, contents)
CheckRaises 6, "300 for a byte: Err.Number 6 (overflow)"
rc = e.NoSuchMember()
CheckRaises 438, "an unknown member: Err.Number 438"
On Error GoTo 0
rc = e.MifareReadDataBloc("4", Key, "0", contents)
CheckOk rc, e, "numbers given as texts are converted"

' ---- re-open and close ----
e.ReOpenEncoder
CheckEq e.EncoderState, sceReady, "ReOpenEncoder leaves the encoder ready"
CheckOk e.CloseEncoder(), e, "CloseEncoder"
CheckOk e.CloseEncoder(), e, "CloseEncoder twice"
CheckEq e.EncoderState, sceClosed, "EncoderState after closing"
' The card list entry stays: Wine's WScript.Shell cannot delete a value, and writing it is idempotent.
Finish
