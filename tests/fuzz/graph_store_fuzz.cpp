#include <filesystem>
#include <string>

#include "fuzz/fuzz_target.h"
#include "model/graph_codec.h"
#include "model/graph_store.h"
#include "support/file_contents.h"
#include "support/graph_equality.h"
#include "support/temporary_folder.h"

using namespace brindlemux;
using test::require;

namespace {

struct Locations final : FileLocations {
  // In memory, where there is such a folder: every input is several files.
  Locations() { std::filesystem::create_directories(folder.path() / "Brindlemux"); }
  std::filesystem::path applicationSupport() const override { return folder.path(); }
  test::TemporaryFolder folder{std::filesystem::temp_directory_path()};
};

struct FixedClock final : Clock {
  double secondsSince1970() const override { return 1000; }
  void sleep(std::chrono::milliseconds) override {}
};

struct CountingLog final : SystemLog {
  void write(std::string_view) override { ++lines; }
  int lines = 0;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Locations locations;
  static const FixedClock clock;
  CountingLog log;
  GraphStore store(locations, clock, log);
  const auto file = store.fileURL();
  const auto aside = file.parent_path() / "graphs.json.corrupt-1000";
  std::filesystem::remove(aside);
  const std::string bytes(test::textOf(data, size));
  test::writeFile(file, bytes);

  const DeviceGraphs graphs = store.load();
  const bool isReadable = std::holds_alternative<DeviceGraphs>(decodeGraphs(bytes));
  require(test::contentOf(isReadable ? file : aside) == bytes, "a file is left alone, or set aside as it was");
  require(std::filesystem::exists(file) == isReadable, "what cannot be decoded does not stay in place");
  require(isReadable || graphs.empty(), "what cannot be decoded gives no graphs");

  store.save(graphs);
  require(store.load() == graphs, "what was saved is loaded");
  require(log.lines == 0, "what was loaded can be saved");
  const auto names = test::namesIn(file.parent_path());
  require(names.size() == (isReadable ? 1U : 2U), "no other file stays behind");
  return 0;
}
