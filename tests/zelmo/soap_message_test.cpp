#include "zelmo/soap_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "soap_answers.h"
#include "zelmo/member_reader.h"

namespace Zelmo {
namespace {

using Testing::Envelope;
using Testing::FailureOf;
using Testing::FaultBody;
using testing::HasSubstr;
using Testing::kSelf;
using Testing::kVersion;
using testing::Not;
using Testing::RequestEnvelope;
using Testing::ResponseBody;

std::unique_ptr<Answer> Parse(const std::string& text) {
  return std::make_unique<Answer>(std::vector<char>(text.begin(), text.end()));
}

std::string AnswerRefusal(const std::string& text) {
  return FailureOf([&] { Parse(text)->Results(kVersion, "Do"); });
}

std::string ForTest(const std::string& results) { return ResponseBody("Do", results, "urn:test"); }

TEST(WriteCall, CallWithoutArgumentsIsTheseBytes) {
  EXPECT_EQ(WriteCall(kVersion, kSelf, "Do", {}),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
            "<soapenv:Envelope xmlns:soapenv=\"http://schemas.xmlsoap.org/soap/envelope/\""
            " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">"
            "<soapenv:Body><Do xmlns=\"urn:test\"><self type=\"Folder\">group-d1</self></Do>"
            "</soapenv:Body></soapenv:Envelope>");
}

TEST(WriteCall, MembersAreWrittenInTheirForms) {
  const std::string call = WriteCall(kVersion, kSelf, "Do", [](MemberWriter& writer) {
    writer.Text("empty", "");
    writer.Texts("list", {"a", "b"});
    writer.Boolean("yes", true);
    writer.Boolean("no", false);
    writer.Integer("number", -1000);
    writer.Time("time", Tunrak::System::ParseDateTime("2026-02-03T04:05:06.789Z"));
    writer.Reference("reference", {"Folder", "a&b"});
    MemberWriter structure = writer.Structure("structure");
    structure.SetDerivedType("Derived");
    structure.Text("member", "x");
  });
  EXPECT_EQ(call,
            RequestEnvelope("<Do xmlns=\"urn:test\"><self type=\"Folder\">group-d1</self>"
                            "<empty></empty><list>a</list><list>b</list><yes>true</yes>"
                            "<no>false</no><number>-1000</number>"
                            "<time>2026-02-03T04:05:06.789Z</time>"
                            "<reference type=\"Folder\">a&amp;b</reference>"
                            "<structure xsi:type=\"Derived\"><member>x</member></structure></Do>"));
}

TEST(WriteCall, TextIsEscapedAndComesThroughWhole) {
  const std::string text = " <a>&amp;\"']]>\r\n\t\xC3\xB6\xF0\x9D\x92\xBD ";
  const std::string call =
      WriteCall(kVersion, kSelf, "Do", [&](MemberWriter& writer) { writer.Text("t", text); });
  EXPECT_THAT(call, HasSubstr("<t> &lt;a&gt;&amp;amp;\"']]&gt;&#13;\n\t\xC3\xB6"));
  pugi::xml_document document;
  ASSERT_TRUE(document.load_buffer(call.data(), call.size()));
  EXPECT_EQ(TextOf(document.first_child().first_child().first_child().child("t")), text);
}

TEST(WriteCall, TextThatXmlCannotHoldIsRefusedWithoutRepeatingIt) {
  for (const std::string& text : {std::string("secret\x01"), std::string("secret\0x", 8),
                                  std::string("secret\xFF"), std::string("secret\x1B[0m")}) {
    const std::string failure = FailureOf([&] {
      WriteCall(kVersion, kSelf, "Do", [&](MemberWriter& call) { call.Text("password", text); });
    });
    EXPECT_EQ(failure, "The password has a character that can't be sent.");
  }
  EXPECT_THAT(FailureOf([] {
                WriteCall(kVersion, {"Folder", "\x02"}, "Do", {});
              }),
              HasSubstr("self"));
}

TEST(Answer, ResultsAreHandedOutInOrder) {
  EXPECT_EQ(Parse(ForTest(""))->Results(kVersion, "Do").size(), 0u);
  const auto answer = Parse(ForTest("<result>a</result> <!-- x --> <result>b</result>\n"));
  const auto results = answer->Results(kVersion, "Do");
  ASSERT_EQ(results.size(), 2u);
  EXPECT_EQ(TextOf(results[0]), "a");
  EXPECT_EQ(TextOf(results[1]), "b");
  EXPECT_FALSE(answer->IsFault());
}

TEST(Answer, PrefixesAreFreeAndNamespacesCount) {
  EXPECT_EQ(AnswerRefusal("<S:Envelope xmlns:S=\"http://schemas.xmlsoap.org/soap/envelope/\">"
                          "<S:Header><x/></S:Header><S:Body>"
                          "<t:DoResponse xmlns:t=\"urn:test\"/></S:Body></S:Envelope>"),
            "");
  EXPECT_EQ(AnswerRefusal(ResponseBody("Do", "", "urn:other")),
            "Unexpected answer: \"DoResponse\" instead of one to Do.");
  EXPECT_EQ(AnswerRefusal("<Envelope><Body><DoResponse/></Body></Envelope>"),
            "Unexpected answer: no SOAP envelope.");
}

TEST(Answer, WhatIsNoAnswerIsRefused) {
  EXPECT_THAT(AnswerRefusal(""), HasSubstr("Bad XML"));
  EXPECT_THAT(AnswerRefusal("garbage"), HasSubstr("Bad XML"));
  EXPECT_THAT(AnswerRefusal("{\"a\": 1}"), HasSubstr("Bad XML"));
  EXPECT_THAT(AnswerRefusal("<html><body>x</body></html>"), HasSubstr("no SOAP envelope"));
  EXPECT_EQ(AnswerRefusal(ResponseBody("Undo", "", "urn:test")),
            "Unexpected answer: \"UndoResponse\" instead of one to Do.");
  EXPECT_THAT(AnswerRefusal(Envelope("")), HasSubstr("\"soapenv:Body\" is empty"));
  EXPECT_THAT(AnswerRefusal(Envelope("<a/><b/>")), HasSubstr("has more than one element"));
  EXPECT_THAT(AnswerRefusal(Envelope("text")), HasSubstr("is empty"));
  EXPECT_EQ(AnswerRefusal(ForTest("<other/>")),
            "Unexpected answer: \"DoResponse\" has an unexpected \"other\".");
  EXPECT_EQ(AnswerRefusal(ForTest("text")),
            "Unexpected answer: \"DoResponse\" holds text among its members.");
  EXPECT_THAT(AnswerRefusal("<a><b></a></b>"), HasSubstr("Start-end tags mismatch"));
  EXPECT_THAT(AnswerRefusal(ForTest("<result a=b/>")), HasSubstr("Unexpected answer"));
}

TEST(Answer, EachBeginningOfAnAnswerIsRefused) {
  const std::string whole = ForTest("<result type=\"Folder\">group-d1</result>");
  EXPECT_EQ(AnswerRefusal(whole), "");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_NE(AnswerRefusal(whole.substr(0, size)), "") << size;
  }
}

TEST(Answer, FaultNamesItsTypeAndText) {
  const auto fault = Parse(FaultBody("InvalidLogin", "Cannot &lt;complete&gt; login."));
  EXPECT_TRUE(fault->IsFault());
  EXPECT_EQ(fault->FaultType(), "InvalidLogin");
  EXPECT_EQ(fault->FaultText(), "Cannot <complete> login.");
}

TEST(Answer, FaultMayLackWhatItSays) {
  for (const char* body : {"<soapenv:Fault/>", "<soapenv:Fault><detail/></soapenv:Fault>",
                           "<soapenv:Fault><detail>x</detail></soapenv:Fault>",
                           "<soapenv:Fault><detail><Other/></detail></soapenv:Fault>"}) {
    const auto fault = Parse(Envelope(body));
    EXPECT_TRUE(fault->IsFault());
    EXPECT_EQ(fault->FaultType(), "");
    EXPECT_EQ(fault->FaultText(), "");
  }
}

// The members of structures.

/// A structure of these members, read by the caller.
std::string ReadingFailure(const std::string& members,
                           const std::function<void(MemberReader&)>& read) {
  const auto answer = Parse(ForTest("<result>" + members + "</result>"));
  return FailureOf([&] {
    MemberReader reader(answer->Results(kVersion, "Do").front());
    read(reader);
    reader.End();
  });
}

TEST(MemberReader, MembersAreTakenInOrder) {
  EXPECT_EQ(
      ReadingFailure(
          " <a>x</a>\n<!-- -->\n<r type=\"T\">1</r><l>1</l><l>2</l><t>2026-02-03T04:05:06Z</t>"
          "<s><a/></s><s/>",
          [](MemberReader& reader) {
            EXPECT_EQ(reader.OptionalText("missing"), std::nullopt);
            EXPECT_EQ(reader.Text("a"), "x");
            EXPECT_EQ(reader.OptionalReference("missing"), std::nullopt);
            EXPECT_EQ(reader.Reference("r"), (MoRef{"T", "1"}));
            EXPECT_EQ(reader.Texts("l"), (std::vector<std::string>{"1", "2"}));
            EXPECT_EQ(Tunrak::System::FormatDateTime(reader.Time("t")), "2026-02-03T04:05:06.000Z");
            EXPECT_EQ(reader.Structures("s").size(), 2u);
          }),
      "");
}

TEST(MemberReader, TextIsWholeHoweverItIsWritten) {
  EXPECT_EQ(ReadingFailure("<a>1<!-- -->2<![CDATA[<3>]]>&#52;&amp;</a><b>  </b><c/><d></d>",
                           [](MemberReader& reader) {
                             EXPECT_EQ(reader.Text("a"), "12<3>4&");
                             EXPECT_EQ(reader.Text("b"), "  ");
                             EXPECT_EQ(reader.Text("c"), "");
                             EXPECT_EQ(reader.Text("d"), "");
                           }),
            "");
}

TEST(MemberReader, WhatIsMissingMisplacedOrMoreIsRefused) {
  const auto readAB = [](MemberReader& reader) {
    reader.Text("a");
    reader.Text("b");
  };
  EXPECT_EQ(ReadingFailure("<a/><b/>", readAB), "");
  EXPECT_EQ(ReadingFailure("<a/>", readAB),
            "Unexpected answer: \"result\" has no \"b\" where one belongs.");
  EXPECT_EQ(ReadingFailure("<b/><a/>", readAB),
            "Unexpected answer: \"result\" has no \"a\" where one belongs.");
  EXPECT_EQ(ReadingFailure("<a/><b/><b/>", readAB),
            "Unexpected answer: \"result\" has an unexpected \"b\".");
  EXPECT_EQ(ReadingFailure("<a/><x:b xmlns:x=\"urn:y\"/>", readAB),
            "Unexpected answer: \"result\" has no \"b\" where one belongs.");
  EXPECT_EQ(ReadingFailure("<a/>text<b/>", readAB),
            "Unexpected answer: \"result\" holds text among its members.");
  EXPECT_EQ(ReadingFailure("", readAB),
            "Unexpected answer: \"result\" has no \"a\" where one belongs.");
}

TEST(MemberReader, ValuesOfAnotherKindAreRefused) {
  EXPECT_EQ(ReadingFailure("<a><b/></a>", [](MemberReader& reader) { reader.Text("a"); }),
            "Unexpected answer: \"a\" holds elements instead of text.");
  for (const char* member : {"<a>group-d1</a>", "<a type=\"Folder\"/>", "<a type=\"\">x</a>"}) {
    EXPECT_EQ(ReadingFailure(member, [](MemberReader& reader) { reader.Reference("a"); }),
              "Unexpected answer: \"a\" is no reference.")
        << member;
  }
  EXPECT_THAT(ReadingFailure("<a>yesterday</a>", [](MemberReader& reader) { reader.Time("a"); }),
              HasSubstr("Not a time in UTC"));
}

}  // namespace
}  // namespace Zelmo
