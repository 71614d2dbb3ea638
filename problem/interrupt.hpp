// Ctrl-C while the library solves.
#pragma once

#include "problem/problem.hpp"

namespace quilex {

// Lets the library look for pending Python signals from time to time during its solves: a signal
// handler that raises (KeyboardInterrupt by default) stops the solve, and the exception stays
// pending for the solve method to raise.
void watch_signals_during_solves(Problem* problem);

}  // namespace quilex
