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

UserFileLocations::UserFileLocations() {
  const char* data = std::getenv("XDG_DATA_HOME");
  applicationSupport_ = data != nullptr && *data == '/' ? data : homeFolder() / ".local" / "share";
}

}  // namespace brindlemux
