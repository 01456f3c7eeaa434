#include "costs/processor_time.h"

#include <filesystem>
#include <fstream>
#include <string>

namespace brindlemux::bench {
namespace {

/// The first number is the time on the processor; a thread that has just ended has none.
double nanosecondsOf(const std::filesystem::path& task) {
  double running = 0;
  std::ifstream(task / "schedstat") >> running;
  return running;
}

}  // namespace

double processorSeconds(pid_t process) {
  double nanoseconds = 0;
  std::error_code error;
  const std::filesystem::path tasks = "/proc/" + std::to_string(process) + "/task";
  for (const auto& task : std::filesystem::directory_iterator(tasks, error)) {
    nanoseconds += nanosecondsOf(task.path());
  }
  return nanoseconds / 1e9;
}

double mainThreadSeconds(pid_t process) {
  const std::string id = std::to_string(process);
  return nanosecondsOf("/proc/" + id + "/task/" + id) / 1e9;
}

}  // namespace brindlemux::bench
