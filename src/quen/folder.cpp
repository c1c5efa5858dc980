#include "quen/folder.h"

namespace Quen {
namespace {

const Zelmo::Type kType("Folder", Zelmo::NewStub<Folder>);

}  // namespace

const Zelmo::Type& Folder::StaticType() { return kType; }

}  // namespace Quen
