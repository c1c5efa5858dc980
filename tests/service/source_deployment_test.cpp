// What a client is told of the deployment that it migrates.
#include "service_test.h"

namespace Halvard::MigratorSvc {
namespace {

class SourceDeployment : public ServiceTest {
 protected:
  CallResult Ask() { return Call(&AsyncServiceInterface::GetSourceDeploymentType, GoodRequest()); }
};

TEST_F(SourceDeployment, IsAnsweredToTheByte) {
  gProperties[L"DST_DEPLOYMENT_SIZE"] = L"Small";
  EXPECT_EQ(Ask().text,
            "{\n"
            "   \"deployment_size\" : \"Small\",\n"
            "   \"deployment_type\" : \"embedded\",\n"
            "   \"deployment_ver\" : \"5.5\",\n"
            "   \"error\" : \"\",\n"
            "   \"hv_kvsa_version\" : \"6.0.0.14510545\",\n"
            "   \"result\" : \"success\"\n"
            "}\n");
}

TEST_F(SourceDeployment, HasASizeWhereThereIsAnInventoryAlone) {
  for (const wchar_t* type : {L"embedded", L"management"}) {
    gProperties[L"MIGRATION_TYPE"] = type;
    EXPECT_EQ(Ask().reply["deployment_size"], "Tiny");
  }
  for (const wchar_t* type : {L"infrastructure", L"tum"}) {
    gProperties[L"MIGRATION_TYPE"] = type;
    EXPECT_EQ(Ask().reply["deployment_size"], "");
    EXPECT_EQ(Utf8ToWide(Ask().reply["deployment_type"].asString()), type);
  }
}

TEST_F(SourceDeployment, IsAnnouncedBeforeAndAfterTheGuards) {
  const CallResult result = Ask();
  EXPECT_EQ(result.console,
            L"Collecting source deployment type...\nReturning deployment type: embedded\n");
}

}  // namespace
}  // namespace Halvard::MigratorSvc
