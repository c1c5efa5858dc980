// lab-strings SCRIPT SOURCE DEPENDENCIES: compiles the string tables of a resource script into a
// C++ source, which makes them known to the lab in the programs that link it.
#include <cstdio>
#include <fstream>
#include <string>

#include "machine/resource_script.h"

namespace {

/// \return The text in a literal that any compiler reads alike.
std::string Literal(const std::string& text) {
  std::string literal = "L\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') literal += '\\';
    literal += c == '\n' ? "\\n" : c == '\r' ? "\\r" : c == '\t' ? "\\t" : std::string(1, c);
  }
  return literal + '"';
}

void WriteSource(const Lab::ResourceScript& script, std::ostream& out) {
  out << "// Compiled from a resource script.\n#include <iterator>\n\n"
         "#include \"machine/string_tables.h\"\n\nnamespace {\n\n"
         "constexpr Lab::TableString kStrings[] = {\n";
  for (const Lab::ScriptString& string : script.strings) {
    out << "    {" << string.language << ", " << string.id << ", " << Literal(string.text)
        << "},\n";
  }
  out << "};\nconst Lab::LinkedStrings gLinked(kStrings, std::size(kStrings));\n\n}  // namespace\n";
}

void WriteDependencies(const Lab::ResourceScript& script, const char* source, std::ostream& out) {
  out << source << ":";
  for (const auto& file : script.files) out << " " << file.string();
  out << "\n";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: lab-strings SCRIPT SOURCE DEPENDENCIES\n");
    return 2;
  }
  try {
    const Lab::ResourceScript script = Lab::ReadResourceScript(argv[1]);
    std::ofstream source(argv[2]);
    WriteSource(script, source);
    std::ofstream dependencies(argv[3]);
    WriteDependencies(script, argv[2], dependencies);
    if (source.flush() && dependencies.flush()) return 0;
    std::fprintf(stderr, "lab-strings: can't write %s\n", argv[2]);
  } catch (const Lab::ResourceScriptError& error) {
    std::fprintf(stderr, "%s\n", error.what());
  }
  return 1;
}
