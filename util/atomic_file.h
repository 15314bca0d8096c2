#ifndef PARLAVOX_UTIL_ATOMIC_FILE_H_
#define PARLAVOX_UTIL_ATOMIC_FILE_H_

#include <optional>
#include <string>
#include <string_view>

namespace parlavox {

// Reads a whole regular file; nullopt when it can't be opened or read, or is something
// else (a FIFO, a device, a folder). It never waits for a writer.
std::optional<std::string> ReadWholeFile(const std::string& path);
// Reads what is left of an open file; nullopt when it can't be read.
std::optional<std::string> ReadWholeDescriptor(int fd);

// Replaces the file at `path` with `contents` so that a reader in any thread or
// process sees either the old file or the new one, never a part. The new file keeps
// the old one's permissions, or gets the default ones when there was none.
// Returns false, leaving the old file as it was, when the write fails.
bool ReplaceFile(const std::string& path, std::string_view contents);

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_ATOMIC_FILE_H_
