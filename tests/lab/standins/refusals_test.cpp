// What a client says wrong: each is refused, told, and in the journal.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "standins/soap_client.h"
#include "support/kelvane_server.h"

namespace Lab::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

struct Refusal {
  const char* name;
  SoapCall call;
  std::function<void(SoapCall&)> change;
  const char* type;
  const char* text;
};

void PrintTo(const Refusal& refusal, std::ostream* stream) { *stream << refusal.name; }

SoapCall GoodLogin() { return Login(KelvaneServer::kUser, KelvaneServer::kPassword); }

SoapCall RetrieveByFilter(const std::string& filter,
                          const std::string& options = "<options></options>") {
  return {"RetrieveProperties", "PropertyCollector", "<specSet>" + filter + "</specSet>" + options};
}

SoapCall Register(const std::string& extension) {
  return {"RegisterExtension", "ExtensionManager", "<extension>" + extension + "</extension>"};
}

constexpr const char* kDescription =
    "<description><label>l</label><summary>s</summary></description>";
constexpr const char* kTime = "<lastHeartbeatTime>2026-02-03T04:05:06.789Z</lastHeartbeatTime>";

std::string Hosts() {
  return "<propSet><type>HostSystem</type><all>false</all><pathSet>name</pathSet></propSet>";
}
std::string Root(const std::string& selections = "") {
  return "<objectSet><obj type=\"Folder\">group-d1</obj><skip>false</skip>" + selections +
         "</objectSet>";
}
std::string Traversal(const std::string& type, const std::string& path) {
  return "<selectSet xsi:type=\"TraversalSpec\"><name>n</name><type>" + type + "</type><path>" +
         path + "</path><skip>false</skip></selectSet>";
}

void Header(SoapCall& call, const std::string& name, const std::string& value) {
  call.headers[name] = value;
}

/// Replaces the first place of a text in the envelope.
std::function<void(SoapCall&)> Replace(const std::string& from, const std::string& to) {
  return [from, to](SoapCall& call) {
    call.body = call.Envelope();
    const std::size_t place = call.body->find(from);
    ASSERT_NE(place, std::string::npos) << from;
    call.body->replace(place, from.size(), to);
  };
}

const Refusal kHttp[] = {
    {"GetInPlaceOfPost", RetrieveContent(), [](SoapCall& c) { c.method = "GET"; }, "InvalidRequest",
     "Expected POST"},
    {"OlderHttp", RetrieveContent(), [](SoapCall& c) { c.version = "HTTP/1.0"; }, "InvalidRequest",
     "Expected HTTP/1.1"},
    {"UnknownPath", RetrieveContent(), [](SoapCall& c) { c.path = "/sdk"; }, "InvalidRequest",
     "There is no service at /sdk"},
    {"NoAction", RetrieveContent(), [](SoapCall& c) { c.headers.erase("SOAPAction"); },
     "InvalidVersion", "Expected the header SOAPAction: \"urn:quen25/5.5\""},
    {"OtherVersion", RetrieveContent(),
     [](SoapCall& c) { Header(c, "SOAPAction", "\"urn:quen25/6.0\""); }, "InvalidVersion",
     "SOAPAction"},
    {"ActionWithoutQuotes", RetrieveContent(),
     [](SoapCall& c) { Header(c, "SOAPAction", "urn:quen25/5.5"); }, "InvalidVersion",
     "SOAPAction"},
    {"ActionOfTheOtherService", RetrieveContent(),
     [](SoapCall& c) { Header(c, "SOAPAction", "\"urn:lookup/version2\""); }, "InvalidVersion",
     "SOAPAction"},
    {"NoUserAgent", RetrieveContent(), [](SoapCall& c) { c.headers.erase("User-Agent"); },
     "InvalidRequest", "Expected the header User-Agent: tunrak/6.0"},
    {"OtherContentType", RetrieveContent(),
     [](SoapCall& c) { Header(c, "Content-Type", "application/soap+xml"); }, "InvalidRequest",
     "Expected the header Content-Type: text/xml; charset=utf-8"},
    {"NoHost", RetrieveContent(), [](SoapCall& c) { c.headers.erase("Host"); }, "InvalidRequest",
     "Expected the header Host"},
    {"HostWithoutPort", RetrieveContent(), [](SoapCall& c) { Header(c, "Host", "localhost"); },
     "InvalidRequest", "Expected the header Host: HOST:PORT"},
};

