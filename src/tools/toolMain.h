// What the tools with options share around their work.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "classShared/Outcome.h"
#include "platform/Signals.h"

namespace tessarin {

template <class Declare, class Work>
int runTool(const char* name, const char* description, int count, char** values,
            const Declare& declare, const Work& work) {
  const auto complain = [name](int status, const std::string& what) {
    std::fprintf(stderr, "%s: %s\n", name, what.c_str());
    return status;
  };
  CLI::App options(description, name);
  declare(options);
  try {
    options.parse(count, values);
  } catch (const CLI::CallForHelp& help) {
    return options.exit(help);
  } catch (const CLI::ParseError& error) {
    // What is missed may be what stands there misspelt.
    const std::vector<std::string> unknown = options.remaining();
    const std::string what = unknown.empty() ? error.what() : CLI::ExtrasError(unknown).what();
    return complain(2, what + " (" + name + " --help says more)");
  }
  const Outcome<bool> done = work();
  return done ? 0 : complain(1, done.reason());
}

// The whole of a tool's main function: `declare` adds the options to a CLI::App&, `work` answers an
// Outcome<bool>. The result is the exit status: 0 done, 1 not done, 2 wrong use; one line on
// standard error, after the tool's name, says why.
template <class Declare, class Work>
int toolMain(const char* name, const char* description, int count, char** values,
             const Declare& declare, const Work& work) {
  ignoreFileLimit();
  try {
    return runTool(name, description, count, values, declare, work);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "%s: %s\n", name, exception.what());  // no memory left
    return 1;
  }
}

}  // namespace tessarin
