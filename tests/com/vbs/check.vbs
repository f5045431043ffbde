' Checks shared by the VBScript suites (tests/com/wine-test.sh puts them in front of each suite).
' Every check prints one line; Finish prints the summary line the runner looks for and quits with
' the number of failures.
Option Explicit
Dim gChecks, gFailed, gSuite
gChecks = 0
gFailed = 0

Sub Check(condition, what)
  gChecks = gChecks + 1
  If condition Then
    WScript.Echo "ok   " & what
  Else
    gFailed = gFailed + 1
    WScript.Echo "FAIL " & what
  End If
End Sub

Sub CheckEq(actual, expected, what)
  Dim same
  same = (TypeName(actual) = TypeName(expected) Or (IsNumeric(actual) And IsNumeric(expected)))
  If same Then same = (actual = expected)
  If same Then
    Check True, what
  Else
    Check False, what & " (got [" & actual & "] " & TypeName(actual) & ", expected [" & _
      expected & "] " & TypeName(expected) & ")"
  End If
End Sub

' A card operation that must succeed; on failure the record says why.
Sub CheckOk(rc, encoder, what)
  Dim le, why: Set le = encoder.LastError
  If rc <> sceSuccess Then why = " (rc " & rc & ", " & Hex(le.Number) & " " & le.Description & _
    ", " & le.ComFunction & " " & le.RdrCommand & " " & le.RdrRetCode & ")"
  Check rc = sceSuccess, what & why
End Sub

' Runs a call that must be refused with the given Err.Number (450 wrong count, 13 wrong type...).
Sub CheckRaises(number, what)
  CheckEq Err.Number, number, what
  Err.Clear
End Sub

Sub Finish()
  WScript.Echo "SUMMARY " & gSuite & ": " & gChecks & " checks, " & gFailed & " failed"
  If gFailed > 100 Then gFailed = 100
  WScript.Quit gFailed
End Sub
