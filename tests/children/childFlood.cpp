// childFlood BYTES: writes that many bytes "o" to standard output and "e" to standard error, in
// turns of odd size, as fast as they are taken; status 1 when one of them refuses.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>

namespace {

bool writeAll(int descriptor, const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t written = ::write(descriptor, data, size);
    if (written <= 0)
      return false;
    data += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2)
    return 2;
  const std::string output(70001, 'o');
  const std::string error(30011, 'e');
  std::size_t outputLeft = std::strtoull(arguments[1], nullptr, 10);
  std::size_t errorLeft = outputLeft;
  while (outputLeft + errorLeft > 0) {
    const std::size_t outputNow = std::min(outputLeft, output.size());
    const std::size_t errorNow = std::min(errorLeft, error.size());
    if (!writeAll(STDOUT_FILENO, output.data(), outputNow) ||
        !writeAll(STDERR_FILENO, error.data(), errorNow))
      return 1;
    outputLeft -= outputNow;
    errorLeft -= errorNow;
  }
  return 0;
}
