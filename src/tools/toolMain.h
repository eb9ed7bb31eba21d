// What the tools with options share around their work.
#pragma once

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>
#include <functional>
#include <string>

#include "classShared/Outcome.h"

namespace tessarin {

// Reads the options and does the work. The result is the exit status: 0 done, 1 not done, 2 wrong
// use; one line on standard error, after the name that `options` has, says why.
inline int toolMain(CLI::App& options, int count, char** values,
                    const std::function<Outcome<bool>()>& work) {
  const std::string& name = options.get_name();
  const auto complain = [&name](int status, const std::string& what) {
    std::fprintf(stderr, "%s: %s\n", name.c_str(), what.c_str());
    return status;
  };
  // A write beyond the limit of a file's size then fails with a reason.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    options.parse(count, values);
    const Outcome<bool> done = work();
    return done ? 0 : complain(1, done.reason());
  } catch (const CLI::CallForHelp& help) {
    return options.exit(help);
  } catch (const CLI::ParseError& error) {
    return complain(2, std::string(error.what()) + " (" + name + " --help says more)");
  } catch (const std::exception& exception) {
    return complain(1, exception.what());  // no memory left
  }
}

}  // namespace tessarin
