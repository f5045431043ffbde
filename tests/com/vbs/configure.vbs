' Configure from a late-bound host, with an operator (tests/com/dialog_driver.cpp) at the dialogs.
' It runs joined after check.vbs and the enums.vbs written from the type library (this Wine's
' VBScript has no ExecuteGlobal to load them); tests/com/dialogs-test.sh joins them.
' Argument: the mode,
'   operator  the driver answers four dialogs in turn, as the comments below say
'   nodialog  the reader service cannot be reached: Configure fails before any dialog shows
gSuite = "configure"

Const Reader = "Lumivex Simulator 0"
Dim e, le, rc, before
Set e = CreateObject("Orbanet_Lumivex_BL.Encoder")
Set le = e.LastError

If WScript.Arguments(0) = "nodialog" Then
  e.Parameters = "Device=" & Reader & ";Protocol=2"
  before = e.Parameters
  rc = e.Configure("English")
  CheckEq rc, sceError, "Configure without the reader service returns sceError"
  Check InStr(le.RdrCommand, "SCardEstablishContext") > 0, "the record holds the open's failure (" & le.RdrCommand & ")"
  CheckEq le.ComFunction, "Configure", "the record names Configure"
  CheckEq e.Parameters, before, "Parameters unchanged"
  Finish
End If

' 1. English; the configured reader is not there. The operator chooses the reader and T=1, runs
'    the test and confirms.
e.Parameters = "Device=Old reader;Protocol=1"
rc = e.Configure("English")
CheckEq rc, sceSuccess, "confirmed: sceSuccess"
CheckEq le.Number, 0, "confirmed: the record is cleared"
CheckEq le.ComFunction, "Configure", "confirmed: the record names Configure"
Check InStr(e.Parameters, "Device=" & Reader & vbCrLf) > 0, "confirmed: the chosen reader"
Check InStr(e.Parameters, "Protocol=2" & vbCrLf) > 0, "confirmed: Protocol=2"

' 2. French. The operator picks T=0, runs the test, then cancels with Escape.
before = e.Parameters
rc = e.Configure("francais")
CheckEq rc, sceCanceled, "cancelled with Escape: sceCanceled"
CheckEq e.Parameters, before, "cancelled with Escape: Parameters unchanged"

' 3. The empty language (English). The operator confirms at once with Enter.
rc = e.Configure("")
CheckEq rc, sceSuccess, "Enter: sceSuccess"
CheckEq e.Parameters, before, "Enter: the choices shown are those of Parameters"

' 4. French in capitals. The operator closes the dialog with its close box.
rc = e.Configure("FRANCAIS")
CheckEq rc, sceCanceled, "close box: sceCanceled"
CheckEq e.Parameters, before, "close box: Parameters unchanged"
Finish
