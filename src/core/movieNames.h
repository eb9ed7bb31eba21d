// The pattern for the names of movies as the user gives it: whether it is one, and what comes of
// it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/Interface.h"
#include "encoding/Row.h"
#include "encoding/namePattern.h"

namespace tessarin {

// The pattern that stands for the usual names where one has to be said.
inline constexpr std::string_view usualNames = "{usual}";

// Why the text is no pattern, in the user's language, with the fields that a pattern may have.
std::optional<std::string> refusalOfPattern(std::string_view text);

// How the controls want movies named. Where their text is no pattern there is a refusal, and the
// names are the usual ones.
NamePattern namesOf(const Interface& interface);
std::optional<std::string> refusalOfNames(const Interface& interface);
// What is wrong alone, without the fields that there are.
std::optional<std::string> mistakeInNames(const Interface& interface);
// As a preset keeps it; nothing where it is refused.
std::optional<std::string> usablePattern(const Interface& interface);

// The name, with its extension, that the row's movie has when no other has it; without a row that
// of a clip as cameras write them.
std::string exampleName(const Interface& interface, const Row* row);

}  // namespace tessarin
