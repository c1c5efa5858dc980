// Any bytes as an answer end in values or in an exception of the library, and what is read out of a
// good one is text that could be sent again.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "quen/extension_wire.h"
#include "require.h"
#include "tunrak/exception.h"
#include "zelmo/member_reader.h"
#include "zelmo/soap_message.h"
#include "zelmo/types.h"
#include "zelmo/xml_text.h"

namespace {

const Zelmo::Version kVersion("quen25", "5.5", "quen.version.version9", "urn:quen25",
                              "\"urn:quen25/5.5\"");

/// Reads as every operation would; most don't fit, which is an exception and no more.
template <typename Read>
void Try(Read read) {
  try {
    read();
  } catch (const Tunrak::Exception& failure) {
    Require(std::string(failure.what()).find('\n') == std::string::npos);
  }
}

void ReadContent(pugi::xml_node node) {
  Zelmo::MemberReader reader(node);
  const Zelmo::MoRef root = reader.Reference("rootFolder");
  Require(!root.type.empty() && Zelmo::IsXmlText(root.id));
  reader.Reference("propertyCollector");
  reader.OptionalReference("sessionManager");
  reader.End();
}

void ReadPage(pugi::xml_node node) {
  Zelmo::MemberReader reader(node);
  if (const auto token = reader.OptionalText("token")) Require(Zelmo::IsXmlText(*token));
  for (const pugi::xml_node object : reader.Structures("objects")) {
    Zelmo::ReferenceOf(object.first_child());
  }
  reader.End();
}

void ReadResults(const Zelmo::Answer& answer, const char* operation) {
  for (const pugi::xml_node result : answer.Results(kVersion, operation)) {
    Try([&] { ReadContent(result); });
    Try([&] { ReadPage(result); });
    Try([&] { Require(Zelmo::IsXmlText(Quen::ReadExtension(result).key)); });
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Try([&] {
    const Zelmo::Answer answer(std::vector<char>(data, data + size));
    if (answer.IsFault()) {
      Require(Zelmo::IsXmlText(answer.FaultType()) && Zelmo::IsXmlText(answer.FaultText()));
      return;
    }
    for (const char* operation : {"RetrieveContent", "RetrieveProperties", "FindExtension"}) {
      Try([&] { ReadResults(answer, operation); });
    }
  });
  return 0;
}
