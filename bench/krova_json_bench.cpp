// Reading requests and writing responses, beside the documents that one would use instead: those of
// nlohmann::json, jsoncpp and rapidjson. Reading includes releasing what was read; writing starts
// from a finished tree or document. MB/s count the bytes of the JSON text.
#include <benchmark/benchmark.h>
#include <json/json.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <thread>

#include "krova/protocol/json/request_deserializer.h"
#include "krova/protocol/json/response_serializer.h"
#include "krova/transport/http/stream_buffer.h"
#include "ratio_reporter.h"
#include "text_source.h"

namespace {

using Krova::Protocol::Json::JsonApiRequestDeserializer;
using Krova::Protocol::Json::JsonApiResponseSerializer;
using Krova::Protocol::Json::Secure;

// Texts.

std::string Quoted(const std::string& text) { return nlohmann::json(text).dump(); }

std::string Request(const std::string& input) {
  return R"({"jsonrpc":"2.0","id":"1","method":"invoke","params":{"serviceId":"halvard.migrator",)"
         R"("operationId":"invoke_export","input":)" +
         input + R"(,"ctx":{"appCtx":{},"securityCtx":{}}}})";
}

std::string OperationInput(const std::string& json) {
  return R"({"STRUCTURE":{"operation-input":{"json":)" + Quoted(json) + "}}}";
}

/// What an installer sends: 632 bytes.
std::string SmallRequest() {
  const std::string json =
      R"({"locale":"en","ssoAdminUser":"administrator@ostrel.local","ssoAdminPassword":"a\\b",)"
      R"("adDcName":"dc1.example.test","thumbprint":"12:34:56:78:9A:BC:DE:F0:12:34:56:78:9A",)"
      R"("options":{"export":true,"events":false,"days":30},"path":"C:\\Export\\Halvard"})";
  const std::string request = Request(OperationInput(json));
  return Request(OperationInput(json + std::string(632 - request.size(), ' ')));
}

/// Log lines with quotes, backslashes and ends of lines: seven escapes in each line of 48 bytes.
std::string LongString(std::size_t size) {
  std::string text;
  while (text.size() < size) text += "Copying \"C:\\Data\\Export\\file\" to the appliance\r\n";
  text.resize(size);
  return text;
}

std::string NestedLists(std::size_t levels) {
  return std::string(levels, '[') + std::string(levels, ']');
}

/// A list of structures with ten fields of every sort.
std::string WideInput(int count) {
  std::string text = "[";
  for (int i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    text += (i == 0 ? "" : ",");
    text += R"({"STRUCTURE":{"com.ostrel.host":{"active":true,"cpus":8,"id":"host-)" + number +
            R"(","load":1.25E-1,"memory":34359738368,"name":"box)" + number +
            R"(.example.test","note":{"OPTIONAL":null},"ports":[22,443,902],"tag":"rack 4",)"
            R"("up":)" +
            number + "}}}";
  }
  return text + "]";
}

// Ours.

class Keeper : public Krova::Core::ApiRequestVisitor {
 public:
  void Invoke(const std::string&, const std::shared_ptr<const Krova::Core::MethodIdentifier>&,
              const Krova::Data::ValuePointer& value,
              const std::shared_ptr<Krova::Core::ExecutionContext>&) override {
    input = value;
  }

  Krova::Data::ValuePointer input;
};

Krova::Data::ValuePointer ReadWithKrova(std::string& text) {
  Bench::TextSource source(text);
  Keeper keeper;
  std::shared_ptr<const Krova::Data::ErrorValue> error;
  if (!JsonApiRequestDeserializer().Deserialize(source, keeper, error)) {
    throw std::runtime_error(error->ToString());
  }
  return keeper.input;
}

/// \return The size of the response.
std::size_t WriteWithKrova(const std::shared_ptr<Krova::Core::MethodResult>& result) {
  Krova::Transport::Http::StreamBuffer sink;
  std::shared_ptr<const Krova::Data::ErrorValue> error;
  JsonApiResponseSerializer<Secure>().SerializeResult("1", result, sink, error);
  return sink.GetText().size();
}

// Theirs.

