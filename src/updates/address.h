// Addresses on the network: which are asked at all, and what a relative one means.
#pragma once

#include <string>
#include <string_view>

#include "classShared/Outcome.h"

namespace tessarin {

// The address without blanks around it, or the reason why it is not asked: it has to begin with
// https:// or http:// and name a server, and it holds no user name or password.
Outcome<std::string> askableAddress(std::string_view address);

// `address` as it stands in a document that came from `document` (an askable address): relative
// ones are completed. A document that came over https leads to https only, so that nobody on the
// way can put another archive with its own checksum in the place of the announced one.
Outcome<std::string> addressInDocument(std::string_view document, std::string_view address);

bool isSecure(std::string_view address);

}  // namespace tessarin
