// The one way in which the program ends early.
#ifndef MODFORGE_MSG_END_RUN_H
#define MODFORGE_MSG_END_RUN_H

/// Ends the run with exit status `status`: static objects are destroyed, streams flushed.
[[noreturn]] void end_run(int status);

/// What end_run calls before it ends the process; null in the programs. A fuzz target sets it to leave by throwing,
/// so that one process can meet many faults.
extern void (*end_run_hook)(int status);

#endif
