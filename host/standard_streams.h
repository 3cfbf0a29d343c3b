// The descriptors that every program starts with, on POSIX hosts. On Windows the C library keeps the first
// three numbers for the standard streams whether they are there or not.
#pragma once

namespace loftbay::host {

// To be called before anything is opened. Whoever started the program may have closed standard input, output
// or error: the next file that is opened would get the free number, and messages would land in it. Missing
// streams are opened on the null device, in the wrong direction, so that using them still fails and lost
// output is noticed. From now on writing to a pipe that nobody reads is an error and ends no process.
void prepareStandardStreams() noexcept;

}  // namespace loftbay::host
