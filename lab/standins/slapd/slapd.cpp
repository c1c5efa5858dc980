#include "standins/slapd/slapd.h"

#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "standins/host_server/child_process.h"
#include "standins/host_server/loopback_port.h"

namespace Lab {
namespace {

constexpr char kServer[] = "/usr/sbin/slapd";
constexpr char kLoader[] = "/usr/sbin/slapadd";

/// "dc=ostrel,dc=local"
std::string Suffix(const std::string& domain) {
  std::string suffix;
  std::istringstream labels(domain);
  for (std::string label; std::getline(labels, label, '.');) {
    suffix += (suffix.empty() ? "dc=" : ",dc=") + label;
  }
  return suffix;
}

/// A name as it stands in a distinguished one.
std::string Escaped(const std::string& name) {
  std::string escaped;
  for (const char c : name) {
    if (std::string(",+\"\\<>;=#").find(c) != std::string::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::string Entries(const Slapd::Settings& settings) {
  const std::string suffix = Suffix(settings.domain);
  const std::string users = "cn=Users," + suffix;
  std::string text = "dn: " + suffix + "\nobjectClass: organization\nobjectClass: dcObject\ndc: " +
                     settings.domain.substr(0, settings.domain.find('.')) +
                     "\no: " + settings.domain + "\n\ndn: " + users +
                     "\nobjectClass: applicationProcess\ncn: Users\n";
  for (const Slapd::User& user : settings.users) {
    text += "\ndn: cn=" + Escaped(user.name) + "," + users +
            "\nobjectClass: person\ncn: " + user.name + "\nsn: " + user.name +
            "\nuserPassword: " + user.password + "\n";
  }
  return text;
}

std::string Configuration(const std::filesystem::path& folder, const Slapd::Settings& settings) {
  const std::string place = folder.string() + "/";
  return "include /etc/ldap/schema/core.schema\n"
         "attributetype ( 1.3.6.1.4.1.32473.1.1 NAME 'ostrelBelvarControllerVersion'"
         " EQUALITY caseIgnoreMatch SYNTAX 1.3.6.1.4.1.1466.115.121.1.15 SINGLE-VALUE )\n"
         "objectclass ( 1.3.6.1.4.1.32473.2.1 NAME 'ostrelBelvarController' AUXILIARY"
         " MAY ostrelBelvarControllerVersion )\n"
         "modulepath /usr/lib/ldap\n"
         "moduleload back_mdb\n"
         "TLSCertificateFile " +
         place +
         "certificate.pem\n"
         "TLSCertificateKeyFile " +
         place +
         "key.pem\n"
         "rootDSE " +
         place + "root.ldif\n" +
         (settings.allowsUnauthenticatedBinds ? "allow bind_anon_dn\n" : "") +
         "database mdb\n"
         "maxsize 1048576\n"
         "suffix \"" +
         Suffix(settings.domain) +
         "\"\n"
         "directory " +
         place + "database\n";
}

std::string RootEntry(const Slapd::Settings& settings) {
  std::string text = "dn:\nobjectClass: ostrelBelvarController\n";
  if (settings.version) text += "ostrelBelvarControllerVersion: " + *settings.version + "\n";
  return text;
}

}  // namespace

bool Slapd::Installed() { return access(kServer, X_OK) == 0; }

Slapd::Slapd(const Settings& settings) : folder_("slapd") {
  WriteConfiguration(settings);
  constexpr int kTries = 5;  // Another program may take the port in between.
  for (int i = 0; i < kTries; ++i) {
    if (StartOnSomePort()) return;
  }
  throw std::runtime_error(std::string(kServer) + ": " + folder_.Read("output"));
}

Slapd::~Slapd() { Stop(); }

std::string Slapd::Address() const { return "127.0.0.1:" + std::to_string(port_); }

void Slapd::Stop() { EndChild(process_); }

void Slapd::WriteConfiguration(const Settings& settings) const {
  std::filesystem::create_directory(folder_ / "database");
  folder_.Write("slapd.conf", Configuration(folder_.Path(), settings));
  folder_.Write("root.ldif", RootEntry(settings));
  folder_.Write("entries.ldif", Entries(settings));
  RunChild({"/usr/bin/openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
            "ec_paramgen_curve:prime256v1", "-nodes", "-days", "30", "-subj", "/CN=localhost",
            "-keyout", folder_ / "key.pem", "-out", folder_ / "certificate.pem"},
           folder_ / "output");
  RunChild({kLoader, "-f", folder_ / "slapd.conf", "-l", folder_ / "entries.ldif"},
           folder_ / "output");
}

bool Slapd::StartOnSomePort() {
  port_ = FreeLoopbackPort();
  process_ = StartChild(
      {kServer, "-d", "0", "-f", folder_ / "slapd.conf", "-h", "ldaps://" + Address() + "/"},
      folder_ / "output");
  // It has no way to say that it listens but to do so.
  return AwaitReady(process_, [this] { return ListensOnLoopback(port_); });
}

}  // namespace Lab