Json::Value ReadWithJsoncpp(const std::string& text) {
  static const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  Json::Value document;
  std::string errors;
  if (!reader->parse(text.data(), text.data() + text.size(), &document, &errors)) {
    throw std::runtime_error(errors);
  }
  return document;
}

template <unsigned kFlags>
void ReadWithRapidjson(const std::string& text, rapidjson::Document& document) {
  document.Parse<kFlags>(text.data(), text.size());
  if (document.HasParseError()) throw std::runtime_error("rapidjson");
}

// Registration.

void Count(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes) *
                          static_cast<std::int64_t>(state.iterations()));
}

void Register(const std::string& name, std::size_t bytes, std::function<void()> work) {
  benchmark::RegisterBenchmark(name.c_str(), [bytes, work](benchmark::State& state) {
    for (auto _ : state) work();
    Count(state, bytes);
  });
}

template <unsigned kFlags = rapidjson::kParseDefaultFlags>
void RegisterReading(const std::string& what, const std::shared_ptr<std::string>& text,
                     bool withJsoncpp = true) {
  const std::string name = "read " + what + "/";
  Register(name + "krova", text->size(),
           [text] { benchmark::DoNotOptimize(ReadWithKrova(*text)); });
  Register(name + "nlohmann", text->size(),
           [text] { benchmark::DoNotOptimize(nlohmann::json::parse(*text)); });
  if (withJsoncpp) {
    Register(name + "jsoncpp", text->size(),
             [text] { benchmark::DoNotOptimize(ReadWithJsoncpp(*text)); });
  }
  Register(name + "rapidjson", text->size(), [text] {
    rapidjson::Document document;
    ReadWithRapidjson<kFlags>(*text, document);
    benchmark::DoNotOptimize(document);
  });
}

/// \param input  The value that is the response's output.
void RegisterWriting(const std::string& what, const std::string& input) {
  const std::string name = "write " + what + "/";
  std::string request = Request(input);
  const auto result = std::make_shared<Krova::Core::MethodResult>(ReadWithKrova(request));
  const std::string text = R"({"jsonrpc":"2.0","id":"1","result":{"output":)" + input + "}}";
  const auto nlohmann = std::make_shared<nlohmann::json>(nlohmann::json::parse(text));
  const auto jsoncpp = std::make_shared<Json::Value>(ReadWithJsoncpp(text));
  const auto rapidjson = std::make_shared<rapidjson::Document>();
  ReadWithRapidjson<rapidjson::kParseDefaultFlags>(text, *rapidjson);

  Register(name + "krova", text.size(),
           [result] { benchmark::DoNotOptimize(WriteWithKrova(result)); });
  Register(name + "nlohmann", text.size(),
           [nlohmann] { benchmark::DoNotOptimize(nlohmann->dump()); });
  Register(name + "jsoncpp", text.size(), [jsoncpp] {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    benchmark::DoNotOptimize(Json::writeString(builder, *jsoncpp));
  });
  Register(name + "rapidjson", text.size(), [rapidjson] {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    rapidjson->Accept(writer);
    benchmark::DoNotOptimize(buffer.GetSize());
  });
}

void RegisterAll() {
  const std::string longString = Quoted(LongString(std::size_t{10} << 20));
  const std::string wide = WideInput(5000);
  const auto share = [](std::string text) {
    return std::make_shared<std::string>(std::move(text));
  };
  RegisterReading("small", share(SmallRequest()));
  RegisterReading("string", share(Request(longString)));
  // jsoncpp refuses more than a thousand levels, and rapidjson needs its iterative form.
  RegisterReading<rapidjson::kParseIterativeFlag>("nested", share(Request(NestedLists(1'000'000))),
                                                  false);
  RegisterReading("wide", share(Request(wide)));
  RegisterWriting("small", OperationInput(LongString(450)));
  RegisterWriting("string", longString);
  RegisterWriting("wide", wide);
}

}  // namespace

int main(int argc, char** argv) {
  // The program that this is part of has threads, with which reference counts cost more.
  std::thread([] {}).join();
  RegisterAll();
  benchmark::Initialize(&argc, argv);
  Bench::RatioReporter reporter("krova json", "krova");
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
