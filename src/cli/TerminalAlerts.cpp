#include "cli/TerminalAlerts.h"

#include <fmt/format.h>

#include <utility>

#include "classShared/TextAdditions.h"
#include "classShared/descriptorBytes.h"
#include "classShared/log.h"
#include "cli/terminal.h"
#include "platform/openFiles.h"
#include "prefs/utilsAlert.h"

namespace tessarin::cli {

TerminalAlerts::TerminalAlerts(RunLoop& loop, bool isForProgram)
    : loop_(loop),
      mayAsk_(!isForProgram && isTerminal(standardInput) && isTerminal(standardError)) {}

TerminalAlerts::~TerminalAlerts() {
  loop_.cancel(watch_);
}

void TerminalAlerts::show(const Alert& alert, std::function<void(AlertAnswer)> answered) {
  logFormat("alert               : {} / {}", alert.message, alert.informative);
  if (!answered)
    return;
  if (!mayAsk_ || alert.buttons.size() < 2) {
    const AlertAnswer answer{alert.unattended, false};
    loop_.runSoon([answered = std::move(answered), answer] { answered(answer); });
    return;
  }
  alert_ = alert;
  answered_ = std::move(answered);
  line_.clear();
  ask();
  watch_ = loop_.watchReadable(standardInput, [this] { readAnswer(); });
}

void TerminalAlerts::ask() const {
  std::string text = fmt::format("\r\033[K{}\n", printable(alert_.message));
  if (!alert_.informative.empty())
    text += printable(alert_.informative) + "\n";
  for (std::size_t button = 0; button < alert_.buttons.size(); ++button)
    text += fmt::format("  {}  {}\n", button + 1, alert_.buttons[button]);
  // Every answer once more with a star: the check box.
  if (!alert_.checkBox.empty())
    text += fmt::format("  1* 2*  {}\n", alert_.checkBox);
  writeText(stderr, text + "[1] ");
}

void TerminalAlerts::readAnswer() {
  char bytes[256];
  const auto count = readSome(standardInput, bytes, sizeof bytes);
  if (count > 0)
    line_.append(bytes, static_cast<std::size_t>(count));
  const bool isEnd = count <= 0;
  if (!isEnd && !contains(line_, "\n"))
    return;
  const std::string word(trimmed(line_));
  const std::int64_t number = isEnd          ? static_cast<std::int64_t>(alert_.unattended) + 1
                              : word.empty() ? 1
                                             : leadingInteger(word);
  if (number < 1 || number > static_cast<std::int64_t>(alert_.buttons.size())) {
    line_.clear();
    ask();
    return;
  }
  loop_.cancel(std::exchange(watch_, 0));
  const AlertAnswer answer{static_cast<std::size_t>(number - 1), endsWith(word, "*")};
  alertDidEnd(firstButtonReturnCode + number - 1);
  std::exchange(answered_, {})(answer);
}

}  // namespace tessarin::cli
