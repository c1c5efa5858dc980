// Calls to the objects of one server.
#pragma once

#include <memory>
#include <string>

#include "tunrak/application.h"
#include "tunrak/http.h"
#include "zelmo/managed_object.h"
#include "zelmo/soap_message.h"
#include "zelmo/types.h"

namespace Zelmo {

/// Would see results before the caller does. There is none, so null is the one value.
class ResultFilter;

/// The results of one call, alive as long as the object.
class CallResults {
 public:
  CallResults(std::unique_ptr<Answer> answer, const Version& version, const char* operation);

  const std::vector<pugi::xml_node>& All() const { return results_; }
  /// \return The one result, or a null node without any.
  /// \throws Tunrak::Exception  if there are several.
  pugi::xml_node OneOrNone() const;
  /// \throws Tunrak::Exception  if there isn't exactly one.
  pugi::xml_node One() const;
  /// \throws Tunrak::Exception  if there is any.
  void None() const;

 private:
  [[noreturn]] void Refuse() const;

  std::unique_ptr<Answer> answer_;
  std::vector<pugi::xml_node> results_;
  const char* operation_;
};

/// One connection's calls, one after the other, and the session that a login has opened on it.
class SoapStubAdapter {
 public:
  SoapStubAdapter(std::shared_ptr<Tunrak::Http::UserAgent> userAgent, std::string path,
                  const Version* version, const Tunrak::Service::Logger* logger);

  /// \return A stub of the class that the reference's type has, or a bare ManagedObject for a type
  ///         that nobody knows. It has no adapter yet. Nothing is sent.
  std::shared_ptr<ManagedObject> CreateStub(const MoRef& reference) const;

  /// Calls an operation of an object. Blocks.
  /// \param operation       A literal.
  /// \param writeArguments  May be empty.
  /// \throws Fault              if the server refuses the call.
  /// \throws Tunrak::Exception  if the call or its answer fails in any other way.
  CallResults Invoke(const MoRef& self, const char* operation,
                     const WriteArguments& writeArguments = {});

 private:
  Tunrak::Http::Response Post(const std::string& content);
  std::unique_ptr<Answer> Read(Tunrak::Http::Response response) const;
  std::string LoggedFailure(const std::string& place, const Tunrak::Exception& failure) const;
  void KeepSession(const Tunrak::Http::Response& response);

  std::shared_ptr<Tunrak::Http::UserAgent> userAgent_;
  std::string path_;
  const Version* version_;
  const Tunrak::Service::Logger* logger_;
  std::string session_;  // "name=value" as the server has set it
};

/// \param version,logger  Live as long as the process.
/// \param resultFilter    Null.
std::shared_ptr<SoapStubAdapter> CreateSoapStubAdapter(
    const std::shared_ptr<Tunrak::Http::UserAgent>& userAgent, const std::string& path,
    const Version* version, const Tunrak::Service::Logger* logger,
    const ResultFilter* resultFilter);

}  // namespace Zelmo
