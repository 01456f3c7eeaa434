#include "platform/simulated/call_journal.h"

#include <utility>

namespace brindlemux {

std::vector<std::string> CallJournal::take() { return std::exchange(lines_, {}); }

void CallJournal::failNext(std::string prefix, OSStatus status, std::int64_t skip) {
  faults_.push_back({std::move(prefix), status, skip, Lasting::once, Kind::read});
}

void CallJournal::failEvery(std::string prefix, OSStatus status) {
  faults_.push_back({std::move(prefix), status, 0, Lasting::always, Kind::read});
}

void CallJournal::failCall(std::int64_t number, OSStatus status) {
  faults_.push_back({{}, status, number - 1, Lasting::once, Kind::change});
}

OSStatus CallJournal::fault(std::string_view line, Kind kind) {
  for (auto candidate = faults_.begin(); candidate != faults_.end(); ++candidate) {
    if (kind < candidate->narrowestKind || !line.starts_with(candidate->prefix)) continue;
    if (candidate->skip > 0) {
      --candidate->skip;
      continue;
    }
    const OSStatus status = candidate->status;
    ++struckFaults_;
    if (candidate->lasting == Lasting::once) faults_.erase(candidate);
    return status;
  }
  return noErr;
}

void CallJournal::keep(std::string line, const std::string& result, OSStatus status) {
  if (status != noErr) {
    line += " ! " + std::to_string(status);
  } else if (!result.empty()) {
    line += " -> " + result;
  }
  lines_.push_back(std::move(line));
}

}  // namespace brindlemux
