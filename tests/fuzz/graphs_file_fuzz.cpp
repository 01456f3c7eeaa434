#include "fuzz/fuzz_target.h"
#include "model/graph_codec.h"
#include "support/graph_equality.h"

using namespace brindlemux;
using test::require;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto decoded = decodeGraphs(test::textOf(data, size));
  if (const auto* error = std::get_if<GraphCodingError>(&decoded)) {
    require(!error->description().empty(), "a refusal has a reason");
    return 0;
  }
  const auto& graphs = std::get<DeviceGraphs>(decoded);
  const auto encoded = encodeGraphs(graphs);
  require(std::holds_alternative<std::string>(encoded), "what was read can be written");
  const auto& text = std::get<std::string>(encoded);
  const auto again = decodeGraphs(text);
  require(std::holds_alternative<DeviceGraphs>(again), "what was written can be read");
  require(std::get<DeviceGraphs>(again) == graphs, "graphs survive a save");
  require(encodeGraphs(std::get<DeviceGraphs>(again)) == encoded, "two saves of one map are the same bytes");
  return 0;
}
