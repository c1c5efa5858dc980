#include "standins/host_server/program.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

namespace Lab {

struct Program::Parser {
  explicit Parser(const std::string& description) : app(description) {}

  CLI::App app;
};

Program::Program(const std::string& name, const std::string& description, const std::string& footer)
    : name_(name), parser_(std::make_unique<Parser>(description)) {
  parser_->app.footer(footer);
}

Program::~Program() = default;

void Program::Option(const char* flag, std::string& value, const char* help) {
  parser_->app.add_option(flag, value, help);
}

void Program::Option(const char* flag, std::optional<std::string>& value, const char* help) {
  parser_->app.add_option(flag, value, help);
}

void Program::Option(const char* flag, std::optional<std::uint64_t>& value, const char* help) {
  parser_->app.add_option(flag, value, help);
}

void Program::Option(const char* flag, int& value, int highest, const char* help) {
  parser_->app.add_option(flag, value, help)->check(CLI::Range(0, highest));
}

void Program::Option(const char* flag, std::vector<std::string>& values, const char* help,
                     const std::vector<std::string>& choices) {
  CLI::Option* const option = parser_->app.add_option(flag, values, help);
  if (!choices.empty()) option->check(CLI::IsMember(choices));
}

void Program::Flag(const char* flag, bool& value, const char* help) {
  parser_->app.add_flag(flag, value, help);
}

int Program::Run(int argc, char** argv, const std::function<void()>& run) {
  try {
    parser_->app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return parser_->app.exit(error) == 0 ? 0 : 2;
  }
  try {
    run();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", name_.c_str(), error.what());
    return 1;
  }
  return 0;
}

}  // namespace Lab
