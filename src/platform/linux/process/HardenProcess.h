#pragma once

namespace vellumix::linux_desktop {

/// Keeps what was copied inside the process: no core dump, no reading by other programs of the user, no keys
/// of TLS in a file that the environment names. Also
/// makes exceeded file sizes and broken pipes errors of the call instead of the end of the process, and
/// returns the memory of large entries to the system. Called once, first of all, before there is a second
/// thread.
///
/// False when the system refused the first part.
bool hardenProcess();

}  // namespace vellumix::linux_desktop
