#pragma once

namespace brindlemux {

/// Lets the program have as many files open as the system allows it. Each of its nodes on the audio server has about
/// six descriptors: at the usual limit of 1024 all nodes beyond some 160 would stay silent.
///
/// Threads: before there is a second one. Errors: none; what the system refuses stays as it was.
void allowManyFiles() noexcept;

/// Has every large block of memory go back to the system when it is freed. The C library learns from those that are
/// freed to keep larger and larger ones; a program that makes and drops the rings of captures for weeks would grow by
/// the gaps between them.
///
/// Threads: before there is a second one.
void returnLargeBlocks() noexcept;

}  // namespace brindlemux
