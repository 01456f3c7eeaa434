#pragma once

#include <memory>
#include <string_view>

namespace brindlemux {

/// Orders names as people of the user's locale do, without regard to letter case.
class LocalizedNameOrder {
 public:
  /// The order of the process's locale.
  LocalizedNameOrder();
  ~LocalizedNameOrder();
  LocalizedNameOrder(const LocalizedNameOrder&) = delete;
  LocalizedNameOrder& operator=(const LocalizedNameOrder&) = delete;

  /// Whether `left` comes before `right`; names that differ only in letter case are equal.
  bool operator()(std::string_view left, std::string_view right) const;

 private:
  struct Collation;
  std::unique_ptr<Collation> collation_;
};

}  // namespace brindlemux
