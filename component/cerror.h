// The last-error record that every Encoder operation clears on entry and fills on failure.
#pragma once

#include <cstdint>
#include <string>

namespace lumivex {

class CError {
 public:
  [[nodiscard]] std::int32_t Number() const { return number_; }
  void Number(std::int32_t value) { number_ = value; }
  [[nodiscard]] const std::string& Description() const { return description_; }
  void Description(std::string value) { description_ = std::move(value); }
  [[nodiscard]] std::int32_t LastDllError() const { return lastDllError_; }
  void LastDllError(std::int32_t value) { lastDllError_ = value; }
  [[nodiscard]] const std::string& ComFunction() const { return comFunction_; }
  void ComFunction(std::string value) { comFunction_ = std::move(value); }
  [[nodiscard]] const std::string& RdrCommand() const { return rdrCommand_; }
  void RdrCommand(std::string value) { rdrCommand_ = std::move(value); }
  [[nodiscard]] const std::string& RdrRetCode() const { return rdrRetCode_; }
  void RdrRetCode(std::string value) { rdrRetCode_ = std::move(value); }

 private:
  std::int32_t number_ = 0;
  std::string description_;
  std::int32_t lastDllError_ = 0;
  std::string comFunction_;
  std::string rdrCommand_;
  std::string rdrRetCode_;
};

}  // namespace lumivex
