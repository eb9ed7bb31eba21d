// The program with a window.
#include <QApplication>
#include <QIcon>
#include <clocale>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <span>

#include "app/WindowProgram.h"
#include "classShared/log.h"
#include "core/language.h"
#include "core/startUp.h"
#include "platform/Bundle.h"
#include "platform/Signals.h"
#include "prefs/utilsAlert.h"
#include "views/images.h"
#include "views/localize.h"
#include "views/qtText.h"

namespace tessarin {

namespace {

// The files of the command line, from the root: another copy has another current folder.
// Their bytes as they are: a name need not be text.
std::vector<std::string> sourcesOf(std::span<char* const> arguments) {
  std::vector<std::string> paths;
  bool isBehindEnd = false;
  for (const char* argument : arguments) {
    if (!isBehindEnd && std::string_view(argument) == "--") {
      isBehindEnd = true;
      continue;
    }
    std::error_code failed;
    const auto path = std::filesystem::absolute(argument, failed);
    if (!failed)
      paths.push_back(path.lexically_normal().string());
  }
  return paths;
}

// The first argument that is meant as an option and is none; Qt has taken its own out. A name that
// begins with a dash stands behind "--", or is that of a file that is there.
std::optional<std::string> unknownOption(std::span<char* const> arguments) {
  for (const char* argument : arguments) {
    const std::string_view word = argument;
    if (word == "--")
      return std::nullopt;
    std::error_code failed;
    if (word.size() > 1 && word.front() == '-' && !std::filesystem::exists(argument, failed))
      return std::string(word);
  }
  return std::nullopt;
}

// A second copy: its files go to the first one.
int runAsSecond(QtRunLoop& loop, const SingleInstance& instance,
                const std::vector<std::string>& paths) {
  logFormat("APP number of copy  :-( {}", 2);
  const bool isHandedOver = instance.handOver(paths);
  if (paths.empty() || !isHandedOver)
    showAndWait(loop, alreadyRunningAlert());
  return isHandedOver ? 0 : 1;
}

// What is printed instead of opening a window, for which there may be no screen; nothing for the
// name of a file.
std::optional<std::string> printedFor(std::string_view argument) {
  if (argument == "-h" || argument == "--help")
    return localisationString("help_window", "CommandLine");
  if (argument != "--version")
    return std::nullopt;
  return Bundle::main().name() + " " + programVersion();
}

void setUpApplication(QApplication& application) {
  // Qt takes the user's language for numbers, too; what tools print has points.
  std::setlocale(LC_NUMERIC, "C");
  ignoreBrokenPipes();
  // A limit to the size of files, which a log reaches first, ends no program.
  ignoreFileLimit();
  QApplication::setApplicationName(qtText(Bundle::main().name()));
  QApplication::setDesktopFileName("org.tessarin.Tessarin");
  QApplication::setQuitOnLastWindowClosed(false);
  QApplication::setWindowIcon(
      QIcon(drawing("tessarin", 128, Qt::black, application.devicePixelRatio())));
}

}  // namespace

}  // namespace tessarin

int main(int count, char** arguments) {
  using namespace tessarin;
  const auto printed = count == 2 ? printedFor(arguments[1]) : std::nullopt;
  if (printed)
    return std::puts(printed->c_str()) < 0 ? 1 : 0;
  // Without that there is no window either.
  if (const auto problem = systemProblem()) {
    std::fprintf(stderr, "tessarin-gui: %s\n", problem->c_str());
    return 1;
  }
  QApplication application(count, arguments);
  const std::span<char* const> words(arguments + 1, static_cast<std::size_t>(count) - 1);
  setUpApplication(application);
  QtRunLoop loop;
  FileUserDomain domain(userDomainPath(), &loop);
  useLanguage(PreferenceStore(domain).prefReadString(languageKey));
  translateQt();
  if (const auto option = unknownOption(words)) {
    std::fprintf(stderr, "tessarin-gui: %s; tessarin-gui --help\n",
                 localisationString("wrong_option", "CommandLine", *option).c_str());
    return 2;
  }
  SingleInstance instance(runtimeFolder());
  // Qt has taken its own out.
  const auto paths = sourcesOf(words);
  return instance.isFirst() ? WindowProgram(loop, domain, instance).run(paths)
                            : runAsSecond(loop, instance, paths);
}