const Refusal kXml[] = {
    {"NoDeclaration", RetrieveContent(), Replace(R"(<?xml version="1.0" encoding="UTF-8"?>)", ""),
     "InvalidRequest", "doesn't begin with"},
    {"BareAmpersand", GoodLogin(), Replace("&amp;", "&"), "InvalidRequest", "bare &"},
    {"BareGreaterThan", GoodLogin(), Replace("&gt;", ">"), "InvalidRequest", "bare >"},
    {"UnknownEntity", GoodLogin(), Replace("&amp;", "&nbsp;"), "InvalidRequest",
     "unknown reference"},
    {"ReferenceToAControlCharacter", GoodLogin(), Replace("&amp;", "&#1;"), "InvalidRequest",
     "unknown reference"},
    {"ControlCharacter", GoodLogin(), Replace("&amp;", "\x01"), "InvalidRequest",
     "a character that XML lacks"},
    {"NotUtf8", GoodLogin(), Replace("&amp;", "\xE4"), "InvalidRequest", "isn't UTF-8"},
    {"Comment", RetrieveContent(), Replace("<self", "<!-- --><self"), "InvalidRequest",
     "markup other than elements"},
    {"DocumentType", RetrieveContent(), Replace("<soapenv:Env", "<!DOCTYPE x><soapenv:Env"),
     "InvalidRequest", "markup other than elements"},
    {"CharacterDataSection", GoodLogin(), Replace("<locale>en", "<locale><![CDATA[en]]>"),
     "InvalidRequest", "markup other than elements"},
    {"UnclosedElement", RetrieveContent(), Replace("</self>", ""), "InvalidRequest", "Not XML"},
    {"TwoDocuments", RetrieveContent(), Replace("</soapenv:Envelope>", "</soapenv:Envelope><x/>"),
     "InvalidRequest", "exactly one element in the document"},
    {"OtherSoap", RetrieveContent(),
     Replace("http://schemas.xmlsoap.org/soap/envelope/",
             "http://www.w3.org/2003/05/soap-envelope"),
     "InvalidRequest", "Expected the Envelope of SOAP 1.1"},
    {"SoapHeader", RetrieveContent(), Replace("<soapenv:Body>", "<soapenv:Header/><soapenv:Body>"),
     "InvalidRequest", "exactly one element in the envelope"},
    {"TwoOperations", RetrieveContent(), Replace("</soapenv:Body>", "<x/></soapenv:Body>"),
     "InvalidRequest", "exactly one element in the body"},
    {"BlankBetweenElements", RetrieveContent(), Replace("</self>", "</self> "), "InvalidRequest",
     "Text within <RetrieveContent>"},
    {"OperationInAnotherNamespace", RetrieveContent(), Replace("urn:quen25", "urn:quen"),
     "InvalidRequest", "Wrong namespace of <RetrieveContent>"},
    {"ChildInAnotherNamespace", GoodLogin(), Replace("<locale>", "<locale xmlns=\"urn:x\">"),
     "InvalidRequest", "Wrong namespace of <locale>"},
    {"PrefixedChild", GoodLogin(),
     [](SoapCall& c) {
       Replace("<locale>en</locale>", "<q:locale xmlns:q=\"urn:quen25\">en</q:locale>")(c);
     },
     "InvalidRequest", "A prefix at <q:locale>"},
    {"UnknownAttribute", GoodLogin(), Replace("<locale>", "<locale a=\"b\">"), "InvalidRequest",
     "Unknown attribute a of <locale>"},
    {"ElementInAText", GoodLogin(), Replace("<locale>en", "<locale><en/>"), "InvalidRequest",
     "Expected nothing but text in <locale>"},
};

