#ifndef PARLAVOX_UTIL_FILE_IO_H_
#define PARLAVOX_UTIL_FILE_IO_H_

#include <sys/types.h>

#include <cstddef>
#include <string>

namespace parlavox {

// Whole reads and writes on a descriptor: each goes on after an interrupted or short
// call until everything is done or the descriptor reports an error or its end.

// Writes all `size` bytes; false on an error.
bool WriteFully(int fd, const void* data, size_t size);
// Writes all `size` bytes at `offset`; false on an error.
bool WriteFullyAt(int fd, const void* data, size_t size, off_t offset);
// Reads up to `size` bytes, fewer only at the file's end; -1 on an error.
ssize_t ReadFully(int fd, void* data, size_t size);
// Reads up to `size` bytes from `offset`, fewer only at the file's end; -1 on an error.
ssize_t ReadFullyAt(int fd, void* data, size_t size, off_t offset);

// Whether a file lies on a network file system (NFS, SMB/CIFS, FUSE such as sshfs,
// 9P): there, other machines see a write only once it has been sent on, and change
// notifications from other machines don't arrive.
bool IsOnNetworkFileSystem(const std::string& path);
bool IsOnNetworkFileSystem(int fd);

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_FILE_IO_H_
