#include "discovery/product_names.h"

#include "core/property_store.h"

namespace Halvard::Discovery {
namespace {

struct ProductNames {
  std::wstring source;
  std::wstring sourceWithVersion;
  std::wstring target;
  std::wstring targetWithVersion;
};

ProductNames UpdateManagerNames(const std::wstring& sourceVersion,
                                const std::wstring& targetVersion) {
  const std::wstring target =
      L"Ostrel Tarmis Update Manager service inside a Ostrel Kelvane Server Appliance";
  return {L"Ostrel Tarmis Update Manager", L"Ostrel Tarmis Update Manager " + sourceVersion, target,
          target + L" " + targetVersion};
}

ProductNames InfrastructureNames(const std::wstring& source, const std::wstring& sourceVersion,
                                 const std::wstring& targetVersion) {
  return {source, source + L" " + sourceVersion, L"Ostrel Belvar Controller Appliance",
          L"Ostrel Belvar Controller Appliance " + targetVersion};
}

ProductNames ServerNames(const std::wstring& join, const std::wstring& infrastructure,
                         const std::wstring& sourceVersion, const std::wstring& targetVersion) {
  const std::wstring sourceTail = join + infrastructure;
  const std::wstring targetTail = join + L"Ostrel Belvar Controller";
  return {L"Ostrel Kelvane Server" + sourceTail,
          L"Ostrel Kelvane Server " + sourceVersion + sourceTail,
          L"Ostrel Kelvane Server Appliance" + targetTail,
          L"Ostrel Kelvane Server Appliance " + targetVersion + targetTail};
}

ProductNames NamesFor(const std::wstring& type, const std::wstring& sourceVersion,
                      const std::wstring& targetVersion) {
  if (type == L"tum") return UpdateManagerNames(sourceVersion, targetVersion);
  const std::wstring infrastructure =
      sourceVersion == L"5.5" ? L"Ostrel Single Sign-On" : L"Ostrel Belvar Controller";
  if (type == L"infrastructure") {
    return InfrastructureNames(infrastructure, sourceVersion, targetVersion);
  }
  const std::wstring join = type == L"management" ? L" with an external " : L" with an embedded ";
  return ServerNames(join, infrastructure, sourceVersion, targetVersion);
}

}  // namespace

void SetSourceAndTargetProducts(const std::wstring& type, const std::wstring& sourceVersion,
                                const std::wstring& targetVersion) {
  const ProductNames names = NamesFor(type, sourceVersion, targetVersion);
  gProperties[L"SOURCE_VERSION"] = sourceVersion;
  gProperties[L"SOURCE_PRODUCT"] = names.source;
  gProperties[L"SOURCE_PRODUCT_WITH_VERSION"] = names.sourceWithVersion;
  gProperties[L"TARGET_PRODUCT"] = names.target;
  gProperties[L"TARGET_PRODUCT_WITH_VERSION"] = names.targetWithVersion;
}

}  // namespace Halvard::Discovery
