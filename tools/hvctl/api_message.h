// The texts that go over the wire: a request for one operation, and what comes back.
#pragma once

#include <string>

#include <json/value.h>

namespace Hvctl {

/// A JSON-RPC request that invokes \p operation of the agent's service.
/// \param input  The operation's input document as JSON text, UTF-8.
std::string MakeRequest(const std::string& operation, const std::string& input);

/// What one answer, or one frame of an answer, says.
struct Answer {
  enum class Kind {
    kReply,     ///< `text` is the operation's reply document.
    kProgress,  ///< `text` is a line for a person.
    kError      ///< The API refused the call; `text` says why, one line for each message.
  };
  Kind kind;
  std::string text;
};

/// Reads one response object. Throws Failure (kApiError) on what isn't one.
Answer ReadAnswer(const std::string& response);

/// The `error` text of a reply document whose `result` is "fail" or a number, the code that one
/// operation fails with; empty for every other reply.
std::string RefusalOf(const std::string& reply);

/// The same of a document that has been read.
std::string RefusalIn(const Json::Value& reply);

/// \return \p value as compact text, UTF-8.
std::string WriteJson(const Json::Value& value);

/// Parses JSON text, of which nothing may be left over.
/// \return Empty on success; otherwise what is wrong and where.
std::string ParseJson(const std::string& text, Json::Value& value);

/// Checks an input document before it is sent.
/// \return Empty when \p text is a JSON object; otherwise what is wrong and where.
std::string InputProblem(const std::string& text);

}  // namespace Hvctl
