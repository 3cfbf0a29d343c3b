// The descriptors that every program starts with, on POSIX hosts. On Windows the C library keeps the first
// three numbers for the standard streams whether they are there or not.
#pragma once

namespace loftbay::host {

// To be called before anything is opened. The program may have been started with standard input, output or
// error closed: the next file that is opened would get the free number, and messages would land in it.
// Missing streams are opened on the null device, in the wrong direction, so that using them still fails and
// lost output is noticed. From now on writing to a pipe without a reader is an error and does not end the
// process.
void prepareStandardStreams() noexcept;

}  // namespace loftbay::host
