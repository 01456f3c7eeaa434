#include "histories/call_order.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include "histories/violation.h"

namespace brindlemux::history {

CallOrder::Call CallOrder::parsed(const std::string& line) {
  Call call;
  call.line = line;
  std::string text = line;
  if (const std::size_t failure = text.rfind(" ! "); failure != std::string::npos) {
    call.failed = true;
    text.erase(failure);
  } else if (const std::size_t arrow = text.rfind(" -> "); arrow != std::string::npos) {
    call.result = text.substr(arrow + 4);
    text.erase(arrow);
  }
  std::istringstream words(text);
  for (std::string word; words >> word && call.words.size() < 8;) call.words.push_back(word);
  return call;
}

void CallOrder::move(const Call& call, const std::string& label, std::initializer_list<State> from, State to) {
  const auto resource = resources_.find(label);
  require(resource != resources_.end(), "a call on what does not exist: " + call.line);
  const bool isExpected = std::find(from.begin(), from.end(), resource->second.state) != from.end();
  require(isExpected, "a call out of order: " + call.line + " after " + previous_);
  turns_.push_back(resource->second.role);
  resource->second.state = to;
}

void CallOrder::release(const Call& call, const std::string& label, std::initializer_list<State> from) {
  move(call, label, from, State::released);
  resources_.erase(label);
  if (call.failed) refused_.push_back(label);
}

void CallOrder::follow(const Call& call, const std::string& uid) {
  using enum State;
  const std::string& name = call.words[0];
  const auto word = [&call](std::size_t index) {
    return index < call.words.size() ? call.words[index] : std::string();
  };
  const bool starts = !name.starts_with("stop") && !name.starts_with("destroy") && !name.starts_with("uninitialize") &&
                      !name.starts_with("dispose");
  if (starts) onlyReleased_ = false;

  if (name == "createIOProc") {
    const Role role = word(1) == uid ? Role::loopback : Role::source;
    if (!call.failed) resources_[call.result] = {made, role, word(1)};
    turns_.push_back(role);
  } else if (name == "startDevice") {
    move(call, word(2), {made}, call.failed ? stopped : started);
  } else if (name == "stopDevice") {
    // The procedure of a tap is stopped even when it could not be started.
    move(call, word(2), {started, stopped}, stopped);
  } else if (name == "destroyIOProc") {
    release(call, word(2), {stopped});
  } else if (name == "createProcessTap" || name == "createAggregateDevice") {
    if (!call.failed) resources_[call.result] = {made, Role::source, ""};
    turns_.push_back(Role::source);
  } else if (name == "destroyAggregateDevice") {
    for (const auto& [label, resource] : resources_) {
      require(resource.device != word(1), "an aggregate goes before its procedure " + label);
    }
    release(call, word(1), {made});
  } else if (name == "destroyProcessTap") {
    release(call, word(1), {made});
  } else if (name == "createAudioUnit") {
    if (!call.failed && !call.result.empty()) resources_[call.result] = {made, Role::monitor, ""};
  } else if (name == "setAudioUnitProperty") {
    if (word(2) == "CurrentDevice") {
      const std::string device = call.line.substr(call.line.find(" = ") + 3);
      if (device.substr(0, device.find(" ! ")) == uid) resources_[word(1)].role = Role::virtualOutput;
    }
    move(call, word(1), {made}, made);
    // Before its device is set, whose output a unit is cannot be told.
    if (word(2) == "EnableIO") turns_.pop_back();
  } else if (name == "initializeAudioUnit") {
    move(call, word(1), {made}, call.failed ? made : initialized);
  } else if (name == "startOutputUnit") {
    move(call, word(1), {initialized}, call.failed ? initialized : started);
  } else if (name == "stopOutputUnit") {
    move(call, word(1), {started}, stopped);
  } else if (name == "uninitializeAudioUnit") {
    move(call, word(1), {stopped}, uninitialized);
  } else if (name == "disposeAudioUnit") {
    // Once it is initialized it is uninitialized first, unless it could not be started.
    const bool follows = previousFailed_ && previous_.find(' ' + word(1) + ' ') != std::string::npos;
    if (follows) {
      release(call, word(1), {made, initialized, uninitialized});
    } else {
      release(call, word(1), {uninitialized});
    }
  } else {
    require(name == "setPropertyData", "an unforeseen call: " + call.line);
  }
  previous_ = call.line;
  previousFailed_ = call.failed;
}

/// A reconcile deals with the sources first, then with the virtual output, the loop-back and the monitors; whatever
/// stops everything goes the other way, but for the virtual output before the loop-back.
void CallOrder::checkTurn(const std::string& uid) {
  const bool isInOrder = std::is_sorted(turns_.begin(), turns_.end());
  const auto stopRank = [](Role role) {
    switch (role) {
      case Role::monitor:
        return 0;
      case Role::virtualOutput:
        return 1;
      case Role::loopback:
        return 2;
      case Role::source:
        break;
    }
    return 3;
  };
  const bool stopsInOrder = onlyReleased_ && std::is_sorted(turns_.begin(), turns_.end(), [&](Role left, Role right) {
                              return stopRank(left) < stopRank(right);
                            });
  require(isInOrder || stopsInOrder, "the parts of the engine of " + uid + " out of turn");
}

void CallOrder::follow(const std::vector<std::string>& lines, const std::string& uid) {
  turns_.clear();
  onlyReleased_ = true;
  previous_.clear();
  previousFailed_ = false;
  for (const std::string& line : lines) follow(parsed(line), uid);
  checkTurn(uid);
}

std::vector<std::string> CallOrder::takeRefused() { return std::exchange(refused_, {}); }

}  // namespace brindlemux::history
