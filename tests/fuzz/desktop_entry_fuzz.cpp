#include <string>

#include "fuzz/fuzz_target.h"
#include "platform/pipewire/desktop_entries.h"
#include "support/file_contents.h"
#include "support/temporary_folder.h"

using namespace brindlemux;
using test::require;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const test::TemporaryFolder folder(std::filesystem::temp_directory_path());
  test::writeFile(folder.path() / "org.example.Player.desktop", test::textOf(data, size));
  const DesktopEntries entries({folder.path()});
  for (const char* binary : {"player", "", "env", "x"}) {
    const auto entry = entries.forBinary(binary);
    require(!entry || entry->id == "org.example.Player", "an entry is known by its file's name");
    require(!entry || *binary != '\0', "an entry starts some program");
  }
  static_cast<void>(entries.forExecutable("/opt/example/player"));
  return 0;
}
