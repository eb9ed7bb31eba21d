// Packets of a transport stream among other bytes.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace tessarin {

// Where the mark of the first packet is, behind which more come again and again: of plain ones,
// with a camcorder's clock before each, or with a broadcast's check behind.
std::optional<std::size_t> firstPacket(std::string_view bytes);

}  // namespace tessarin