const Refusal kOperations[] = {
    {"UnknownOperation",
     {"Shutdown", "ServiceInstance", ""},
     {},
     "InvalidRequest",
     "Unknown operation <Shutdown>"},
    {"OperationOfTheOtherService",
     {"List", "LookupServiceRegistration", ""},
     {},
     "InvalidRequest",
     "Unknown operation <List>"},
    {"NoSelf", RetrieveContent(),
     Replace("<self type=\"ServiceInstance\">ServiceInstance</self>", ""), "InvalidRequest",
     "Expected <self> in <RetrieveContent>, found its end"},
    {"SelfWithoutType", RetrieveContent(), Replace(" type=\"ServiceInstance\"", ""),
     "InvalidRequest", "Expected a reference with its type in <self>"},
    {"SelfOfAnotherType", GoodLogin(), [](SoapCall& c) { c.selfType = "ServiceInstance"; },
     "InvalidRequest", "The operation is one of SessionManager, not of ServiceInstance."},
    {"SelfWithAnotherId", GoodLogin(), [](SoapCall& c) { c.selfId = "manager"; },
     "ManagedObjectNotFound", "There is no SessionManager \"manager\"."},
    {"ArgumentsInAnotherOrder",
     {"Login", "SessionManager", "<password>p</password><userName>u</userName><locale>en</locale>"},
     {},
     "InvalidRequest",
     "Expected <userName> in <Login>, found <password>"},
    {"MissingArgument", GoodLogin(), Replace("<locale>en</locale>", ""), "InvalidRequest",
     "Expected <locale> in <Login>, found its end"},
    {"EmptyLocale", GoodLogin(), Replace("<locale>en</locale>", "<locale/>"), "InvalidArgument",
     "The locale is empty."},
    {"UnknownArgument", RetrieveContent(), [](SoapCall& c) { c.arguments = "<all>true</all>"; },
     "InvalidRequest", "Unknown or misplaced <all> in <RetrieveContent>"},
    {"ArgumentTwice", GoodLogin(),
     Replace("<locale>en</locale>", "<locale>en</locale><locale>en</locale>"), "InvalidRequest",
     "Unknown or misplaced <locale> in <Login>"},
};

