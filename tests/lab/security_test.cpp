// Access lists: their forms, their inheritance, what they grant.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "security/access_check.h"
#include "security/folder_rights.h"
#include "security/inheritance.h"
#include "security/sddl.h"
#include "support/lab_instance.h"

namespace Lab {
namespace {

TEST(Sddl, ComesBackAsItWas) {
  for (const wchar_t* text :
       {L"O:BAG:SYD:(A;OICI;FA;;;BA)", L"D:P(D;;0x1;;;WD)(A;CINPIO;GA;;;CO)", L"D:",
        L"O:S-1-5-21-1-2-3-500D:(A;ID;0x120089;;;S-1-5-21-1-2-3-1001)", L"D:NO_ACCESS_CONTROL",
        L"O:BUG:AUD:(A;OINP;0x10000;;;OW)(A;;0x20000;;;CG)"}) {
    EXPECT_EQ(SddlText(ParseSddl(text)), text);
  }
}

TEST(Sddl, LettersAddUp) {
  const SecurityDescriptor read = ParseSddl(L"O:BAD:AIP(A;;FRFWFXSDRCWDWO;;;BA)(A;;GRGWGX;;;BU)");
  EXPECT_TRUE(read.isProtected);
  EXPECT_EQ(read.list->at(0).mask, 0x1F01BFu);
  EXPECT_EQ(read.list->at(1).mask, 0xE0000000u);
  EXPECT_EQ(ParseSddl(L"").list, std::nullopt);
}

TEST(Sddl, RefusesWhatItDoesNotUnderstand) {
  for (const wchar_t* text : {L"x", L"O:ZZ", L"O:BAG:BAD:(A;;FA;;;BA", L"D:(X;;FA;;;BA)",
                              L"D:(A;XX;FA;;;BA)", L"D:(A;;ZZ;;;BA)", L"D:(A;;FA;;;S-1)",
                              L"D:(A;;FA;x;;BA)", L"D:(A;;FAX;;;BA)", L"S:(AU;;FA;;;BA)"}) {
    EXPECT_THROW((void)ParseSddl(text), std::invalid_argument);
  }
}

TEST(Descriptor, SelfRelativeFormComesBackAsItWas) {
  for (const wchar_t* text : {L"O:BAG:SYD:P(A;OICI;FA;;;BA)(D;;0x1;;;S-1-5-21-1-2-3-500)", L"D:",
                              L"D:NO_ACCESS_CONTROL", L"O:SYD:(A;;FA;;;BA)"}) {
    const SecurityDescriptor descriptor = ParseSddl(text);
    EXPECT_EQ(ReadSelfRelative(SelfRelativeForm(descriptor).data()), descriptor);
  }
}

std::wstring Made(const wchar_t* parent, bool isFolder) {
  const Creation creation{isFolder,
                          L"S-1-5-32-544",
                          L"S-1-5-18",
                          {{true, 0, 0x10000000, L"S-1-5-32-544"}, {true, 0, 0x10, L"S-1-3-1"}}};
  return SddlText(DescriptorOfNewObject(ParseSddl(parent), creation)).substr(10);
}

struct Inheritance {
  const wchar_t* entry;
  const wchar_t* file;
  const wchar_t* folder;
};

// What is made of nothing is the default list.
constexpr wchar_t kDefault[] = L"(A;;FA;;;BA)(A;;0x10;;;SY)";

TEST(Inheritance, FollowsTheEntrysFlags) {
  constexpr Inheritance kRows[] = {
      {L"(A;;FA;;;BU)", kDefault, kDefault},
      {L"(A;OI;FA;;;BU)", L"(A;;FA;;;BU)", L"(A;OIIO;FA;;;BU)"},
      {L"(A;OINP;FA;;;BU)", L"(A;;FA;;;BU)", kDefault},
      {L"(A;CI;FA;;;BU)", kDefault, L"(A;CI;FA;;;BU)"},
      {L"(A;CINP;FA;;;BU)", kDefault, L"(A;;FA;;;BU)"},
      {L"(A;OICI;FA;;;BU)", L"(A;;FA;;;BU)", L"(A;OICI;FA;;;BU)"},
      {L"(A;OICINP;FA;;;BU)", L"(A;;FA;;;BU)", L"(A;;FA;;;BU)"},
      {L"(A;OICIIO;FA;;;BU)", L"(A;;FA;;;BU)", L"(A;OICI;FA;;;BU)"},
      {L"(A;OICIID;FA;;;BU)", L"(A;;FA;;;BU)", L"(A;OICI;FA;;;BU)"},
      {L"(D;OICI;0x2;;;BU)", L"(D;;0x2;;;BU)", L"(D;OICI;0x2;;;BU)"},
      {L"(A;OICI;GR;;;BU)", L"(A;;0x120089;;;BU)", L"(A;;0x120089;;;BU)(A;OICIIO;0x80000000;;;BU)"},
      {L"(A;CINP;GW;;;BU)", kDefault, L"(A;;0x120116;;;BU)"},
      {L"(A;OICI;0x2;;;CO)", L"(A;;0x2;;;BA)", L"(A;;0x2;;;BA)(A;OICIIO;0x2;;;CO)"},
      {L"(A;OICI;GX;;;CG)", L"(A;;0x1200a0;;;SY)", L"(A;;0x1200a0;;;SY)(A;OICIIO;0x20000000;;;CG)"},
      {L"(A;OICI;FA;;;OW)", L"(A;;FA;;;OW)", L"(A;OICI;FA;;;OW)"},
      {L"(A;OIIO;GA;;;CO)", L"(A;;FA;;;BA)", L"(A;OIIO;GA;;;CO)"},
  };
  for (const Inheritance& row : kRows) {
    const std::wstring parent = std::wstring(L"D:") + row.entry;
    SCOPED_TRACE(testing::PrintToString(row.entry));
    EXPECT_EQ(Made(parent.c_str(), false), row.file);
    EXPECT_EQ(Made(parent.c_str(), true), row.folder);
  }
  EXPECT_EQ(Made(L"D:", true), kDefault);
  EXPECT_EQ(Made(L"D:NO_ACCESS_CONTROL", false), kDefault);
}

constexpr wchar_t kRoot[] =
    L"D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;0x1200a9;;;BU)(A;CI;0x4;;;BU)"
    L"(A;CIIO;0x2;;;BU)(A;OICIIO;GA;;;CO)";

TEST(Inheritance, OfTheUsualRoot) {
  EXPECT_EQ(Made(kRoot, true),
            L"(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;0x1200a9;;;BU)(A;CI;0x4;;;BU)"
            L"(A;CI;0x2;;;BU)(A;;FA;;;BA)(A;OICIIO;GA;;;CO)");
  EXPECT_EQ(Made(kRoot, false), L"(A;;FA;;;SY)(A;;FA;;;BA)(A;;0x1200a9;;;BU)(A;;FA;;;BA)");
}

struct Check {
  const wchar_t* descriptor;
  std::uint32_t granted;
};

TEST(AccessCheck, FirstEntryDecidesForEachRight) {
  constexpr Check kRows[] = {
      {L"O:SYD:(A;;0x3;;;BA)", 0x3},
      {L"O:SYD:(A;;0x3;;;BA)(A;;0x4;;;BA)", 0x7},
      {L"O:SYD:(D;;0x1;;;BA)(A;;0x3;;;BA)", 0x2},
      {L"O:SYD:(A;;0x3;;;BA)(D;;0x1;;;BA)", 0x3},
      {L"O:SYD:(A;OICIIO;0x3;;;BA)", 0},
      {L"O:SYD:(A;;FA;;;WD)(A;;FA;;;AU)", 0},
      {L"O:SYD:(A;;GA;;;BA)", 0x10000000},
      {L"O:SYD:", 0},
      {L"O:SYD:NO_ACCESS_CONTROL", 0x1FFFFF},
      {L"O:BAD:", 0x60000},
      {L"O:BAD:(D;;0x60000;;;BA)", 0x60000},
      {L"O:BAD:(A;;0x1;;;OW)", 0x1},
      {L"O:SYD:(A;;0x1;;;OW)", 0},
      {L"O:BAD:(A;IO;0x1;;;OW)", 0x60000},
  };
  for (const Check& row : kRows) {
    EXPECT_EQ(GrantedRights(ParseSddl(row.descriptor), L"S-1-5-32-544"), row.granted)
        << testing::PrintToString(row.descriptor);
  }
}

TEST(FolderRights, AreDescribedOrHandedOn) {
  Instance machine;
  Json::Value rights;
  rights["C:\\x"] = "O:SYG:SYD:(A;OICI;0x1;;;BU)";
  rights["C:\\x\\own"] = "O:SYG:SYD:P(A;;0x2;;;BU)";
  machine.Set("/folderRights", rights);
  EXPECT_EQ(SddlText(RightsOfFolder(L"C:\\X")), L"O:SYG:SYD:(A;OICI;0x1;;;BU)");
  EXPECT_EQ(RightsOfFolder(L"C:\\x\\").list, RightsOfFolder(L"C:\\x\\a\\b").list);
  EXPECT_EQ(RightsOfFolder(L"C:\\x\\a").owner, L"S-1-5-32-544");
  EXPECT_EQ(RightsOfFolder(L"C:\\x\\own\\").list->at(0).mask, 0x2u);
  EXPECT_EQ(RightsOfFolder(L"C:\\x\\owner").list->at(0).mask, 0x1u);
  // What hands on nothing leaves the user's default.
  EXPECT_THAT(SddlText(RightsOfFolder(L"C:\\x\\own\\a")),
              testing::EndsWith(L"D:(A;;FA;;;BA)(A;;FA;;;SY)"));
  EXPECT_EQ(RightsOfFolder(L"C:\\").list->size(), 6u);
  EXPECT_EQ(RightsOfFolder(L"C:\\other").list->size(), 7u);
}

TEST(FolderRights, NewObjectsBelongToWhomTheUserIsSetTo) {
  Instance machine;
  EXPECT_EQ(CreationByUser(true).owner, kAdministratorsGroup);
  machine.Set("/user/elevated", false);
  EXPECT_EQ(CreationByUser(true).owner, L"S-1-5-21-3610428163-2094750811-1582607394-500");
  machine.Set("/user/defaultOwner", "S-1-5-18");
  EXPECT_EQ(CreationByUser(false).owner, kSystemAccount);
  EXPECT_EQ(CreationByUser(false).group, L"S-1-5-21-3610428163-2094750811-1582607394-513");
}

}  // namespace
}  // namespace Lab
