#pragma once

#include <cstdint>
#include <map>
#include <pipewire/impl.h>

namespace brindlemux::driver {

/// The session manager: the client that implements the metadata object "default"; null without one. The pointers of
/// this file hold until the server's main loop goes on. Threads: the server's main loop.
pw_impl_client* sessionManager(pw_context& context);

/// The clients that follow an object by a proxy of theirs, by their serials. None for a null object.
std::map<std::uint64_t, pw_impl_client*> boundClients(pw_global* object);

/// Whether the client is one of those.
bool hasBound(const pw_impl_client& client, pw_global* object);

/// The object that clients see of a port; null while it is not registered.
pw_global* portGlobal(pw_impl_port& port);

}  // namespace brindlemux::driver
