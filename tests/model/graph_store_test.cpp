#include "model/graph_store.h"

#include <csignal>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "support/file_contents.h"
#include "support/killed_save.h"
#include "support/store_services.h"
#include "support/temporary_folder.h"

namespace brindlemux {
namespace {

using test::contentOf;
using test::namesIn;
using test::TemporaryFolder;
using test::writeFile;

class GraphStoreTest : public testing::Test {
 protected:
  /// A graphs.json with these bytes, in a folder that exists.
  void place(std::string_view bytes) {
    std::filesystem::create_directories(file().parent_path());
    writeFile(file(), bytes);
  }

  std::filesystem::path file() const { return locations_.folder / "Brindlemux" / "graphs.json"; }
  std::set<std::string> names() const { return namesIn(file().parent_path()); }

  void expectOneFailure() const {
    ASSERT_EQ(log_.lines.size(), 1U);
    const std::string prefix = "Brindlemux: nepavyko i\xC5\xA1saugoti graf\xC5\xB3: ";
    EXPECT_EQ(log_.lines[0].substr(0, prefix.size()), prefix);
    EXPECT_GT(log_.lines[0].size(), prefix.size());
    EXPECT_EQ(log_.lines[0].find('\n'), std::string::npos);
  }

  TemporaryFolder folder_;
  test::FolderLocations locations_{folder_.path() / "share"};
  test::FixedClock clock_{1'700'000'000.75};
  test::CollectingLog log_;
  GraphStore store_{locations_, clock_, log_};
};

constexpr const char* oneGraph = R"({"u":{"deviceUID":"u","latencyFrames":64}})";

TEST_F(GraphStoreTest, theFileLiesInAFolderOfItsOwn) {
  EXPECT_EQ(store_.fileURL(), folder_.path() / "share" / "Brindlemux" / "graphs.json");
}

TEST_F(GraphStoreTest, aMissingFileGivesNothingAndStaysMissing) {
  EXPECT_TRUE(store_.load().empty());
  EXPECT_FALSE(std::filesystem::exists(locations_.folder));
  EXPECT_TRUE(log_.lines.empty());
}

TEST_F(GraphStoreTest, aGoodFileIsReadAndLeftAlone) {
  place(oneGraph);
  const DeviceGraphs graphs = store_.load();
  ASSERT_EQ(graphs.size(), 1U);
  EXPECT_EQ(graphs.at("u").latencyFrames, 64);
  EXPECT_EQ(contentOf(file()), oneGraph);
  EXPECT_EQ(names(), std::set<std::string>{"graphs.json"});
}

TEST_F(GraphStoreTest, whatAKilledSaveHasLeftGoesWithTheNextLoad) {
  place(oneGraph);
  test::leaveKilledSave(file());
  ASSERT_EQ(names().size(), 2U);
  EXPECT_EQ(store_.load().size(), 1U);
  EXPECT_EQ(names(), std::set<std::string>{"graphs.json"});
}

TEST_F(GraphStoreTest, anEmptyObjectIsNoCorruptFile) {
  place("{}");
  EXPECT_TRUE(store_.load().empty());
  EXPECT_EQ(names(), std::set<std::string>{"graphs.json"});
}

TEST_F(GraphStoreTest, aFileThatCannotBeDecodedIsSetAside) {
  const std::vector<std::string> contents = {
      "[]",
      "",
      "not JSON",
      "{\"u\":{}}",
      "{\"u\":{\"deviceUID\":\"u\",\"enabled\":1}}",
      R"({"u":{"deviceUID":"u","sources":[{"id":"00112233-4455-6677-8899-AABBCCDDEEFF","kind":{"app":{"bundleID":"x"}}}]}})",
      std::string("\xFF\xFE{\0}\0", 6)};
  for (const std::string& content : contents) {
    place(content);
    EXPECT_TRUE(store_.load().empty());
    // 1700000000.75 without its fraction.
    EXPECT_EQ(names(), std::set<std::string>{"graphs.json.corrupt-1700000000"}) << content;
    EXPECT_EQ(contentOf(file().parent_path() / "graphs.json.corrupt-1700000000"), content);
    std::filesystem::remove(file().parent_path() / "graphs.json.corrupt-1700000000");
  }
  EXPECT_TRUE(log_.lines.empty());
}

TEST_F(GraphStoreTest, theTimeIsTruncatedTowardZero) {
  place("[]");
  clock_.now = -1.9;
  store_.load();
  EXPECT_EQ(names(), std::set<std::string>{"graphs.json.corrupt--1"});
}

TEST_F(GraphStoreTest, anEarlierFileOfTheSameSecondIsKept) {
  place("[]");
  writeFile(file().parent_path() / "graphs.json.corrupt-1700000000", "earlier");
  EXPECT_TRUE(store_.load().empty());
  EXPECT_EQ(contentOf(file().parent_path() / "graphs.json.corrupt-1700000000"), "earlier");
  EXPECT_EQ(contentOf(file()), "[]");
  store_.save({});
  EXPECT_EQ(contentOf(file()), "{}\n");
  EXPECT_TRUE(log_.lines.empty());
}

using GraphStoreDeathTest = GraphStoreTest;

TEST_F(GraphStoreDeathTest, aTimeBeyondTheRangeIsFatal) {
  place("[]");
  for (const double now : {0x1p63, -0x1.0000000000001p63, std::numeric_limits<double>::infinity(),
                           std::numeric_limits<double>::quiet_NaN()}) {
    clock_.now = now;
    EXPECT_DEATH(store_.load(), "beyond the signed 64-bit range") << now;
  }
}

TEST_F(GraphStoreTest, theLastTimeInRangeIsNot) {
  place("[]");
  clock_.now = -0x1p63;
  store_.load();
  EXPECT_EQ(names(), std::set<std::string>{"graphs.json.corrupt--9223372036854775808"});
}

TEST_F(GraphStoreTest, theClockIsOnlyAskedForACorruptFile) {
  place("{}");
  clock_.now = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(store_.load().empty());
}

TEST_F(GraphStoreTest, whatIsNoRegularFileCannotBeReadAndStays) {
  std::filesystem::create_directories(file());
  EXPECT_TRUE(store_.load().empty());
  EXPECT_TRUE(std::filesystem::is_directory(file()));
  std::filesystem::remove(file());

  // Reading a pipe that nobody writes to would never end.
  ASSERT_EQ(mkfifo(file().c_str(), 0600), 0);
  EXPECT_TRUE(store_.load().empty());
  EXPECT_TRUE(std::filesystem::is_fifo(file()));
  EXPECT_EQ(names(), std::set<std::string>{"graphs.json"});
}

TEST_F(GraphStoreTest, aHundredMegabytesOfGarbageAreSetAside) {
  constexpr std::size_t size = 100U << 20U;
  for (const std::string& start : {std::string(), std::string("["), std::string(R"({"u":{"x":[)")}) {
    std::string content = start;
    while (content.size() < size) content.append(start.empty() ? "\x7F\xFFgarbage" : "[],");
    place(content);
    EXPECT_TRUE(store_.load().empty());
    EXPECT_EQ(names(), std::set<std::string>{"graphs.json.corrupt-1700000000"});
    std::filesystem::remove(file().parent_path() / "graphs.json.corrupt-1700000000");
  }
}

TEST_F(GraphStoreTest, aFileBeyondAllMeasureIsSetAside) {
  place("{}");
  std::filesystem::resize_file(file(), std::uintmax_t{1} << 40U);  // sparse: takes no room
  EXPECT_TRUE(store_.load().empty());
  EXPECT_EQ(names(), std::set<std::string>{"graphs.json.corrupt-1700000000"});
}

TEST_F(GraphStoreTest, saveMakesTheFoldersAndTheFile) {
  locations_.folder = folder_.path() / "a" / "b";
  store_.save({});
  EXPECT_EQ(contentOf(file()), "{}\n");
  EXPECT_EQ(names(), std::set<std::string>{"graphs.json"});
  EXPECT_TRUE(log_.lines.empty());
}

TEST_F(GraphStoreTest, whatIsSavedIsLoaded) {
  DeviceGraph graph("u");
  graph.masterGain = 0.1F;
  graph.sources = {{.id = {}, .kind = SystemAudioSource{}, .channelGains = {0.3F}}};
  store_.save({{"u", graph}, {"v", DeviceGraph("v")}});
  const DeviceGraphs graphs = store_.load();
  ASSERT_EQ(graphs.size(), 2U);
  EXPECT_EQ(graphs.at("u").masterGain, 0.1F);
  EXPECT_EQ(graphs.at("u").sources, graph.sources);
}

TEST_F(GraphStoreTest, savingTheSameTwiceGivesTheSameBytes) {
  const DeviceGraphs graphs = {{"b", DeviceGraph("b")}, {"a", DeviceGraph("a")}};
  store_.save(graphs);
  const std::string first = contentOf(file());
  store_.save(graphs);
  EXPECT_EQ(contentOf(file()), first);
  EXPECT_NE(first.find("\"a\""), std::string::npos);
}

TEST_F(GraphStoreTest, saveKeepsThePermissionsAndFollowsALink) {
  place("{}");
  const std::filesystem::path target = folder_.path() / "synchronised.json";
  std::filesystem::rename(file(), target);
  ASSERT_EQ(chmod(target.c_str(), 0600), 0);
  std::filesystem::create_symlink(target, file());
  store_.save({{"u", DeviceGraph("u")}});
  EXPECT_TRUE(std::filesystem::is_symlink(file()));
  struct stat status {};
  ASSERT_EQ(stat(target.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
  EXPECT_EQ(store_.load().size(), 1U);
  EXPECT_TRUE(log_.lines.empty());
}

/// Runs `body` in a process of its own and kills it at its stop number `stops`; each system call makes two, one as it
/// begins and one when it is done. False when the process came to its end before, nothing when it may not be traced.
std::optional<bool> killedAfter(int stops, const std::function<void()>& body) {
  const pid_t child = fork();
  if (child < 0) return std::nullopt;
  if (child == 0) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(1);
    raise(SIGSTOP);
    body();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (!WIFSTOPPED(status)) return std::nullopt;
  for (int stop = 0; stop < stops; ++stop) {
    ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    waitpid(child, &status, 0);
    if (!WIFSTOPPED(status)) return false;
  }
  kill(child, SIGKILL);
  waitpid(child, &status, 0);
  return true;
}

TEST_F(GraphStoreTest, aSaveThatIsKilledAtAnyInstantLeavesTheOldMapOrTheYoung) {
  DeviceGraph old("u");
  old.masterGain = 0.25F;
  DeviceGraph young("u");
  young.masterGain = 0.75F;
  int oldOnes = 0;
  int youngOnes = 0;
  for (int stops = 0;; ++stops) {
    store_.save({{"u", old}});
    const std::optional<bool> wasKilled = killedAfter(stops, [&] { store_.save({{"u", young}}); });
    if (!wasKilled) GTEST_SKIP() << "this user may not trace a process";
    const DeviceGraphs graphs = store_.load();
    ASSERT_EQ(graphs.size(), 1U) << "after " << stops << " stops";
    const float gain = graphs.at("u").masterGain;
    ASSERT_TRUE(gain == 0.25F || gain == 0.75F) << "after " << stops << " stops";
    ++(gain == 0.25F ? oldOnes : youngOnes);
    if (!*wasKilled) {
      EXPECT_EQ(gain, 0.75F);
      break;
    }
    ASSERT_LT(stops, 10'000);
  }
  // The file, its bytes, their way to the disk and its name take some calls before the change and some after it.
  EXPECT_GT(oldOnes, 8);
  EXPECT_GT(youngOnes, 2);
}

TEST_F(GraphStoreTest, aGainThatIsNotFiniteRefusesTheSave) {
  place(oneGraph);
  DeviceGraph graph("line\nend");
  graph.masterGain = std::numeric_limits<float>::quiet_NaN();
  store_.save({{"line\nend", graph}, {"good", DeviceGraph("good")}});
  expectOneFailure();
  EXPECT_EQ(log_.lines[0],
            "Brindlemux: nepavyko išsaugoti grafų: line end.masterGain: the gain is not a finite number");
  EXPECT_EQ(contentOf(file()), oneGraph);
  EXPECT_EQ(names(), std::set<std::string>{"graphs.json"});
}

TEST_F(GraphStoreTest, aFolderThatCannotBeMadeIsReported) {
  writeFile(locations_.folder, "a file where the folder should be");
  store_.save({});
  expectOneFailure();
  EXPECT_EQ(contentOf(locations_.folder), "a file where the folder should be");
}

TEST_F(GraphStoreTest, aFileThatCannotBeReplacedIsReported) {
  std::filesystem::create_directories(file());
  store_.save({});
  expectOneFailure();
  EXPECT_TRUE(std::filesystem::is_directory(file()));
  EXPECT_EQ(names(), std::set<std::string>{"graphs.json"});
}

/// Lets the process write only so many bytes to a file, as a full disk would.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : previousHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &previous_);
    rlimit limit = previous_;
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &previous_);
    std::signal(SIGXFSZ, previousHandler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit previous_{};
  void (*previousHandler_)(int);
};

TEST_F(GraphStoreTest, aWriteThatFailsHalfWayKeepsThePreviousFile) {
  place(oneGraph);
  {
    const FileSizeLimit limit(20);
    store_.save({{"u", DeviceGraph("u")}});
  }
  expectOneFailure();
  EXPECT_NE(log_.lines[0].find("File too large"), std::string::npos) << log_.lines[0];
  EXPECT_EQ(contentOf(file()), oneGraph);
  EXPECT_EQ(names(), std::set<std::string>{"graphs.json"});
}

TEST_F(GraphStoreTest, nothingThatIsThrownGetsOut) {
  struct FailingLocations final : FileLocations {
    std::filesystem::path applicationSupport() const override { throw std::runtime_error("no location"); }
  } locations;
  GraphStore store(locations, clock_, log_);
  EXPECT_NO_THROW(EXPECT_TRUE(store.load().empty()));
  EXPECT_NO_THROW(store.save({}));
  ASSERT_EQ(log_.lines.size(), 1U);
  EXPECT_EQ(log_.lines[0], "Brindlemux: nepavyko išsaugoti grafų: no location");

  struct FailingLog final : SystemLog {
    void write(std::string_view) override { throw std::runtime_error("no log"); }
  } log;
  GraphStore silent(locations, clock_, log);
  EXPECT_NO_THROW(silent.save({}));
}

}  // namespace
}  // namespace brindlemux
