#include "classShared/Outcome.h"

#include <system_error>

namespace tessarin {

std::string systemReason(int error) {
  return std::generic_category().message(error);
}

}  // namespace tessarin
