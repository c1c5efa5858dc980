// The property collector: pages of a walk, and the tokens that continue it.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "walk.h"

namespace Lab::Kelvane {

/// One RetrieveResult.
struct Page {
  std::string xml;  ///< Its members as elements.
  std::size_t objects = 0;
  bool hasToken = false;
};

class PropertyCollector {
 public:
  /// \param inventory  Must outlive the collector.
  /// \param pageLimit  The most objects of a page, whatever the client wants.
  PropertyCollector(const Inventory& inventory, std::uint32_t pageLimit);

  /// Begins a walk. \return Nothing if no object is found. Throws SoapFault.
  std::optional<Page> Retrieve(int session, const std::vector<FilterSpec>& filters,
                               std::optional<std::int32_t> maxObjects);

  /// Goes on with the walk of a token, which is spent with it. Throws SoapFault for a token that
  /// was never given out, has been used, or belongs to another session; the latter isn't spent.
  Page Continue(int session, const std::string& token);

  /// Forgets the walks of a session that has ended.
  void EndSession(int session);

 private:
  struct Retrieval {
    int session = 0;
    std::uint32_t pageSize = 0;
    std::deque<Walk> walks;            ///< One for each filter that isn't through.
    std::optional<Walk::Found> ahead;  ///< Found already, for the next page.
  };

  void Advance(Retrieval& retrieval) const;
  Page NextPage(Retrieval retrieval);
  std::string NewToken();
  void WriteObject(const Walk::Found& found, std::string& xml) const;
  void WriteProperty(Inventory::Number object, const std::string& path, std::string& xml) const;

  const Inventory& inventory_;
  std::uint32_t pageLimit_;
  std::map<std::string, Retrieval> retrievals_;
  std::random_device random_;
};

}  // namespace Lab::Kelvane
