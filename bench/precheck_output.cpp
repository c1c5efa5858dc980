// Reading the output of the prechecks with 10,000 findings: from the file to the texts for the
// operator, and the bare parsing beside the documents that one would use instead. MB/s count the
// bytes of the file.
#include <benchmark/benchmark.h>
#include <json/json.h>
#include <rapidjson/document.h>

#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "core/json_documents.h"
#include "core/json_files.h"
#include "core/locales.h"
#include "ratio_reporter.h"
#include "runner/precheck_findings.h"
#include "support/lab_instance.h"

namespace {

constexpr int kComponents = 20;
constexpr int kFindingsOfEach = 500;
constexpr wchar_t kPath[] = L"C:\\output.json";

std::string Finding(int number) {
  const std::string text = std::to_string(number);
  return R"({"description": {"id": "finding.)" + text +
         R"(", "localized": "The certificate of host )" + text +
         R"( in \"C:\\ProgramData\" ends soon.", "translatable": "The certificate ends soon."},)"
         R"( "problemId": null, "resolution": {"localized": "Make a new certificate."},)"
         R"( "severity": ")" +
         (number % 10 == 0 ? "ERROR" : "WARNING") + R"("})";
}

std::string Output() {
  std::string text = "[";
  for (int component = 0; component < kComponents; ++component) {
    text += (component == 0 ? "" : ",") + std::string(R"({"name": "com.ostrel.component)") +
            std::to_string(component) +
            R"(", "requirements": {"coreRequirement": {"requiredSrcDiskSpace": 0.5,)"
            R"( "exportEstimationTime": 5, "importEstimationTime": 7}, "extraArguments": {},)"
            R"( "requirementMismatchSpecs": [)";
    for (int i = 0; i < kFindingsOfEach; ++i) {
      text += (i == 0 ? "" : ",") + Finding(component * kFindingsOfEach + i);
    }
    text += "]}}";
  }
  return text + "]";
}

void Register(const std::string& name, std::size_t bytes, std::function<void()> work) {
  benchmark::RegisterBenchmark(name.c_str(), [bytes, work](benchmark::State& state) {
    for (auto _ : state) work();
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) *
                            static_cast<std::int64_t>(state.iterations()));
  })->Unit(benchmark::kMillisecond);
}

void ReadFindings() {
  Json::Value output;
  std::wstring errors;
  std::wstring warnings;
  if (!Halvard::LoadJsonFromFile(kPath, output, FILE_ATTRIBUTE_NORMAL)) {
    throw std::runtime_error("the output can't be read");
  }
  Halvard::Runner::ParseErrorsWarningsFromPreUpgradeOutput(output, errors, warnings);
  if (errors.empty() || warnings.empty()) throw std::runtime_error("there are no findings");
}

void RegisterAll(const std::shared_ptr<std::string>& text) {
  Register("file to texts/agent", text->size(), ReadFindings);
  Register("parse/agent", text->size(), [text] {
    Json::Value output;
    benchmark::DoNotOptimize(Halvard::ParseJson(*text, output));
  });
  Register("parse/nlohmann", text->size(),
           [text] { benchmark::DoNotOptimize(nlohmann::json::parse(*text)); });
  Register("parse/rapidjson", text->size(), [text] {
    rapidjson::Document document;
    document.Parse(text->data(), text->size());
    benchmark::DoNotOptimize(document);
  });
}

}  // namespace

int main(int argc, char** argv) {
  Lab::Instance machine;
  Halvard::SetHVLocale();
  const auto text = std::make_shared<std::string>(Output());
  machine.WriteFile(kPath, *text);
  RegisterAll(text);
  benchmark::Initialize(&argc, argv);
  Bench::RatioReporter reporter("precheck output", "agent");
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
