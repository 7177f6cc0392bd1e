// Threads, locks and the control of a camera do not come along into a forked process.
#pragma once

namespace util {

// To be called before this process gets anything of the kind; again does nothing. Any thread.
void claimProcess();

// Whether this process was forked from one that had called claimProcess(): it must not wait for a lock that
// the other one's threads may hold, nor speak to its cameras. A program that it executes is a process of its
// own.
bool isForkedChild();

} // namespace util
