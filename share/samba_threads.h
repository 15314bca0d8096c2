#ifndef PARLAVOX_SHARE_SAMBA_THREADS_H_
#define PARLAVOX_SHARE_SAMBA_THREADS_H_

namespace parlavox {

// Gives Samba's client library the POSIX thread functions it asks for before two
// threads may use it at once, each with a context of its own (its stack of temporary
// memory is global otherwise). The library's own way to do that (smbc_thread_posix) is
// not exported by every build, Debian 12's among them; the function of its utility
// library that it calls is, and is found at run time (in Samba 4 only, whose table of
// functions this gives). Call before the library's first use; later calls answer the
// first's outcome: whether the library may now be used from two threads at once.
bool LetSambaRunOnSeveralThreads();

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_SAMBA_THREADS_H_
