#pragma once

#include <cstddef>
#include <string>

namespace brindlemux::bench {

enum class Autoconnect { yes, no };

/// An application that plays one of the chirps on both channels until SIGTERM; SIGUSR1 makes it silent, and audible
/// again. It reads no file and has no other thread to wait for, so that it costs little and never falls behind.
///
/// `name` identifies it, `chirp` counts from 0. With `autoconnect` it plays to the default output, otherwise to
/// whatever is linked. Returns the exit status. The server is the environment's.
int play(const std::string& name, std::size_t chirp, Autoconnect autoconnect);

}  // namespace brindlemux::bench