const Refusal kInSession[] = {
    {"NoFilter",
     {"RetrieveProperties", "PropertyCollector", "<options/>"},
     {},
     "InvalidArgument",
     "There is no specSet."},
    {"NoOptions",
     RetrieveByFilter(Hosts() + Root(), ""),
     {},
     "InvalidRequest",
     "Expected <options>"},
    {"FlagNotGivenOfAProperty",
     RetrieveByFilter("<propSet><type>Folder</type></propSet>"),
     {},
     "InvalidRequest",
     "The flag <all> isn't given."},
    {"FlagNotGivenOfAnObject",
     RetrieveByFilter("<objectSet><obj type=\"Folder\">group-d1</obj></objectSet>"),
     {},
     "InvalidRequest",
     "The flag <skip> isn't given."},
    {"FlagAsANumber",
     RetrieveByFilter("<propSet><type>Folder</type><all>0</all></propSet>"),
     {},
     "InvalidRequest",
     "Expected true or false in <all>"},
    {"ObjectsBeforeProperties",
     RetrieveByFilter(Root() + Hosts()),
     {},
     "InvalidRequest",
     "Unknown or misplaced <propSet> in <specSet>"},
    {"PageOfNoObjects",
     RetrieveByFilter(Hosts() + Root(), "<options><maxObjects>0</maxObjects></options>"),
     {},
     "InvalidArgument",
     "maxObjects is less than 1."},
    {"PageSizeInWords",
     RetrieveByFilter(Hosts() + Root(), "<options><maxObjects>ten</maxObjects></options>"),
     {},
     "InvalidRequest",
     "Expected a decimal number of 32 bits in <maxObjects>"},
    {"PageSizeBeyond32Bits",
     RetrieveByFilter(Hosts() + Root(), "<options><maxObjects>2147483648</maxObjects></options>"),
     {},
     "InvalidRequest",
     "Expected a decimal number of 32 bits in <maxObjects>"},
    {"UnknownTypeOfAProperty",
     RetrieveByFilter("<propSet><type>Host</type><all>false</all></propSet>"),
     {},
     "InvalidType",
     "There is no type \"Host\"."},
    {"UnknownProperty",
     RetrieveByFilter(
         "<propSet><type>Folder</type><all>false</all><pathSet>size</pathSet></propSet>"),
     {},
     "InvalidProperty",
     "Folder has no property \"size\"."},
    {"UnknownObject",
     RetrieveByFilter(Hosts() + "<objectSet><obj type=\"Folder\">group-d99</obj>"
                                "<skip>false</skip></objectSet>"),
     {},
     "ManagedObjectNotFound",
     "There is no Folder \"group-d99\"."},
    {"ObjectUnderAnotherType",
     RetrieveByFilter(Hosts() + "<objectSet><obj type=\"Datacenter\">group-d1</obj>"
                                "<skip>false</skip></objectSet>"),
     {},
     "ManagedObjectNotFound",
     "There is no Datacenter \"group-d1\"."},
    {"UnknownTypeOfATraversal",
     RetrieveByFilter(Hosts() + Root(Traversal("Cluster", "host"))),
     {},
     "InvalidType",
     "There is no type \"Cluster\"."},
    {"PropertyThatDoesNotLeadOn",
     RetrieveByFilter(Hosts() + Root(Traversal("Folder", "name"))),
     {},
     "InvalidProperty",
     "No property \"name\" of Folder leads on."},
    {"PropertyOfADerivedType",
     RetrieveByFilter(Hosts() + Root(Traversal("Datacenter", "childEntity"))),
     {},
     "InvalidProperty",
     "No property \"childEntity\" of Datacenter leads on."},
    {"NameOfNoTraversal",
     RetrieveByFilter(Hosts() + Root("<selectSet><name>n</name></selectSet>")),
     {},
     "InvalidArgument",
     "No traversal has the name \"n\"."},
    {"TwoTraversalsOfOneName",
     RetrieveByFilter(
         Hosts() + Root(Traversal("Folder", "childEntity") + Traversal("Datacenter", "vmFolder"))),
     {},
     "InvalidArgument",
     "Two traversals have the name \"n\"."},
    {"SelectionWithoutAName",
     RetrieveByFilter(Hosts() + Root("<selectSet></selectSet>")),
     {},
     "InvalidArgument",
     "A selection that is no traversal has no name."},
    {"TraversalThatDoesNotSayIt",
     RetrieveByFilter(Hosts() + Root("<selectSet><name>n</name><type>Folder</type></selectSet>")),
     {},
     "InvalidRequest",
     "Unknown or misplaced <type> in <selectSet>"},
    {"TypeOfASelectionWithoutNamespace",
     RetrieveByFilter(Hosts() +
                      Root("<selectSet type=\"TraversalSpec\"><name>n</name></selectSet>")),
     {},
     "InvalidRequest",
     "Unknown attribute type of <selectSet>"},
    {"UnknownTypeOfASelection",
     RetrieveByFilter(Hosts() + Root("<selectSet xsi:type=\"Spec\"><name>n</name></selectSet>")),
     {},
     "InvalidType",
     "Unknown type of a selection: Spec"},
    {"TokenOfNoPage",
     {"ContinueRetrieveProperties", "PropertyCollector", "<token>1</token>"},
     {},
     "InvalidArgument",
     "The token isn't one of this session, or it has been used."},
    {"ExtensionWithoutDescription",
     Register("<key>k</key>"),
     {},
     "InvalidRequest",
     "Expected <description> in <extension>, found <key>"},
    {"ExtensionWithAnEmptyKey",
     Register(std::string(kDescription) + "<key/>"),
     {},
     "InvalidArgument",
     "An extension needs a key."},
    {"ExtensionWithoutVersion",
     Register(std::string(kDescription) + "<key>k</key>" + kTime),
     {},
     "InvalidRequest",
     "Expected <version> in <extension>, found <lastHeartbeatTime>"},
    {"ExtensionWithoutTime",
     Register(std::string(kDescription) + "<key>k</key><version>1</version>"),
     {},
     "InvalidRequest",
     "Expected <lastHeartbeatTime> in <extension>, found its end"},
    {"TimeOfAnotherForm",
     Register(std::string(kDescription) + "<key>k</key><version>1</version>"
                                          "<lastHeartbeatTime>2026-02-03T04:05:06Z"
                                          "</lastHeartbeatTime>"),
     {},
     "InvalidRequest",
     "Expected a time"},
    {"DayThatThereIsNot",
     Register(std::string(kDescription) + "<key>k</key><version>1</version>"
                                          "<lastHeartbeatTime>2026-02-30T04:05:06.789Z"
                                          "</lastHeartbeatTime>"),
     {},
     "InvalidRequest",
     "Expected a time"},
    {"ClientListOfAnExtension",
     Register(std::string(kDescription) + "<key>k</key><version>1</version><client/>" + kTime),
     {},
     "InvalidRequest",
     "A client doesn't write <client>"},
    {"HealthOfAnExtension",
     Register(std::string(kDescription) + "<key>k</key><version>1</version>" + kTime +
              "<healthInfo/>"),
     {},
     "InvalidRequest",
     "A client doesn't write <healthInfo>"},
};

class Refused : public ::testing::TestWithParam<Refusal> {
 protected:
  static void SetUpTestSuite() { server_ = std::make_unique<KelvaneServer>(); }
  static void TearDownTestSuite() { server_.reset(); }

