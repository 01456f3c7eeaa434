#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <sched.h>
#include <set>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "model/graph_store.h"
#include "support/file_contents.h"
#include "support/file_faults.h"
#include "support/store_services.h"
#include "support/temporary_folder.h"

namespace brindlemux {
namespace {

using test::FileFault;
using test::namesIn;
using test::TemporaryFolder;

/// A store in a folder of its own, the lines of its log, and what the file holds.
class Store {
 public:
  explicit Store(std::filesystem::path folder) : locations_(std::move(folder)) {}

  void save(float gain) {
    DeviceGraph graph("u");
    graph.masterGain = gain;
    store_.save({{"u", graph}});
  }
  /// The gain in the file; -1 when there is none that could be read.
  float saved() {
    const DeviceGraphs graphs = store_.load();
    return graphs.contains("u") ? graphs.at("u").masterGain : -1;
  }
  std::vector<std::string> takeLog() { return std::exchange(log_.lines, {}); }
  std::filesystem::path folder() const { return store_.fileURL().parent_path(); }

 private:
  test::FolderLocations locations_;
  test::FixedClock clock_;
  test::CollectingLog log_;
  GraphStore store_{locations_, clock_, log_};
};

constexpr float old = 0.25F;
constexpr float young = 0.75F;
constexpr const char* failure = "Brindlemux: nepavyko išsaugoti grafų: ";

bool tells(const std::vector<std::string>& log, int error) {
  return log.size() == 1 && log[0].starts_with(failure) && log[0].find(std::strerror(error)) != std::string::npos;
}

class GraphStoreFaults : public testing::TestWithParam<int> {};

TEST_P(GraphStoreFaults, whicheverCallOfASaveFailsItIsToldAndTheNextSaveSucceeds) {
  const TemporaryFolder folder;
  Store store(folder.path());
  int told = 0;
  for (int call = 0;; ++call) {
    store.save(old);
    ASSERT_TRUE(store.takeLog().empty());
    bool hasStruck = false;
    {
      const FileFault fault(call, GetParam());
      store.save(young);
      hasStruck = fault.hasStruck();
    }
    const auto log = store.takeLog();
    const std::set<std::string> names = namesIn(store.folder());
    EXPECT_EQ(names, std::set<std::string>{"graphs.json"}) << "call " << call;
    if (!hasStruck) {
      EXPECT_EQ(store.saved(), young);
      break;
    }
    // What fails once the file is in place costs nothing.
    EXPECT_TRUE(log.empty() || tells(log, GetParam())) << "call " << call << ": " << log[0];
    EXPECT_EQ(store.saved(), log.empty() ? young : old) << "call " << call;
    told += log.empty() ? 0 : 1;
    store.save(young);
    EXPECT_EQ(store.saved(), young);
    EXPECT_TRUE(store.takeLog().empty());
    ASSERT_LT(call, 1000);
  }
  // To make the file, keep its permissions, write it, have it on the disk, close it, and put it in place.
  EXPECT_GE(told, 6);
}

INSTANTIATE_TEST_SUITE_P(Errors, GraphStoreFaults,
                         testing::Values(ENOSPC, EDQUOT, EIO, EROFS, EACCES, EPERM, EMFILE, ENOENT),
                         [](const auto& test) { return std::string(strerrorname_np(test.param)); });

TEST(GraphStoreFolder, thatHasVanishedIsMadeAgain) {
  const TemporaryFolder folder;
  Store store(folder.path() / "home" / "share");
  store.save(old);
  std::filesystem::remove_all(folder.path() / "home");
  store.save(young);
  EXPECT_EQ(store.saved(), young);
  EXPECT_TRUE(store.takeLog().empty());
}

/// Runs `body` in a process of its own; what it returns is what went wrong. Empty when nothing did.
std::string inAProcess(const std::function<std::string()>& body) {
  int pipes[2];
  if (pipe(pipes) != 0) return "no pipe";
  const pid_t child = fork();
  if (child == 0) {
    const std::string text = body();
    _exit(::write(pipes[1], text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1);
  }
  close(pipes[1]);
  std::string text(4096, '\0');
  const ssize_t count = read(pipes[0], text.data(), text.size());
  text.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
  close(pipes[0]);
  int status = 0;
  waitpid(child, &status, 0);
  return status == 0 ? text : text + " (status " + std::to_string(status) + ")";
}

constexpr const char* notAllowed = "not allowed";

/// Makes the folder a disk of 64 KiB in memory that this process alone sees.
bool mountSmallDisk(const std::filesystem::path& folder) {
  if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
  return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=64k") == 0;
}

/// Nothing when a save fails, is told, leaves the old file, and the next one succeeds once `mend` has been called.
std::string checkFailure(Store& store, int error, const std::function<void()>& mend) {
  store.save(young);
  if (const auto log = store.takeLog(); !tells(log, error)) return log.empty() ? "nothing is told" : log[0];
  if (store.saved() != old) return "the old file is not there";
  if (namesIn(store.folder()) != std::set<std::string>{"graphs.json"}) return "something else is there";
  mend();
  store.save(young);
  if (const auto log = store.takeLog(); !log.empty()) return "still: " + log[0];
  return store.saved() == young ? "" : "the young file is not there";
}

TEST(GraphStoreDisk, thatIsFullOrReadOnlyIsToldAndNoLongerOnceItIsNot) {
  const TemporaryFolder folder;
  const std::string wrong = inAProcess([&]() -> std::string {
    if (!mountSmallDisk(folder.path())) return notAllowed;
    Store store(folder.path());
    store.save(old);
    const auto ballast = folder.path() / "ballast";
    // Until nothing fits any more.
    test::writeFile(ballast, std::string(std::size_t{1} << 20U, 'x'));
    std::string text = checkFailure(store, ENOSPC, [&] { std::filesystem::remove(ballast); });
    if (!text.empty()) return "full: " + text;

    store.save(old);
    if (mount("none", folder.path().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) != 0) return notAllowed;
    text = checkFailure(store, EROFS, [&] { mount("none", folder.path().c_str(), nullptr, MS_REMOUNT, nullptr); });
    return text.empty() ? "" : "read-only: " + text;
  });
  if (wrong == notAllowed) GTEST_SKIP() << "this user may not mount a disk";
  EXPECT_EQ(wrong, "");
}

TEST(GraphStoreFolder, thatIsForbiddenIsToldAndNoLongerOnceItIsNot) {
  const TemporaryFolder folder;
  std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
  const std::string wrong = inAProcess([&]() -> std::string {
    constexpr uid_t nobody = 65534;
    if (geteuid() == 0 && seteuid(nobody) != 0) return "no other user";
    Store store(folder.path());
    store.save(old);
    if (chmod(store.folder().c_str(), 0500) != 0) return "no permissions";
    return checkFailure(store, EACCES, [&] { chmod(store.folder().c_str(), 0700); });
  });
  EXPECT_EQ(wrong, "");
}

}  // namespace
}  // namespace brindlemux
