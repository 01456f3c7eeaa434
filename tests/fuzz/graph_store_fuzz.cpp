#include <filesystem>
#include <string>

#include "fuzz/fuzz_target.h"
#include "model/graph_codec.h"
#include "model/graph_store.h"
#include "support/file_contents.h"
#include "support/graph_equality.h"
#include "support/store_services.h"
#include "support/temporary_folder.h"

using namespace brindlemux;
using test::require;

namespace {

/// In memory, where there is such a folder: every input is several files.
std::filesystem::path madeFolder() {
  static const test::TemporaryFolder folder(std::filesystem::temp_directory_path());
  std::filesystem::create_directories(folder.path() / "Brindlemux");
  return folder.path();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const test::FolderLocations locations(madeFolder());
  static const test::FixedClock clock(1000);
  test::CollectingLog log;
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
  require(log.lines.empty(), "what was loaded can be saved");
  const auto names = test::namesIn(file.parent_path());
  require(names.size() == (isReadable ? 1U : 2U), "no other file stays behind");
  return 0;
}
