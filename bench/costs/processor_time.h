#pragma once

#include <sys/types.h>

namespace brindlemux::bench {

/// Seconds of processor time that all living threads of a process have used, as the scheduler has counted them.
double processorSeconds(pid_t process);
/// The same of its main thread alone.
double mainThreadSeconds(pid_t process);

}  // namespace brindlemux::bench
