// The string tables against each other and against the sources: what is written here holds for
// every call that is added later.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

#include "classShared/TextAdditions.h"
#include "platform/StringsTable.h"
#include "support/places.h"

namespace tessarin {
namespace {

namespace fs = std::filesystem;

const fs::path root = fs::path(test::testDataFile("x")).parent_path().parent_path().parent_path();

std::string contentOf(const fs::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// ---- The sources

// One argument of a call, or any piece of code: its text without literals, and the literals.
struct Piece {
  std::string code;
  std::vector<std::string> literals;
};

struct Use {
  std::string key;
  std::string table;
  std::optional<std::size_t> variables;  // how many are filled in, when the call shows it
  std::string file;
};

// The literals stand as "\1" in the code, comments and character constants are left out.
Piece withoutComments(const std::string& source) {
  Piece piece;
  for (std::size_t at = 0; at < source.size(); ++at) {
    const std::string_view rest = std::string_view(source).substr(at);
    if (startsWith(rest, "//")) {
      at = std::min(source.find('\n', at), source.size());
    } else if (startsWith(rest, "/*")) {
      at = std::min(source.find("*/", at + 2), source.size() - 2) + 1;
    } else if (rest.front() == '\'' && rest.size() > 2 && (rest[1] == '\\' || rest[2] == '\'')) {
      at = source.find('\'', at + (rest[1] == '\\' ? 3 : 1));
    } else if (startsWith(rest, "R\"")) {
      const std::string end = ")" + std::string(textUpTo(rest.substr(2), "(")) + "\"";
      const std::size_t from = at + 1 + end.size();
      const std::size_t to = std::min(source.find(end, from), source.size());
      piece.literals.push_back(source.substr(from, to - from));
      piece.code += '\1';
      at = to + end.size() - 1;
    } else if (rest.front() == '"') {
      std::string literal;
      for (++at; at < source.size() && source[at] != '"'; ++at) {
        if (source[at] == '\\')
          ++at;
        literal += source[at];
      }
      piece.literals.push_back(literal);
      piece.code += '\1';
    } else {
      piece.code += rest.front();
    }
  }
  return piece;
}

// The arguments of the call whose "(" stands at `open`; `literal` is the index of the first literal
// behind it.
std::vector<Piece> argumentsAt(const Piece& source, std::size_t open, std::size_t literal) {
  std::vector<Piece> arguments(1);
  int depth = 0;
  for (std::size_t at = open; at < source.code.size(); ++at) {
    const char one = source.code[at];
    if (contains("([{", {&one, 1}) && depth++ == 0)
      continue;
    if (contains(")]}", {&one, 1}) && --depth == 0)
      break;
    if (one == ',' && depth == 1) {
      arguments.emplace_back();
      continue;
    }
    if (one == '\1')
      arguments.back().literals.push_back(source.literals[literal++]);
    arguments.back().code += one;
  }
  return arguments;
}

std::string constantNamed(std::string_view name, const Piece& source) {
  const std::size_t at = source.code.find(" " + std::string(name) + " = \1");
  if (name.empty() || at == std::string::npos)
    return {};
  const auto before =
      std::count(source.code.begin(), source.code.begin() + static_cast<std::ptrdiff_t>(at), '\1');
  return source.literals[static_cast<std::size_t>(before)];
}

// The table that the second argument names, itself or by a constant of the file or of the command
// line; "Localized" when it names none.
std::string tableOf(const std::vector<Piece>& arguments, const Piece& source) {
  std::string named;
  if (arguments.size() > 1 && !arguments[1].literals.empty())
    named = arguments[1].literals.front();
  else if (arguments.size() > 1)
    named = constantNamed(trimmed(arguments[1].code), source);
  if (named.empty() && arguments.size() > 1 && trimmed(arguments[1].code) == "textTable")
    named = "CommandLine";  // cli/texts.h
  return named.empty() ? "Localized" : named;
}

std::vector<Use> usesIn(const std::string& text, const std::string& file) {
  constexpr std::string_view lookUps[] = {"localisationString(", "localizedString(",
                                          "hasLocalization("};
  std::vector<Use> uses;
  const Piece source = withoutComments(text);
  for (const std::string& literal : source.literals) {
    if (startsWith(literal, "D_") || startsWith(literal, "why_"))
      uses.push_back({literal, "Localized", std::nullopt, file});
    // Three begin a log line, two alone are the mark itself.
    if (literal.size() > 2 && startsWith(literal, "@@") && !startsWith(literal, "@@@"))
      uses.push_back({literal.substr(2), "Localizable", 0, file});
  }
  for (const std::string_view lookUp : lookUps)
    for (std::size_t at = source.code.find(lookUp); at != std::string::npos;
         at = source.code.find(lookUp, at + 1)) {
      const auto before = std::count(source.code.begin(),
                                     source.code.begin() + static_cast<std::ptrdiff_t>(at), '\1');
      const auto arguments =
          argumentsAt(source, at + lookUp.size() - 1, static_cast<std::size_t>(before));
      const std::string table = tableOf(arguments, source);
      const bool fills = lookUp == lookUps[0];
      for (const std::string& key : arguments.front().literals)
        uses.push_back(
            {key, table,
             fills ? std::optional(std::max<std::size_t>(arguments.size(), 2) - 2) : std::nullopt,
             file});
    }
  return uses;
}

std::vector<Use> usesInSources() {
  std::vector<Use> uses;
  for (const auto& entry : fs::recursive_directory_iterator(root / "src")) {
    const std::string extension = entry.path().extension().string();
    if (extension != ".cpp" && extension != ".h")
      continue;
    for (Use& use : usesIn(contentOf(entry.path()), entry.path().filename().string()))
      uses.push_back(std::move(use));
  }
  return uses;
}

// ---- The tables

using Tables = std::map<std::string, StringsTable>;  // by name, "Localized"

std::map<std::string, Tables> tablesOfLanguages() {
  std::map<std::string, Tables> languages;
  for (const auto& entry : fs::recursive_directory_iterator(root / "resources"))
    if (entry.path().extension() == ".strings")
      languages[entry.path().parent_path().stem().string()][entry.path().stem().string()] =
          parseStringsTable(contentOf(entry.path()));
  return languages;
}

// The numbers of the variables that a text fills in, in their order.
std::multiset<std::size_t> placeholdersOf(std::string_view text) {
  std::multiset<std::size_t> numbers;
  std::size_t next = 1;
  for (std::size_t at = text.find('%'); at < text.size(); at = text.find('%', at + 1)) {
    const std::string_view rest = text.substr(at);
    if (startsWith(rest, "%@"))
      numbers.insert(next++);
    else if (rest.size() > 3 && rest.substr(2, 2) == "$@")
      numbers.insert(static_cast<std::size_t>(leadingInteger(rest.substr(1, 1))));
    else
      numbers.insert(0);  // a stray "%"; no table needs one
  }
  return numbers;
}

TEST(StringTables, AreWholeAndAlikeInEveryLanguage) {
  const auto languages = tablesOfLanguages();
  ASSERT_TRUE(languages.contains("en") && languages.contains("fr"));
  const Tables& english = languages.at("en");
  for (const char* wanted : {"Localized", "Localizable", "fields"})
    ASSERT_TRUE(english.contains(wanted)) << wanted;
  for (const auto& [language, tables] : languages) {
    EXPECT_EQ(tables.at("Localized").texts.at("D_Langue"), language + "_");
    for (const auto& [name, reference] : english) {
      SCOPED_TRACE(fmt::format("{}/{}", language, name));
      ASSERT_TRUE(tables.contains(name));
      const StringsTable& table = tables.at(name);
      EXPECT_EQ(table.problem, "");
      EXPECT_THAT(table.repeatedKeys, testing::IsEmpty());
      for (const auto& [key, text] : reference.texts)
        EXPECT_TRUE(table.texts.contains(key)) << key << " is missing";
      for (const auto& [key, text] : table.texts) {
        ASSERT_TRUE(reference.texts.contains(key)) << key << " is not in the English table";
        EXPECT_EQ(placeholdersOf(text), placeholdersOf(reference.texts.at(key))) << key;
        EXPECT_EQ(placeholdersOf(text).count(0), 0u) << key;
        EXPECT_EQ(trimmed(text), text) << key << " begins or ends with a blank";
        EXPECT_NE(text, "") << key;
      }
    }
  }
}

TEST(StringTables, HoldEveryKeyThatTheSourcesUseWithItsVariables) {
  const Tables english = tablesOfLanguages().at("en");
  const auto uses = usesInSources();
  // The search sees every way of asking, in the sources as they are.
  const auto countOf = [&](const auto& isOne) {
    return std::count_if(uses.begin(), uses.end(), isOne);
  };
  EXPECT_GE(countOf([](const Use& use) { return use.variables.value_or(0) > 0; }), 50);
  EXPECT_GE(countOf([](const Use& use) { return use.table == "Localizable"; }), 50);
  EXPECT_GE(countOf([](const Use& use) { return startsWith(use.key, "why_"); }), 50);
  for (const Use& use : uses) {
    SCOPED_TRACE(use.file + ": \"" + use.key + "\" of " + use.table);
    ASSERT_TRUE(english.contains(use.table));
    const auto& texts = english.at(use.table).texts;
    ASSERT_TRUE(texts.contains(use.key));
    if (use.variables) {
      const auto placeholders = placeholdersOf(texts.at(use.key));
      EXPECT_EQ(placeholders.empty() ? 0 : *placeholders.rbegin(), *use.variables);
    }
  }
  for (const char* key : {"TFF", "BFF", "PFF"})
    EXPECT_TRUE(english.at("fields").texts.contains(key));
}

}  // namespace
}  // namespace tessarin
