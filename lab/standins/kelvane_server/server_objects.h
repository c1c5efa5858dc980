// The server's objects: service instance, session manager, property collector, extension manager.
#pragma once

#include <map>
#include <string>

#include "config.h"
#include "inventory.h"
#include "journal.h"
#include "property_collector.h"
#include "service.h"
#include "sessions.h"

namespace Lab::Kelvane {

class ServerObjects : public Service {
 public:
  /// \param inventory, journal  Must outlive the object.
  ServerObjects(const Config& config, const Inventory& inventory, Journal& journal);

  std::string_view Path() const override { return "/sdk/quenService"; }
  std::string_view Space() const override { return "urn:quen25"; }
  std::string_view Action() const override { return "\"urn:quen25/5.5\""; }
  ServiceAnswer Invoke(const SoapRequest& request, const std::string& cookie,
                       Json::Value& record) override;

  std::size_t OpenSessions() const { return sessions_.OpenCount(); }

 private:
  /// One call on its way through.
  struct Call {
    Members& arguments;
    const std::string& cookie;
    int session;  ///< 0 for an operation that wants none.
    Json::Value& record;
  };
  struct Operation;
  static const Operation* FindOperation(std::string_view name);

  ServiceAnswer RetrieveContent(Call& call);
  ServiceAnswer Login(Call& call);
  ServiceAnswer Logout(Call& call);
  ServiceAnswer RetrieveProperties(Call& call);
  ServiceAnswer ContinueRetrieveProperties(Call& call);
  ServiceAnswer FindExtension(Call& call);
  ServiceAnswer RegisterExtension(Call& call);
  ServiceAnswer UpdateExtension(Call& call);
  ServiceAnswer UnregisterExtension(Call& call);

  std::string IdOf(std::string_view type) const;
  int UseSession(const std::string& cookie, Json::Value& record);
  void RecordSession(int session, const char* state);
  void RecordExtensions();

  Config config_;
  const Inventory& inventory_;
  Journal& journal_;
  Sessions sessions_;
  PropertyCollector collector_;
  std::map<std::string, Extension> extensions_;
};

}  // namespace Lab::Kelvane
