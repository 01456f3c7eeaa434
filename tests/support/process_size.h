#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/types.h>
#include <unistd.h>

namespace brindlemux::test {

/// What a process holds, as the kernel counts it.
struct ProcessSize {
  std::size_t residentBytes = 0;
  std::size_t fileDescriptors = 0;

  static ProcessSize of(pid_t process) {
    const std::filesystem::path folder = "/proc/" + std::to_string(process);
    std::size_t pages = 0;
    std::size_t residentPages = 0;
    std::ifstream(folder / "statm") >> pages >> residentPages;
    std::error_code error;
    const auto descriptors = std::filesystem::directory_iterator(folder / "fd", error);
    return {.residentBytes = residentPages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)),
            .fileDescriptors = static_cast<std::size_t>(std::distance(descriptors, {}))};
  }
};

}  // namespace brindlemux::test
