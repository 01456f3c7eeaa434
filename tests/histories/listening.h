#pragma once

namespace brindlemux::history {

class History;

/// Lets the sound settle and compares what every device plays with what the graphs make of every level, sample by
/// sample. Nothing fails meanwhile. Errors: Violation.
void listen(History& history);

/// The same with one channel of one source sounding at a time.
void listenToEachChannel(History& history);

}  // namespace brindlemux::history
