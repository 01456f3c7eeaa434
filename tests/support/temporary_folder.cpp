#include "support/temporary_folder.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace brindlemux::test {

TemporaryFolder::TemporaryFolder() {
  char name[] = "/tmp/brindlemux-test-XXXXXX";
  if (mkdtemp(name) == nullptr) throw std::system_error(errno, std::generic_category(), "mkdtemp");
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace brindlemux::test
