#include "network/dns_suffixes.h"

#include "collection_test.h"
#include "network/adapter_snapshot.h"

namespace Halvard::Network {
namespace {

class DnsSuffixes : public CollectionTest {
 protected:
  DnsSuffixes() {
    // No suffix of its own.
    machine_.Remove("/adapters/0/dnsSuffix");
  }
  /// With a search list, if it isn't null.
  std::wstring List(const wchar_t* searchList) {
    if (searchList != nullptr) {
      machine_.SetRegistryString(kTcpipKey, L"SearchList", searchList);
    }
    const AdapterAddressesWrapper adapters;
    return GetDnsSuffixList(*adapters.Get());
  }
};

TEST_F(DnsSuffixes, MachineWithoutAnyHasNone) { EXPECT_EQ(List(nullptr), L""); }

TEST_F(DnsSuffixes, ComeFromThreePlacesSortedAndOnce) {
  machine_.Set("/adapters/0/dnsSuffix", "m.example");
  Json::Value told(Json::arrayValue);
  for (const char* suffix : {"z.example", "", "b.example"}) told.append(suffix);
  machine_.Set("/adapters/0/dnsSuffixes", told);
  EXPECT_EQ(List(L"z.example,a.example,m.example"), L"a.example, b.example, m.example, z.example");
}

TEST_F(DnsSuffixes, CaseIsSignificantAndCapitalsComeFirst) {
  EXPECT_EQ(List(L"b.example,B.example,a.example,C.example"),
            L"B.example, C.example, a.example, b.example");
}

TEST_F(DnsSuffixes, CommasAloneSeparateTheSearchList) {
  EXPECT_EQ(List(L",,a.example,,b.example,"), L"a.example, b.example");
  EXPECT_EQ(List(L"a.example b.example;c.example\td.example"),
            L"a.example b.example;c.example\td.example");
  // A blank is part of the piece.
  EXPECT_EQ(List(L"b.example, a.example"), L" a.example, b.example");
  EXPECT_EQ(List(L","), L"");
  EXPECT_EQ(List(L""), L"");
}

TEST_F(DnsSuffixes, SearchListThatIsNoTextIsLeftOut) {
  machine_.Set("/adapters/0/dnsSuffix", "m.example");
  machine_.SetRegistryValue(kTcpipKey, L"SearchList", {.type = 4, .bytes = {7, 0, 0, 0}});
  EXPECT_EQ(List(nullptr), L"m.example");
}

TEST_F(DnsSuffixes, LongListsAreTakenWhole) {
  const std::wstring longName(1000, L'a');
  EXPECT_EQ(List((longName + L"," + longName + L",b").c_str()), longName + L", b");
}

}  // namespace
}  // namespace Halvard::Network
