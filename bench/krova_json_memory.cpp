// Peak memory of reading a request, as a multiple of the size of its text, for texts that are
// chosen to take much. Each is read in a process of its own, whose resident memory is looked at
// before and after; what the client's text takes itself isn't counted.
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>

#include "krova/protocol/json/request_deserializer.h"
#include "table.h"
#include "text_source.h"

namespace {

/// Large enough that what a process takes anyway doesn't count.
constexpr std::size_t kTextSize = std::size_t{8} << 20;

struct Shape {
  const char* name;
  std::function<std::string()> makeInput;
};

std::string Repeated(const std::string& piece, const std::string& separator) {
  std::string text = piece;
  while (text.size() < kTextSize) text += separator + piece;
  return text;
}

Shape ListOf(const char* name, const std::string& element) {
  return {name, [element] { return "[" + Repeated(element, ",") + "]"; }};
}

Shape NestOf(const char* name, const std::string& open, const std::string& close) {
  return {name, [open, close] {
            const std::size_t levels = kTextSize / (open.size() + close.size());
            std::string text;
            for (std::size_t i = 0; i < levels; ++i) text += open;
            text += "[]";
            for (std::size_t i = 0; i < levels; ++i) text += close;
            return text;
          }};
}

const Shape kShapes[] = {
    {"one string", [] { return "\"" + std::string(kTextSize, 'x') + "\""; }},
    {"string of escapes", [] { return "\"" + Repeated("\\n", "") + "\""; }},
    NestOf("nested lists", "[", "]"),
    NestOf("nested optionals", R"({"OPTIONAL":)", "}"),
    NestOf("nested structures", R"({"STRUCTURE":{"":{"":)", "}}}"),
    {"lists without an end", [] { return std::string(kTextSize, '['); }},
    ListOf("integers", "1"),
    ListOf("doubles", "1e1"),
    ListOf("empty strings", "\"\""),
    ListOf("empty lists", "[]"),
    ListOf("unset values", "{}"),
    ListOf("nulls", "null"),
    ListOf("structures", R"({"STRUCTURE":{"":{}}})"),
    {"fields", [] { return R"({"STRUCTURE":{"":{)" + Repeated("\"\":1", ",") + "}}}"; }},
    {"bad tokens", [] { return R"([{"X":1},)" + Repeated("[]", ",") + "]"; }},
};

class Ignorer : public Krova::Core::ApiRequestVisitor {
 public:
  void Invoke(const std::string&, const std::shared_ptr<const Krova::Core::MethodIdentifier>&,
              const Krova::Data::ValuePointer&,
              const std::shared_ptr<Krova::Core::ExecutionContext>&) override {}
};

double PeakBytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) * 1024;
}

std::string RequestOf(const Shape& shape) {
  return R"({"jsonrpc":"2.0","id":"1","method":"invoke","params":{"serviceId":"s",)"
         R"("operationId":"o","ctx":{},"input":)" +
         shape.makeInput() + "}}";
}

/// In a process that has just been forked, so that its peak is what it has now.
void Measure(const char* name, std::string& text) {
  const double before = PeakBytes();
  Bench::TextSource source(text);
  Ignorer ignorer;
  std::shared_ptr<const Krova::Data::ErrorValue> error;
  Krova::Protocol::Json::JsonApiRequestDeserializer().Deserialize(source, ignorer, error);
  const double sizes = (PeakBytes() - before) / static_cast<double>(text.size());
  std::printf("%-22s %6.1f\n", name, sizes);
  Bench::AddRow("krova json memory", std::string(name) + ": peak, in sizes of the text",
                Bench::Text("%.1f", sizes), "");
  std::fflush(stdout);
}

}  // namespace

int main() {
  std::printf("peak memory, in sizes of a text of %zu MiB\n", kTextSize >> 20);
  for (const Shape& shape : kShapes) {
    std::string text = RequestOf(shape);
    // What making the text has left behind must not be there for the reader to use.
    malloc_trim(0);
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
      Measure(shape.name, text);
      _exit(0);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) < 0 || status != 0) return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
