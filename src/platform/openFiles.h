// Open files and the standard streams, by their descriptors.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/Descriptor.h"

namespace tessarin {

enum class OpenFor {
  reading,    // never waits for a pipe's other end
  streaming,  // reading, of pipes too
  changing,   // reading and writing what is there, not behind a link
  locking,    // the same of a file of this user's that is made where there is none
  appending,  // the same at its end, with the permissions that the user's mask leaves
  creating,   // writing a new file of this user's; fails when anything is there
  folder
};

// Not open when that fails; errno says why. None is given to programs that are started.
Descriptor openFile(const std::string& path, OpenFor use);
// False when what was written could not be kept; errno says why.
bool closeFile(Descriptor& file);
// Brings the file to the disk, or the whole file system that it is on.
bool syncFile(int descriptor);
void syncFileSystem(int descriptor);

// A lock among all who ask for one, gone with the open file; false when it cannot be had.
// "AtOnce": without waiting for it; errno EWOULDBLOCK says that others have it.
enum class Lock { shared, alone, sharedAtOnce, aloneAtOnce };
bool lockFile(int descriptor, Lock lock);
void unlockFile(int descriptor);

// Puts so many zeros in at this place, both in whole blocks of the file system, without copying
// what is behind; false when the file system cannot.
bool insertRoom(int descriptor, std::uint64_t place, std::uint64_t length);

// Makes the file that long, in bytes. False: errno says why.
bool cutTo(int descriptor, std::uint64_t size);

// Where the next reading begins; false when it cannot.
bool moveTo(int descriptor, std::uint64_t position);
// Reads up to `size` bytes as readSome() does, waiting until then; nothing when time is up.
std::optional<std::ptrdiff_t> readUntil(int descriptor, void* bytes, std::size_t size,
                                        std::chrono::steady_clock::time_point end);
// Bytes that can be read at once; 0 when nobody knows.
std::size_t bytesWaiting(int descriptor);
// Asks for room for so many bytes in a pipe.
void widenPipe(int descriptor, int bytes);

// Puts an open file behind the number of another one.
bool putInPlaceOf(int number, const Descriptor& file);
// Opens /dev/null for each standard stream that the program was started without: a file of ours
// must not take its number.
void openMissingStreams();

// Whether a person reads this descriptor.
bool isTerminal(int descriptor);
// Columns of the terminal behind the descriptor; 80 when it does not say.
std::size_t terminalWidth(int descriptor);

}  // namespace tessarin
