// Ctrl-C.
#pragma once

namespace orlinths {

/// From now on the first Ctrl-C asks the run to stop, which leaves every file whole; a second
/// changes nothing; the third ends the process at once, with the exit status of a stopped run.
void CatchInterrupts();

}  // namespace orlinths
