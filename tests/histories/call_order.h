#pragma once

#include <map>
#include <string>
#include <vector>

namespace brindlemux::history {

/// Follows every resource through the calls that make, start, stop and release it, and finds calls that come too early,
/// too late or twice, and parts of an engine that are dealt with out of turn.
class CallOrder {
 public:
  /// The calls that one command of the engine of `uid` made, as journaled. Errors: Violation.
  void follow(const std::vector<std::string>& lines, const std::string& uid);

  /// The resources that the server was told to release and would not; they stay, and are nobody's.
  std::vector<std::string> takeRefused();

 private:
  enum class State { made, initialized, started, stopped, uninitialized, released };
  enum class Role { source, virtualOutput, loopback, monitor };
  struct Resource {
    State state = State::made;
    Role role = Role::source;
    std::string device;
  };
  struct Call {
    std::vector<std::string> words;
    std::string line;
    std::string result;
    bool failed = false;
  };

  static Call parsed(const std::string& line);
  void follow(const Call& call, const std::string& uid);
  void move(const Call& call, const std::string& label, std::initializer_list<State> from, State to);
  void release(const Call& call, const std::string& label, std::initializer_list<State> from);
  void checkTurn(const std::string& uid);

  std::map<std::string, Resource> resources_;
  /// The resources that the running command dealt with, in order, and whether it only released.
  std::vector<Role> turns_;
  bool onlyReleased_ = true;
  /// The call before was one that failed, or the one that must come before a release.
  std::string previous_;
  bool previousFailed_ = false;
  std::vector<std::string> refused_;
};

}  // namespace brindlemux::history
