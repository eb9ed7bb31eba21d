#include "updates/Sha256.h"

#include <fmt/format.h>

#include <array>
#include <cstdint>

namespace tessarin {

Sha256::Sha256() {
  nettle_sha256_init(&state_);
}

void Sha256::add(std::string_view bytes) {
  nettle_sha256_update(&state_, bytes.size(), reinterpret_cast<const std::uint8_t*>(bytes.data()));
}

std::string Sha256::hexDigest() {
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest{};
  nettle_sha256_digest(&state_, digest.size(), digest.data());
  return fmt::format("{:02x}", fmt::join(digest, ""));
}

}  // namespace tessarin
