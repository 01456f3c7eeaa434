#include "model/file_locations.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

#include "model/fatal_error.h"

namespace brindlemux {
namespace {

std::filesystem::path homeFolder() {
  if (const char* home = std::getenv("HOME"); home != nullptr && *home == '/') return home;
  if (const passwd* user = getpwuid(getuid()); user != nullptr && user->pw_dir != nullptr && *user->pw_dir == '/') {
    return user->pw_dir;
  }
  fatalError("the user has no home folder");
}

}  // namespace

std::filesystem::path UserFileLocations::applicationSupport() const {
  if (const char* data = std::getenv("XDG_DATA_HOME"); data != nullptr && *data == '/') return data;
  return homeFolder() / ".local" / "share";
}

}  // namespace brindlemux
