// What the server makes of one HTTP request.
#pragma once

#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>

#include <string>
#include <vector>

#include "journal.h"
#include "planned_faults.h"
#include "service.h"

namespace Lab::Kelvane {

using HttpRequest = boost::beast::http::request<boost::beast::http::string_body>;

/// An answer, and how it goes out.
struct HttpAnswer {
  std::string bytes;                      ///< Head and body.
  const OperationFault* fault = nullptr;  ///< What is planned for it; null for nothing.
  bool close = false;                     ///< The connection ends behind it.
};

/// Where a request comes from.
struct Origin {
  unsigned connection = 0;  ///< The first is 1.
  unsigned request = 0;     ///< Its number on the connection; the first is 1.
};

class Endpoint {
 public:
  /// All must outlive the object. At least one service, whose namespace serves for refusals that
  /// can't be told to be another's.
  Endpoint(std::vector<Service*> services, PlannedFaults& faults, Journal& journal);

  /// Serves a request and writes its line into the journal.
  HttpAnswer Handle(const HttpRequest& request, const Origin& origin);

  /// Refuses what couldn't be read as HTTP. The connection ends behind the answer.
  HttpAnswer RefuseHttp(const std::string& why, const Origin& origin);

 private:
  struct Outcome;
  void Serve(const HttpRequest& request, Outcome& outcome);
  Service& FindService(const HttpRequest& request) const;
  void Fault(const SoapFault& fault, Outcome& outcome) const;
  void Garble(const OperationFault& fault, Outcome& outcome) const;

  std::vector<Service*> services_;
  PlannedFaults& faults_;
  Journal& journal_;
};

}  // namespace Lab::Kelvane
