// Testing a JSON document against a JSON schema whose descriptions say what is expected.
#pragma once

#include <json/value.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Lab {

/// A JSON schema (draft 7). Each "description" in it completes the sentence "expected ...". Where
/// an object has "patternProperties", its "$comment" tells the names that fit.
class DocumentSchema {
 public:
  /// \param text  The schema as JSON; it comes with the program and is taken to be sound.
  explicit DocumentSchema(std::string_view text);
  ~DocumentSchema();

  /// \return The first fault of \p document in one line, without the file: "/user/sid: expected a
  ///         SID, as "S-1-5-32-544"". Nothing when it is as the schema wants it.
  std::optional<std::string> FindFault(const Json::Value& document) const;

 private:
  struct Loaded;
  std::unique_ptr<const Loaded> loaded_;
};

}  // namespace Lab
