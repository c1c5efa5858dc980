// The journal: one JSON object in a line for everything that happens, for tests to read.
#pragma once

#include <json/value.h>
#include <json/writer.h>

#include <fstream>
#include <memory>
#include <string>

namespace Lab::Kelvane {

/// A line stands in the file before the client sees what it tells of. Passwords, session cookies
/// and tokens are never in it.
class Journal {
 public:
  /// \param file  Written anew. Empty: nothing is kept. Throws std::runtime_error if it can't be.
  explicit Journal(const std::string& file);

  void Write(const Json::Value& line);

 private:
  std::ofstream stream_;
  std::unique_ptr<Json::StreamWriter> writer_;
};

/// \return The value in one line, in UTF-8.
std::string JsonLine(const Json::Value& value);

}  // namespace Lab::Kelvane
