#include "engine/engine_statistics.h"

#include <cstdio>

namespace brindlemux {

std::string text(const EngineStatistics& statistics) {
  char milliseconds[32];
  std::snprintf(milliseconds, sizeof milliseconds, "%.3f",
                std::chrono::duration<double, std::milli>(statistics.worstRender).count());
  return std::to_string(statistics.renderedBlocks) + " blocks rendered, the longest in " + milliseconds + " ms; " +
         std::to_string(statistics.repositionings) + " repositionings, " + std::to_string(statistics.underruns) +
         " underruns, " + std::to_string(statistics.droppedBlocks) + " blocks dropped";
}

}  // namespace brindlemux
