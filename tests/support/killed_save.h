#pragma once

#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/file_contents.h"

namespace brindlemux::test {

/// The number of a process that has ended.
inline pid_t endedProcess() {
  const pid_t process = fork();
  if (process == 0) _exit(0);
  EXPECT_EQ(waitpid(process, nullptr, 0), process);
  return process;
}

/// Leaves beside a file what a program would that was killed two minutes ago while it replaced it.
inline void leaveKilledSave(const std::filesystem::path& file) {
  std::filesystem::path left = file;
  left.replace_filename("." + file.filename().string() + "." + std::to_string(endedProcess()) + "-0");
  writeFile(left, "half of the by");
  std::filesystem::last_write_time(left, std::filesystem::file_time_type::clock::now() - std::chrono::minutes(2));
}

}  // namespace brindlemux::test
