// Extension records on the wire.
#pragma once

#include <pugixml.hpp>

#include "quen/extension.h"
#include "zelmo/member_writer.h"

namespace Quen {

/// \throws Tunrak::Exception  if the element is no such record.
Extension ReadExtension(pugi::xml_node node);

/// \throws Tunrak::Exception  if the record has parts that can't be written.
void WriteExtension(Zelmo::MemberWriter writer, const Extension& extension);

}  // namespace Quen
