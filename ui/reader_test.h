// The test dialog's model: the sequence that opens the chosen reader exclusively, reports what it
// finds line by line and closes it again. A view shows the title, starts its timer with
// timerInterval(), calls OnTimer on the first tick, shows each line as the sink receives it
// (letting its message queue run so the line appears at once) and enables its OK button when
// finished() turns true.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/pcsc_api.h"
#include "ui/dialog_texts.h"

namespace lumivex::ui {

struct ReaderTestRequest {
  std::string language;
  std::string reader;
  std::int32_t protocol = 1;  // the preferred protocols asked for: 1 = T=0, 2 = T=1
  std::shared_ptr<PcscApi> pcsc;
  PcscContext context = 0;  // 0: the test establishes its own context and releases it
};

class ReaderTest {
 public:
  using LineSink = std::function<void(const std::string& line)>;

  ReaderTest(ReaderTestRequest request, LineSink sink);

  [[nodiscard]] const TestTexts& texts() const { return texts_; }
  [[nodiscard]] static std::chrono::milliseconds timerInterval();

  // The timer's tick: the first one runs the whole test; later ones do nothing. Never throws.
  void OnTimer();

  [[nodiscard]] bool finished() const { return finished_; }    // the OK button may be enabled
  [[nodiscard]] bool succeeded() const { return succeeded_; }  // ended with the success line
  // The text of the log: the lines so far, joined by CR LF.
  [[nodiscard]] const std::string& log() const { return log_; }

 private:
  void Add(const std::string& line);
  // The error line (number and description), the open-failed line and the failure line.
  void Fail(std::int32_t number, const std::string& description);
  void Run();

  ReaderTestRequest request_;
  LineSink sink_;
  const TestTexts& texts_;
  std::string log_;
  bool started_ = false;
  bool finished_ = false;
  bool succeeded_ = false;
};

// The number of an error line: "0x" and eight upper-case hexadecimal digits when negative,
// decimal otherwise.
std::string ErrorNumberText(std::int32_t number);

}  // namespace lumivex::ui
