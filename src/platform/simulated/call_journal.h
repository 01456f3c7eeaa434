#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/audio_types.h"

namespace brindlemux {

/// The calls that a simulated server received, one line of text each, and the failures that it shall answer with.
///
/// A line names the call and its arguments; " -> x" follows where the call made x, " ! status" where it failed. Calls
/// that change something are always kept; reads of a property are kept for the selectors that were asked for.
///
/// Threads: one at a time.
class CallJournal {
 public:
  const std::vector<std::string>& lines() const noexcept { return lines_; }
  /// The lines so far; the journal starts again. Faults and settings stay.
  std::vector<std::string> take();

  /// Keeps reads of these properties too.
  void keepReads(std::set<FourCharCode> selectors) { keptReads_ = std::move(selectors); }

  /// The call after `skip` more whose line starts with `prefix` fails, once. Reads count whether they are kept or not.
  void failNext(std::string prefix, OSStatus status, std::int64_t skip = 0);
  /// Every call whose line starts with `prefix` fails until the faults are cleared.
  void failEvery(std::string prefix, OSStatus status);
  /// The `number`-th changing call from here fails, once; the next one is number 1.
  void failCall(std::int64_t number, OSStatus status);
  void clearFaults() { faults_.clear(); }
  /// How many calls have been made to fail.
  std::int64_t struckFaults() const noexcept { return struckFaults_; }
  /// Faults that have not struck.
  std::size_t pendingFaults() const noexcept { return faults_.size(); }

  /// Runs `operation(result)`, unless a fault strikes, and keeps the line. `result` is what the call made.
  template <typename Operation>
  OSStatus change(std::string line, Operation operation) {
    std::string result;
    OSStatus status = fault(line, Kind::change);
    if (status == noErr) status = operation(result);
    keep(std::move(line), result, status);
    return status;
  }

  /// The same for a read of a property.
  template <typename Operation>
  OSStatus read(FourCharCode selector, std::string line, Operation operation) {
    OSStatus status = fault(line, Kind::read);
    if (status == noErr) status = operation();
    if (keptReads_.contains(selector)) keep(std::move(line), {}, status);
    return status;
  }

 private:
  enum class Kind { read, change };
  enum class Lasting { once, always };
  struct Fault {
    std::string prefix;
    OSStatus status = noErr;
    std::int64_t skip = 0;
    Lasting lasting = Lasting::once;
    Kind narrowestKind = Kind::read;
  };

  OSStatus fault(std::string_view line, Kind kind);
  void keep(std::string line, const std::string& result, OSStatus status);

  std::vector<std::string> lines_;
  std::vector<Fault> faults_;
  std::int64_t struckFaults_ = 0;
  std::set<FourCharCode> keptReads_;
};

}  // namespace brindlemux