  static KelvaneServer& Server() { return *server_; }

  static void ExpectRefusal(SoapClient& client, const Refusal& refusal) {
    const std::size_t before = Server().Refusals().size();
    SoapCall call = refusal.call;
    if (refusal.change) refusal.change(call);

    const HttpReply reply = client.Call(call);

    EXPECT_EQ(reply.status, 500);
    EXPECT_EQ(reply.Element("faultcode"), "soapenv:Client");
    EXPECT_EQ(reply.Fault(), refusal.type);
    const std::vector<std::string> refusals = Server().Refusals();
    ASSERT_EQ(refusals.size(), before + 1);
    EXPECT_THAT(refusals.back(), HasSubstr(refusal.text));
  }

 private:
  static inline std::unique_ptr<KelvaneServer> server_;
};

TEST_P(Refused, IsToldAndRecorded) {
  SoapClient client(Server().Port());
  ExpectRefusal(client, GetParam());
}

std::string NameOf(const ::testing::TestParamInfo<Refusal>& row) { return row.param.name; }

INSTANTIATE_TEST_SUITE_P(Http, Refused, ::testing::ValuesIn(kHttp), NameOf);
INSTANTIATE_TEST_SUITE_P(Xml, Refused, ::testing::ValuesIn(kXml), NameOf);
INSTANTIATE_TEST_SUITE_P(Operation, Refused, ::testing::ValuesIn(kOperations), NameOf);

using RefusedInSession = Refused;

TEST_P(RefusedInSession, IsToldAndRecorded) {
  SoapClient client(Server().Port());
  ASSERT_EQ(client.Login(KelvaneServer::kUser, KelvaneServer::kPassword).status, 200);
  ExpectRefusal(client, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Arguments, RefusedInSession, ::testing::ValuesIn(kInSession), NameOf);

TEST(RefusedBytes, WhatIsNotHttpEndsTheConnection) {
  KelvaneServer server;
  SoapClient client(server.Port());
  client.Write("POST\r\n\r\n");

  EXPECT_THAT(client.ReadToEnd(), HasSubstr("500 Internal Server Error"));
  EXPECT_THAT(server.Refusals(), ElementsAre(HasSubstr("Not HTTP as agreed")));
}

TEST(RefusedBytes, ChunksAreRefused) {
  KelvaneServer server;
  SoapClient client(server.Port());
  SoapCall call = RetrieveContent();
  call.headers["Transfer-Encoding"] = "chunked";
  call.headers["Content-Length"] = "0";
  call.body = "0\r\n\r\n";
  std::string bytes = call.Bytes("");
  bytes.erase(bytes.find("Content-Length"), std::string("Content-Length: 0\r\n").size());
  client.Write(bytes);

  EXPECT_EQ(client.Read().status, 500);
  EXPECT_THAT(server.Refusals(), ElementsAre("Expected the header Content-Length"));
}

TEST(RefusedBytes, TheJournalNeverHasThePassword) {
  KelvaneServer server;
  const std::string secret = "kept-to-myself";
  SoapClient client(server.Port());
  client.Login(KelvaneServer::kUser, secret);
  SoapCall swapped = Login("root", secret);
  swapped.arguments = Xml("userName", "root") + Xml("locale", secret) + Xml("password", "en");
  client.Call(swapped);
  SoapCall unknown = Login("root", secret);
  unknown.arguments = Xml("userName", "root") + Xml("pass", secret) + Xml("locale", "en");
  client.Call(unknown);
  SoapCall bare = Login("root", secret);
  bare.body = "<Login>" + secret;
  client.Call(bare);
  server.Stop();

  EXPECT_THAT(server.JournalText(), Not(HasSubstr(secret)));
  EXPECT_EQ(server.Refusals().size(), 3u);
}

TEST(RefusedBytes, NothingIsRefusedOfWhatIsRight) {
  KelvaneServer server;
  SoapClient client(server.Port());
  EXPECT_EQ(client.Call(RetrieveContent()).status, 200);
  EXPECT_EQ(client.Login(KelvaneServer::kUser, KelvaneServer::kPassword).status, 200);
  EXPECT_EQ(client.Call(Logout()).status, 200);

  EXPECT_THAT(server.Refusals(), IsEmpty());
  EXPECT_THAT(server.Operations(), ElementsAre("RetrieveContent", "Login", "Logout"));
}

}  // namespace
}  // namespace Lab::Testing
