// Not part of any program: the compiler has to refuse this format by the name of what is wrong.
#include "core/wide_format.h"

void PrintWrongly() {
  const Halvard::WideFormat<const wchar_t*> format = L"Failed with code %d";
  (void)format;
}
