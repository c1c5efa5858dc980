// The main function of a stand-in that is a program of its own.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

namespace Lab {

/// Reads the command line and calls \p run.
/// \param name  Begins the line on standard error that tells of an exception.
/// \return The exit code: 0 after help or a run that ended well, 1 after an exception of the run,
///     2 for a command line that is wrong.
template <typename Run>
int RunProgram(CLI::App& app, int argc, char** argv, const char* name, const Run& run) {
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  try {
    run();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", name, error.what());
    return 1;
  }
  return 0;
}

}  // namespace Lab
