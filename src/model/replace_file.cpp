#include "model/replace_file.h"

#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <exception>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <system_error>
#include <unistd.h>

namespace brindlemux {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const char* what, const fs::path& file, int error) {
  throw fs::filesystem_error(what, file, std::error_code(error, std::generic_category()));
}

/// The file at the end of a chain of symbolic links; it need not exist.
fs::path followLinks(fs::path file) {
  constexpr int maximumLinks = 40;
  for (int links = 0; fs::is_symlink(fs::symlink_status(file)); ++links) {
    if (links == maximumLinks) fail("cannot follow symbolic links", file, ELOOP);
    // An absolute target replaces the folder.
    file = file.parent_path() / fs::read_symlink(file);
  }
  return file;
}

/// How the names begin of the files beside the one to be replaced. The number of the process follows, a hyphen, and the
/// number of the attempt.
std::string temporaryPrefix(const fs::path& target) { return "." + target.filename().string() + "."; }

/// The process that a temporary file is of, or nothing when it is none.
std::optional<pid_t> ownerOf(std::string_view name, std::string_view prefix) {
  if (!name.starts_with(prefix)) return std::nullopt;
  pid_t process = 0;
  const char* const end = name.data() + name.size();
  const auto [hyphen, processError] = std::from_chars(name.data() + prefix.size(), end, process);
  if (processError != std::errc() || process <= 0 || hyphen == end || *hyphen != '-') return std::nullopt;
  int attempt = 0;
  const auto [rest, attemptError] = std::from_chars(hyphen + 1, end, attempt);
  if (attemptError != std::errc() || rest != end) return std::nullopt;
  return process;
}

bool isRunning(pid_t process) { return kill(process, 0) == 0 || errno != ESRCH; }

/// A file beside the one to be replaced; it goes away again unless it takes that one's place.
class TemporaryFile {
 public:
  explicit TemporaryFile(const fs::path& target) : target_(target) {
    constexpr int maximumAttempts = 1000;
    for (int attempt = 0; attempt < maximumAttempts; ++attempt) {
      path_ = target;
      std::string name = temporaryPrefix(target).append(std::to_string(getpid()));
      path_.replace_filename(name.append("-").append(std::to_string(attempt)));
      descriptor_ = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
      if (descriptor_ >= 0) return;
      if (errno != EEXIST) break;
    }
    fail("cannot create a temporary file", path_, errno);
  }

  ~TemporaryFile() {
    if (descriptor_ >= 0) close(descriptor_);
    if (!inPlace_) unlink(path_.c_str());
  }

  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  void takeOverPermissions() {
    struct stat status {};
    if (stat(target_.c_str(), &status) != 0) return;
    constexpr mode_t permissions = 07777;
    if (fchmod(descriptor_, status.st_mode & permissions) != 0) fail("cannot set permissions", path_, errno);
  }

  void write(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) fail("cannot write", path_, errno);
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    if (fsync(descriptor_) != 0) fail("cannot write", path_, errno);
  }

  void moveIntoPlace() {
    const int descriptor = descriptor_;
    descriptor_ = -1;
    // A network file system may report only here that the bytes did not arrive.
    if (close(descriptor) != 0 && errno != EINTR) fail("cannot write", path_, errno);
    if (rename(path_.c_str(), target_.c_str()) != 0) fail("cannot replace the file", target_, errno);
    inPlace_ = true;
  }

 private:
  const fs::path target_;
  fs::path path_;
  int descriptor_ = -1;
  bool inPlace_ = false;
};

/// Makes the renaming itself durable. The file is in place already, so a file system that cannot do this is no error.
void syncFolder(const fs::path& folder) {
  const int descriptor = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  fsync(descriptor);
  close(descriptor);
}

}  // namespace

void replaceFile(const fs::path& file, std::string_view bytes) {
  const fs::path target = followLinks(file);
  TemporaryFile temporary(target);
  temporary.takeOverPermissions();
  temporary.write(bytes);
  temporary.moveIntoPlace();
  syncFolder(target.parent_path());
}

void removeLeftovers(const fs::path& file) noexcept {
  try {
    const fs::path target = followLinks(file);
    const std::string prefix = temporaryPrefix(target);
    const fs::path folder = target.parent_path().empty() ? fs::path(".") : target.parent_path();
    const auto latest = fs::file_time_type::clock::now() - std::chrono::minutes(1);
    std::error_code failure;  // of a folder that is not there yet, for instance
    for (fs::directory_iterator next(folder, failure), end; !failure && next != end; next.increment(failure)) {
      const fs::directory_entry& entry = *next;
      const std::optional<pid_t> owner = ownerOf(entry.path().filename().string(), prefix);
      std::error_code error;
      // A process of another machine that shares the folder is not seen here, but it does not save for a minute.
      if (!owner || isRunning(*owner) || entry.last_write_time(error) > latest || error) continue;
      fs::remove(entry.path(), error);
    }
  } catch (const std::exception&) {
    // They do no harm.
  }
}

}  // namespace brindlemux
