// Reading and writing by a file descriptor. A call that a signal interrupts is made again; what
// else goes wrong is told in errno.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tessarin {

inline constexpr int standardInput = 0;
inline constexpr int standardOutput = 1;
inline constexpr int standardError = 2;

// The number of this process.
int processId();

// Up to `size` bytes, as they come: how many; 0 at the end, -1 when reading fails.
std::ptrdiff_t readSome(int descriptor, void* bytes, std::size_t size);

// `size` bytes from an offset on: how many; fewer when the file ends before (errno is 0) or reading
// fails. The descriptor's own position stays.
std::size_t readAt(int descriptor, void* bytes, std::size_t size, std::uint64_t offset);

// What kept the last file from being opened or read in this thread, for who asks readers that take
// such a file for one that says nothing: an errno, once; 0 when nothing did.
int takeReadError();
// By who reads; a file that is not there is no failure.
void keepReadError(int error);

// False when not everything could be written.
bool writeAll(int descriptor, std::string_view bytes);
bool writeAllAt(int descriptor, std::string_view bytes, std::uint64_t offset);

}  // namespace tessarin
