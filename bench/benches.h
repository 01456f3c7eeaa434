#pragma once

namespace brindlemux::bench {

// Each registers the benchmarks of one subject, which run in the order of registration.
void registerKernels();
void registerMixing();
void registerWriting();
void registerLimiting();
void registerBus();
void registerLock();
void registerSaving();

}  // namespace brindlemux::bench
