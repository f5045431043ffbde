// The registry seam bound to advapi32 (the ANSI calls: texts in the process's code page).
#pragma once

#include "platform/registry_api.h"

namespace lumivex {

class Advapi32Registry : public RegistryApi {
 public:
  RegResult ConnectRegistry(const std::string& computer, RegKey root, RegKey* result) override;
  RegResult OpenKey(RegKey key, const std::string& subKey, RegDword access,
                    RegKey* result) override;
  RegResult CreateKey(RegKey key, const std::string& subKey, RegDword options, RegDword access,
                      RegKey* result, RegDword* disposition) override;
  RegResult QueryValue(RegKey key, const std::string& name, RegDword* type, std::uint8_t* data,
                       RegDword* size) override;
  RegResult SetValue(RegKey key, const std::string& name, RegDword type, const std::uint8_t* data,
                     RegDword size) override;
  RegResult EnumValue(RegKey key, RegDword index, char* name, RegDword* nameLength) override;
  RegResult CloseKey(RegKey key) override;
};

}  // namespace lumivex
