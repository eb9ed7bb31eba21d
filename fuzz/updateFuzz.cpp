// What comes from the network: version files and zip archives.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string_view>

#include "InputFile.h"
#include "updates/ZipUnpacker.h"
#include "updates/address.h"
#include "updates/versionFile.h"

namespace {

namespace fs = std::filesystem;

void require(bool holds) {
  if (!holds)
    __builtin_trap();
}

void readVersionFile(std::string_view bytes) {
  const std::string where = "https://example.org/v.json";
  const auto release = tessarin::parseVersionFile(bytes, where, "en");
  if (!release)
    return require(!release.reason().empty());
  require(tessarin::isSecure(release.value().address));
  require(tessarin::askableAddress(release.value().address).ok());
  require(release.value().size > 0 && release.value().size <= tessarin::largestArchive);
  require(release.value().versionText.find('/') == std::string::npos);
}

// In memory, where there is such a folder: thousands of them are made.
fs::path newFolder() {
  std::string path = (fs::exists("/dev/shm") ? "/dev/shm" : "/tmp") + std::string("/fuzzXXXXXX");
  require(::mkdtemp(path.data()) != nullptr);
  return path;
}

void unpack(const std::uint8_t* data, std::size_t size) {
  const tessarin::fuzz::InputFile input(data, size);
  const fs::path folder = newFolder();
  const fs::path content = folder / "content";
  fs::create_directory(content);
  constexpr std::uint64_t largest = 1'000'000;
  auto unpacker = tessarin::ZipUnpacker::open(input.path(), content.string(), {.largest = largest});
  if (unpacker) {
    for (auto done = unpacker->step(); done && !done.value(); done = unpacker->step()) {
    }
  }
  // All of it stays in the folder, in plain files.
  require(std::distance(fs::directory_iterator(folder), {}) == 1);
  std::uint64_t total = 0;
  for (const auto& entry : fs::recursive_directory_iterator(content)) {
    require(!entry.is_symlink() && (entry.is_directory() || entry.is_regular_file()));
    total += entry.is_regular_file() ? entry.file_size() : 0;
  }
  require(total <= largest);
  fs::remove_all(folder);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 1 && data[0] == 'P')
    unpack(data, size);
  else
    readVersionFile({reinterpret_cast<const char*>(data), size});
  return 0;
}
