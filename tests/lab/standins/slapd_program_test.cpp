// lab-slapd as scripts start it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/value.h>
#include <sys/wait.h>
#include <unistd.h>
#include <winldap.h>

#include <cstdio>
#include <sstream>
#include <string>

#include "support/lab_instance.h"
#include "support/slapd.h"

namespace Lab {
namespace {

PWCHAR Text(const wchar_t* text) { return const_cast<PWCHAR>(text); }

BOOLEAN LDAPAPI Trust(PLDAP, PCCERT_CONTEXT* certificate) {
  CertFreeCertificateContext(*certificate);
  return TRUE;
}

/// The program for as long as the object lives. It reads our end of a pipe, and ends with it.
class Program {
 public:
  explicit Program(const std::string& arguments) {
    const std::string command = std::string(SLAPD_PROGRAM " --until-input-ends ") + arguments +
                                " >" + output_.Path().string() + "/out";
    pipe_ = popen(command.c_str(), "w");
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program() { End(); }

  /// Waits for the line that it prints on its start.
  Json::Value Announcement() const {
    Json::Value line;
    for (int tries = 0; tries < 10'000 && !line.isObject(); ++tries) {
      std::istringstream text(output_.Read("out"));
      Json::CharReaderBuilder builder;
      std::string problem;
      if (!Json::parseFromStream(builder, text, &line, &problem)) line = Json::Value();
      usleep(1000);
    }
    return line;
  }

  int End() {
    if (pipe_ == nullptr) return -1;
    const int status = pclose(pipe_);
    pipe_ = nullptr;
    return WEXITSTATUS(status);
  }

 private:
  const ScratchFolder output_{"slapd-program"};
  std::FILE* pipe_ = nullptr;
};

/// The result of a bind over TLS, as the agent makes it.
ULONG Bind(const wchar_t* name, const wchar_t* password) {
  LDAP* const session = ldap_initW(Text(L"localhost"), LDAP_SSL_PORT);
  const ULONG version = LDAP_VERSION3;
  (void)ldap_set_optionW(session, LDAP_OPT_VERSION, &version);
  (void)ldap_set_optionW(session, LDAP_OPT_SSL, LDAP_OPT_ON);
  (void)ldap_set_optionW(session, LDAP_OPT_SERVER_CERTIFICATE,
                         reinterpret_cast<const void*>(&Trust));
  ULONG result = ldap_connect(session, nullptr);
  if (result == LDAP_SUCCESS) {
    result = ldap_bind_sW(session, Text(name), Text(password), LDAP_AUTH_SIMPLE);
  }
  ldap_unbind(session);
  return result;
}

TEST(SlapdProgram, ServesItsUserUntilItsInputEnds) {
  SKIP_WITHOUT_SLAPD();
  Program program("--domain corp.example --user Boss --password s3cret --belvar-version 6.0.1");
  const Json::Value line = program.Announcement();
  ASSERT_TRUE(line.isObject());
  EXPECT_EQ(line["user"], "Boss@corp.example");
  EXPECT_EQ(line["address"], "127.0.0.1:" + line["port"].asString());
  Instance machine;
  machine.Set("/addressMap/localhost:636", line["address"]);

  EXPECT_EQ(Bind(L"cn=Boss,cn=Users,dc=corp,dc=example", L"s3cret"), ULONG{LDAP_SUCCESS});
  EXPECT_EQ(Bind(L"cn=Boss,cn=Users,dc=corp,dc=example", L"secret"),
            ULONG{LDAP_INVALID_CREDENTIALS});

  EXPECT_EQ(program.End(), 0);
  EXPECT_NE(Bind(L"cn=Boss,cn=Users,dc=corp,dc=example", L"s3cret"), ULONG{LDAP_SUCCESS});
}

TEST(SlapdProgram, RefusesWhatItDoesNotKnow) {
  Program program("--nonsense 2>/dev/null");
  EXPECT_EQ(program.End(), 2);
}

}  // namespace
}  // namespace Lab
