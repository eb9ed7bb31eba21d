// What comes from the network: version files and zip archives.
#include "Input.h"
#include "updates/ZipUnpacker.h"
#include "updates/address.h"
#include "updates/version.h"
#include "updates/versionFile.h"

namespace {

namespace fs = std::filesystem;

using tessarin::fuzz::require;

void readVersionFile(std::string_view bytes) {
  const std::string where = "https://example.org/v.json";
  const auto release = tessarin::parseVersionFile(bytes, where, "en");
  if (!release)
    return require(!release.reason().empty());
  const auto version = tessarin::parseVersion(release.value().versionText);
  require(version && !(*version < *version));
  require(tessarin::isSecure(release.value().address));
  require(tessarin::askableAddress(release.value().address).ok());
  require(release.value().size > 0 && release.value().size <= tessarin::largestArchive);
  require(release.value().versionText.find('/') == std::string::npos);
}

void unpack(std::string_view bytes) {
  const tessarin::fuzz::InputFile input(bytes);
  const tessarin::fuzz::InputFolder folder;
  const fs::path content = fs::path(folder.path()) / "content";
  fs::create_directory(content);
  constexpr std::uint64_t largest = 1'000'000;
  auto unpacker = tessarin::ZipUnpacker::open(input.path(), content.string(), {.largest = largest});
  if (unpacker) {
    for (auto done = unpacker->step(); done && !done.value(); done = unpacker->step())
      require(unpacker->progress() >= 0 && unpacker->progress() <= 1);
  }
  // All of it stays in the folder, in plain files.
  require(std::distance(fs::directory_iterator(folder.path()), {}) == 1);
  std::uint64_t total = 0;
  for (const auto& entry : fs::recursive_directory_iterator(content)) {
    require(!entry.is_symlink() && (entry.is_directory() || entry.is_regular_file()));
    total += entry.is_regular_file() ? entry.file_size() : 0;
  }
  require(total <= largest);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = tessarin::fuzz::textOf(data, size);
  if (bytes.starts_with("P"))
    unpack(bytes);
  else
    readVersionFile(bytes);
  return 0;
}
