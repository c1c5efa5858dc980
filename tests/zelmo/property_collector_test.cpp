#include "zelmo/property_collector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "soap_answers.h"

namespace Zelmo::Core {
namespace {

using Testing::ContentOf;
using Testing::FailureOf;
using testing::HasSubstr;
using Testing::kVersion;
using Testing::RequestEnvelope;
using Tunrak::Testing::ScriptedServer;

std::string Page(const std::string& result, const std::string& operation = "RetrieveProperties") {
  return Testing::Response(operation, result, "urn:test");
}

std::string Object(const std::string& id) {
  return "<objects><obj type=\"HostSystem\">" + id +
         "</obj><propSet><name>name</name><val xsi:type=\"string\">x</val></propSet></objects>";
}

std::unique_ptr<PropertyCollector> MakeCollector(const ScriptedServer& server) {
  auto collector = std::make_unique<PropertyCollector>(MoRef{"PropertyCollector", "pc"});
  collector->SetAdapter(Testing::MakeAdapter(server, "/x", &kVersion));
  return collector;
}

TEST(RetrieveProperties, WhatIsSetIsWritten) {
  PropertyCollector::PropertySpec properties;
  properties.type = "HostSystem";
  properties.all = false;
  properties.pathSet = {"name", "vm"};
  auto named = std::make_shared<PropertyCollector::SelectionSpec>();
  named->name = "walk";
  auto traversal = std::make_shared<PropertyCollector::TraversalSpec>();
  traversal->name = "walk";
  traversal->type = "Folder";
  traversal->path = "childEntity";
  traversal->skip = false;
  traversal->selectSet = {named};
  PropertyCollector::ObjectSpec object;
  object.obj = {"Folder", "group-d1"};
  object.skip = true;
  object.selectSet = {traversal};
  ScriptedServer server({Page("")});
  EXPECT_EQ(MakeCollector(server)->RetrieveProperties({{{properties}, {object}}}, {1000}), nullptr);
  EXPECT_EQ(ContentOf(server.Requests().front()),
            RequestEnvelope(
                "<RetrieveProperties xmlns=\"urn:test\"><self type=\"PropertyCollector\">pc</self>"
                "<specSet><propSet><type>HostSystem</type><all>false</all><pathSet>name</pathSet>"
                "<pathSet>vm</pathSet></propSet><objectSet><obj type=\"Folder\">group-d1</obj>"
                "<skip>true</skip><selectSet xsi:type=\"TraversalSpec\"><name>walk</name>"
                "<type>Folder</type><path>childEntity</path><skip>false</skip>"
                "<selectSet><name>walk</name></selectSet></selectSet></objectSet></specSet>"
                "<options><maxObjects>1000</maxObjects></options></RetrieveProperties>"));
}

TEST(RetrieveProperties, WhatIsNotSetIsLeftOut) {
  auto traversal = std::make_shared<PropertyCollector::TraversalSpec>();
  auto selection = std::make_shared<PropertyCollector::SelectionSpec>();
  traversal->selectSet = {selection};
  PropertyCollector::ObjectSpec object;
  object.obj = {"Folder", "f"};
  object.selectSet = {traversal};
  ScriptedServer server({Page("")});
  MakeCollector(server)->RetrieveProperties({{{{}}, {object}}}, {});
  EXPECT_THAT(ContentOf(server.Requests().front()),
              HasSubstr("<specSet><propSet><type></type></propSet><objectSet>"
                        "<obj type=\"Folder\">f</obj><selectSet xsi:type=\"TraversalSpec\">"
                        "<type></type><path></path><selectSet/></selectSet></objectSet></specSet>"
                        "<options/></RetrieveProperties>"));
}

TEST(RetrieveProperties, PageHasItsObjectsAndItsToken) {
  ScriptedServer server(
      {Page("<result><token>t&amp;1</token>" + Object("host-1") + Object("host-2") + "</result>")});
  const auto page = MakeCollector(server)->RetrieveProperties({}, {});
  ASSERT_NE(page, nullptr);
  EXPECT_EQ(page->token, "t&1");
  ASSERT_EQ(page->objects.size(), 2u);
  EXPECT_EQ(page->objects[1].obj, (MoRef{"HostSystem", "host-2"}));
}

TEST(ContinueRetrieveProperties, TokenIsSentAndTheNextPageComes) {
  ScriptedServer server(
      {Page("<result>" + Object("host-3") + "</result>", "ContinueRetrieveProperties"),
       Page("", "ContinueRetrieveProperties")});
  const auto collector = MakeCollector(server);
  const auto page = collector->ContinueRetrieveProperties("t&1");
  ASSERT_NE(page, nullptr);
  EXPECT_EQ(page->token, std::nullopt);
  EXPECT_EQ(page->objects.size(), 1u);
  EXPECT_EQ(collector->ContinueRetrieveProperties("t2"), nullptr);
  EXPECT_EQ(ContentOf(server.Requests().front()),
            RequestEnvelope("<ContinueRetrieveProperties xmlns=\"urn:test\">"
                            "<self type=\"PropertyCollector\">pc</self><token>t&amp;1</token>"
                            "</ContinueRetrieveProperties>"));
}

TEST(RetrieveProperties, PagesOfAnotherFormAreRefused) {
  for (const std::string& result :
       {std::string("<result/><result/>"), std::string("<result><objects/></result>"),
        "<result>" + Object("h") + "<token>t</token></result>",
        std::string("<result><token><a/></token></result>"),
        std::string("<result><objects><obj>host-1</obj></objects></result>"),
        std::string("<result><objects><obj type=\"H\">1</obj><other/></objects></result>"),
        std::string("<result><count>5</count></result>"), std::string("<result>5</result>")}) {
    ScriptedServer server({Page(result)});
    EXPECT_NE(FailureOf([&] { MakeCollector(server)->RetrieveProperties({}, {}); }), "") << result;
  }
}

}  // namespace
}  // namespace Zelmo::Core
