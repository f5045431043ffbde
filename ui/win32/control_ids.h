// The control identifiers of the Windows configuration and test dialogs. They never change, so a
// program that drives the dialogs (an operator's automation, our own test driver) can find each
// control with GetDlgItem. OK and Cancel carry the dialog manager's own identifiers, which Enter
// and Escape send.
#pragma once

namespace lumivex::ui::win32 {

// frmConfigure
constexpr int kLblDevice = 1001;
constexpr int kCboDevice = 1002;
constexpr int kLblProtocol = 1003;
constexpr int kCboProtocol = 1004;
constexpr int kCmdTest = 1005;
constexpr int kCmdOK = 1;      // IDOK
constexpr int kCmdCancel = 2;  // IDCANCEL

// frmTest (its OK button is kCmdOK as well)
constexpr int kTxtLog = 1101;
constexpr int kTmrTest = 1102;  // the timer that starts the test

}  // namespace lumivex::ui::win32
