#include "krova/provider/fingerprint.h"

#include <cstdint>
#include <locale>
#include <ostream>

#include <boost/core/ref.hpp>
#include <boost/format.hpp>
#include <boost/iostreams/stream.hpp>

#include "krova/provider/md5_sink.h"
#include "krova/provider/raw_definition_adapter.h"

namespace Krova::Provider {
namespace {

constexpr int kBufferSize = 4096;

void WriteMethod(RawDefinitionAdapter& adapter, std::ostream& stream,
                 const AsyncApiMethod& method) {
  stream << method.GetName();
  adapter.Write({std::nullopt, method.GetInputDefinition()});
  adapter.Write({std::nullopt, method.GetOutputDefinition()});
  for (const auto& error : method.GetErrorDefinitions()) adapter.Write({std::nullopt, error});
}

std::string PrintDigest(const Md5::Digest& digest) {
  std::string text;
  for (const std::uint8_t byte : digest) text += (boost::format("%02x") % int{byte}).str();
  return text;
}

}  // namespace

std::string ComputeFingerprint(const InterfaceMap& interfaces) {
  MD5Sink sink;
  boost::iostreams::stream<boost::reference_wrapper<MD5Sink>> stream;
  stream.open(boost::ref(sink), kBufferSize);
  // Numbers are part of the text; the process may have a locale that groups their digits.
  stream.imbue(std::locale::classic());
  RawDefinitionAdapter adapter(stream);
  for (const auto& [identifier, interface] : interfaces) {
    stream << identifier->GetName();
    for (const auto& [name, method] : interface->GetMethods()) {
      WriteMethod(adapter, stream, *method);
    }
  }
  stream.close();
  return PrintDigest(sink.GetDigest());
}

}  // namespace Krova::Provider
