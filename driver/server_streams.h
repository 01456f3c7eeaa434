#pragma once

#include <pipewire/impl.h>
#include <vector>

namespace brindlemux::driver {

/// The players' and recorders' nodes: those that the session manager links to a device. They are other processes'; the
/// pointers hold until the server's main loop goes on. Threads: the server's main loop.
std::vector<pw_impl_node*> serverStreams(pw_context& context);

/// Whether a link leads from one of the nodes to the other, either way.
bool areLinked(pw_context& context, const pw_impl_node* one, const pw_impl_node* other);

}  // namespace brindlemux::driver
