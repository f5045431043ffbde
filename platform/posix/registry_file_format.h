// The text of a store file: the format of registry exports, so that operators can read, edit,
// import and export it.
//
//   Windows Registry Editor Version 5.00
//
//   [HKEY_LOCAL_MACHINE\Software\Vendor\App]
//   "Text"="C:\\Data \"quoted\""
//   "Number"=dword:0000000a
//   "Bytes"=hex:01,02,ff
//   "Path"=hex(2):25,00,54,00,45,00,4d,00,50,00,25,00,00,00
//   @="the key's default value"
//
// Reading also takes "REGEDIT4" files (8-bit strings in hex(n) data), a UTF-8 byte-order mark,
// UTF-16LE files with their byte-order mark (as exports are saved), CR LF line ends and comment
// lines starting with ";" (kept with the key or value that follows them). Hex lists may continue
// on the next line after a "\". Deleting keys or values ("[-...]", "=-") is not a store's business
// and reads as malformed.
//
// Writing gives UTF-8 text with LF line ends: strings in quotes when they are plain text ending in
// one zero, otherwise hex(1); REG_EXPAND_SZ and REG_MULTI_SZ as hex(2) and hex(7) in UTF-16LE, as
// exports write them; numbers as dword; any other type as hex(n). Long hex lists wrap at 80
// columns. A key is written when it has values or comments or no subkeys (its parents are
// implied by its path).
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/posix/registry_document.h"

namespace lumivex {

// The document, or nullopt with `problem` telling the first bad line ("line 7: ...").
std::optional<RegistryDocument> ParseRegistryText(std::string_view text, std::string& problem);

std::string FormatRegistryText(const RegistryDocument& document);

}  // namespace lumivex
