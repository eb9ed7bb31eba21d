// movtool: exports a movie as a settings file says, as Apple Intermediate Codec or ProRes.
//
//   movtool -s SETTINGS -i INPUT [-y] -o OUTPUT
//
// Standard output: "pourcentage    : 37.5" lines, per cent of the source that is done.
// Exit status: 0 the movie is written, 1 it is not (one line on standard error says why, and no
// part of it is left), 2 wrong use. An existing output is replaced only with -y.
#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

#include "tools/movtool/exportRun.h"

namespace {

using namespace tessarin;

int complain(int status, const std::string& what) {
  std::fprintf(stderr, "movtool: %s\n", what.c_str());
  return status;
}

int run(int count, char** values) {
  CLI::App options("Exports a movie as a settings file says.");
  movtool::ExportJob job;
  options.add_option("-s", job.settings, "settings file (a property list)")->required();
  options.add_option("-i", job.input, "movie to export")->required();
  options.add_option("-o", job.output, "movie to write")->required();
  options.add_flag("-y", job.replace, "replace the output when it is there already");
  try {
    options.parse(count, values);
  } catch (const CLI::CallForHelp& help) {
    return options.exit(help);
  } catch (const CLI::ParseError& error) {
    return complain(2, std::string(error.what()) + " (movtool --help says more)");
  }
  const Outcome<bool> exported = movtool::runExport(job);
  return exported ? 0 : complain(1, exported.reason());
}

}  // namespace

int main(int count, char** values) {
  // A write beyond the limit of a file's size then fails with a reason.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    return run(count, values);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "movtool: %s\n", exception.what());  // no memory left
    return 1;
  }
}
