#include "platform/audio_process_info.h"

#include "model/hash_combine.h"

std::size_t std::hash<brindlemux::AudioProcessInfo>::operator()(
    const brindlemux::AudioProcessInfo& process) const noexcept {
  return brindlemux::hashOf(process.id, process.pid, process.name, process.bundleID, process.isPlaying);
}
