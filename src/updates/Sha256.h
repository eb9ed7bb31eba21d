// The checksum SHA-256 of bytes that come in pieces.
#pragma once

#include <nettle/sha2.h>

#include <string>
#include <string_view>

namespace tessarin {

class Sha256 {
 public:
  Sha256();
  void add(std::string_view bytes);
  // 64 small hexadecimal digits; begins anew afterwards.
  std::string hexDigest();

 private:
  sha256_ctx state_{};
};

}  // namespace tessarin
