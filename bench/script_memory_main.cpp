// Memory of `lumivex script -` as the script grows: runs the tool as a co-process on the built-in
// simulated reader, feeds it generated lines through a pipe and reads its JSON answers.
//
//   lumivex-script-memory [--lumivex PATH] [--small N] [--large N]
//
// Two runs, of N small and N large lines (1,000 and 100,000 by default), each measured twice:
// the peak resident set of the whole run (getrusage of the child) and, in the large run, the
// resident set while the tool is still running, once after the small count of answers and once
// after the last answer (standard input still open). Exits 0 when the large run's peak is within
// 1 MiB of the small run's, 1 otherwise, 2 on a usage or system error.
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr long kAllowedGrowthKiB = 1024;
constexpr int kCoProcessPatienceMs = 10000;

// Resident set of a running process in KiB (VmRSS), or -1.
long ResidentKiB(pid_t pid) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmRSS:", 0) == 0) return std::strtol(line.c_str() + 6, nullptr, 10);
  }
  return -1;
}

// The line the generator sends as number i (0-based): the open, then a rotation of card calls.
std::string Line(long i) {
  static const std::array<const char*, 4> kCalls = {
      "MifareReadDataBloc 4 FFFFFFFFFFFF 1 ?\n",
      "ReadSerialNumber ?\n",
      "Get EncoderState\n",
      "MifareWriteDataBloc 5 FFFFFFFFFFFF 1 \"00 11 22 33 44 55 66 77 88 99 AA BB CC DD EE FF\"\n",
  };
  return i == 0 ? "OpenEncoder 0\n" : kCalls[static_cast<std::size_t>(i) % kCalls.size()];
}

struct RunResult {
  long peakKiB = -1;        // the child's peak resident set over the whole run
  long afterSmallKiB = -1;  // resident set once `sample` answers had arrived
  long afterAllKiB = -1;    // resident set once every answer had arrived
  long answers = 0;
  int status = -1;
  bool coProcess = false;  // every answer arrived while the input was still open
};

bool WriteAll(int fd, const std::string& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t n = write(fd, text.data() + done, text.size() - done);
    if (n <= 0) return false;
    done += static_cast<std::size_t>(n);
  }
  return true;
}

RunResult Run(const std::string& lumivex, long lines, long sample) {
  RunResult result;
  std::array<int, 2> toChild{};
  std::array<int, 2> fromChild{};
  if (pipe(toChild.data()) != 0 || pipe(fromChild.data()) != 0) return result;
  const pid_t pid = fork();
  if (pid < 0) return result;
  if (pid == 0) {
    dup2(toChild[0], STDIN_FILENO);
    dup2(fromChild[1], STDOUT_FILENO);
    for (const int fd : {toChild[0], toChild[1], fromChild[0], fromChild[1]}) close(fd);
    std::vector<std::string> args = {lumivex, "--simulate", "mifare1k", "--json", "script", "-"};
    std::vector<char*> argv;
    for (auto& arg : args) argv.push_back(arg.data());
    argv.push_back(nullptr);
    execv(argv[0], argv.data());
    _exit(127);
  }
  close(toChild[0]);
  close(fromChild[1]);
  // The writer feeds every line and then waits (input left open) until told to close.
  int finish[2];
  if (pipe(finish) != 0) return result;
  bool waitedForEnd = false;
  std::thread writer([&] {
    std::string batch;
    for (long i = 0; i < lines; ++i) {
      batch += Line(i);
      if (batch.size() > 16384 || i + 1 == lines) {
        if (!WriteAll(toChild[1], batch)) break;
        batch.clear();
      }
    }
    // A tool that answers only at the end of its input (no co-process) gets it after a while.
    pollfd wait{finish[0], POLLIN, 0};
    if (poll(&wait, 1, kCoProcessPatienceMs) == 0) waitedForEnd = true;
    close(toChild[1]);
  });
  FILE* answers = fdopen(fromChild[0], "r");
  std::string line;
  for (int c = 0; answers != nullptr && (c = std::fgetc(answers)) != EOF;) {
    if (c != '\n') continue;
    ++result.answers;
    if (result.answers == sample) result.afterSmallKiB = ResidentKiB(pid);
    if (result.answers == lines) {
      result.afterAllKiB = ResidentKiB(pid);
      (void)!write(finish[1], "x", 1);  // now the tool may see the end of its input
    }
  }
  if (result.answers != lines) (void)!write(finish[1], "x", 1);
  writer.join();
  result.coProcess = !waitedForEnd;
  if (answers != nullptr) std::fclose(answers);
  close(finish[0]);
  close(finish[1]);
  rusage usage{};
  if (wait4(pid, &result.status, 0, &usage) == pid) result.peakKiB = usage.ru_maxrss;
  return result;
}

}  // namespace

int main(int argc, char** argv) {
  std::string self = argv[0];
  std::string lumivex = self.substr(0, self.find_last_of('/') + 1) + "lumivex";
  long small = 1000;
  long large = 100000;
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string option = argv[i];
    if (option == "--lumivex") {
      lumivex = argv[i + 1];
    } else if (option == "--small") {
      small = std::strtol(argv[i + 1], nullptr, 10);
    } else if (option == "--large") {
      large = std::strtol(argv[i + 1], nullptr, 10);
    } else {
      std::cerr << "usage: lumivex-script-memory [--lumivex PATH] [--small N] [--large N]\n";
      return 2;
    }
  }
  if (argc % 2 == 0 || small < 2 || large <= small || access(lumivex.c_str(), X_OK) != 0) {
    std::cerr << "usage: lumivex-script-memory [--lumivex PATH] [--small N] [--large N]"
                 " (lumivex at "
              << lumivex << ", N >= 2, large > small)\n";
    return 2;
  }
  const RunResult first = Run(lumivex, small, small);
  const RunResult second = Run(lumivex, large, small);
  for (const auto& [name, run, count] :
       {std::tuple{"small", first, small}, std::tuple{"large", second, large}}) {
    std::printf("%s run: %ld lines, %ld answers, exit status %d, peak RSS %ld KiB\n", name, count,
                run.answers, WIFEXITED(run.status) ? WEXITSTATUS(run.status) : -1, run.peakKiB);
    if (run.answers != count || run.peakKiB < 0) {
      std::printf("FAILED: the %s run did not answer every line\n", name);
      return 2;
    }
  }
  if (second.coProcess) {
    std::printf("large run while running: RSS %ld KiB after %ld answers, %ld KiB after %ld\n",
                second.afterSmallKiB, small, second.afterAllKiB, large);
  } else {
    std::printf("the tool answered nothing until its input ended: not a co-process\n");
  }
  const long growth = second.peakKiB - first.peakKiB;
  std::printf("%s: peak RSS grows by %ld KiB from %ld to %ld lines (allowed %ld KiB)\n",
              growth <= kAllowedGrowthKiB ? "PASSED" : "FAILED", growth, small, large,
              kAllowedGrowthKiB);
  return growth <= kAllowedGrowthKiB ? 0 : 1;
}
