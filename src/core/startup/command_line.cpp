#include "core/startup/command_line.h"

#include <boost/program_options.hpp>
#include <cstdint>
#include <sstream>
#include <string>

#include "core/console.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/text.h"
#include "core/version.h"
#include "host/registry.h"

namespace Halvard {
namespace {

namespace Options = boost::program_options;

/// The domain that the description of the password option names.
std::wstring AdministratorDomain() {
  const std::wstring domain = Host::GetInstallParameter(L"ostreldir.domain-name");
  return domain.empty() ? std::wstring(DefaultSsoDomain) : domain;
}

std::string Description(unsigned int id) { return WideToUtf8(GetLocalizedString(id)); }

Options::options_description DescribeOptions(const std::wstring& domain, UserInput& input) {
  constexpr unsigned int kLineLength = 80;
  constexpr unsigned int kDescriptionLength = 40;
  const std::string caption = WideToUtf8(GetLocalizedString(1138, kVersion, kBuild));
  const std::string password = WideToUtf8(GetLocalizedString(1140, domain));
  Options::options_description options(caption, kLineLength, kDescriptionLength);
  auto add = options.add_options();
  add("help,h", Description(1139).c_str());
  add("admin_password,p", Options::wvalue<std::wstring>(&input.ssoPassword)->required(),
      password.c_str());
  add("kv_sa_password,a", Options::wvalue<std::wstring>(&input.kvSaPassword),
      Description(1141).c_str());
  add("export_dir,e", Options::wvalue<std::wstring>(&input.exportDir), Description(1142).c_str());
  add("hv_port,o", Options::wvalue<std::uint32_t>(&input.hvPort), Description(1143).c_str());
  add("hv_ip,i", Options::wvalue<std::wstring>(&input.hvIp), Description(1215).c_str());
  return options;
}

bool IsUtf8Continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

/// The library wraps lines by bytes and may cut a character in two where a language has no blanks.
/// \return \p text with the first half of such a character moved to the line of its second half.
std::string RejoinCutCharacters(const std::string& text) {
  std::string whole;
  std::string carried;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t start = line.find_first_not_of(' ');
    if (start != std::string::npos) line.insert(start, carried);
    carried.clear();
    std::size_t last = line.size();
    while (last > 0 && IsUtf8Continuation(line[last - 1])) --last;
    if (last > 0) --last;
    // A lead byte says by its upper bits how many bytes the character has.
    const auto lead = static_cast<unsigned char>(last < line.size() ? line[last] : 0);
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
    if (last + length > line.size()) {
      carried = line.substr(last);
      line.resize(last);
    }
    whole += line + "\n";
  }
  return whole;
}

void PrintHelp(const Options::options_description& options) {
  std::ostringstream text;
  text << options;
  PrintLine(Utf8ToWide(RejoinCutCharacters(text.str())));
}

/// Stores and assigns what the command line holds.
/// \return False when it asks for help, in which case nothing is assigned or found missing.
bool ReadOptions(int argc, wchar_t* argv[], const Options::options_description& options,
                 UserInput& input) {
  Options::variables_map values;
  Options::store(Options::wcommand_line_parser(argc, argv).options(options).run(), values);
  if (values.count("help") != 0) return false;
  input.hvPortGiven = values.count("hv_port") != 0;
  Options::notify(values);
  return true;
}

void ReportParseError(const Options::error& error) {
  LogScope log;
  const std::wstring reason = Utf8ToWide(error.what());
  PrintLine(GetLocalizedString(1144, reason));
  log.Error(L"ParseCommandLineOptions: %s", GetLocalizedStringIn(1144, reason, "en").c_str());
}

}  // namespace

StartResult ParseCommandLineOptions(int argc, wchar_t* argv[], UserInput& input) {
  LogScope log;
  const std::wstring domain = AdministratorDomain();
  if (argc < 2) {
    log.Info(L"ParseCommandLineOptions: HV launched without passing command line parameters.");
    return kGoOn;
  }
  const Options::options_description options = DescribeOptions(domain, input);
  try {
    if (!ReadOptions(argc, argv, options, input)) {
      PrintHelp(options);
      return kStop;
    }
  } catch (const Options::error& error) {
    ReportParseError(error);
    return kFailed;
  }
  log.Info(L"ParseCommandLineOptions: Successfully parsed passed command line parameters.");
  return kGoOn;
}

}  // namespace Halvard
