// Names of certificates against a statement of the match that compares no texts character by
// character: labels are taken apart, and sets of them compared.
#include <rapidcheck.h>

#include <algorithm>
#include <string>
#include <vector>

#include "core/core_test.h"
#include "discovery/certificate_names.h"
#include "discovery/known_names.h"

namespace Halvard::Discovery {
namespace {

using Testing::Known;

using Labels = std::vector<std::wstring>;

class CertificateNamesProperty : public CoreTest {
 protected:
  CertificateNamesProperty() { Known() = {}; }
};

std::wstring Lower(std::wstring text) {
  for (wchar_t& c : text) {
    if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
  }
  return text;
}

/// The labels in small letters, the empty ones included.
Labels LabelsOf(const std::wstring& name) {
  Labels labels(1);
  for (const wchar_t c : Lower(name)) {
    if (c == L'.') {
      labels.emplace_back();
    } else {
      labels.back() += c;
    }
  }
  return labels;
}

/// A wildcard is the whole first label, or the whole name, and stands for one label.
bool Matches(const std::wstring& address, const std::wstring& dnsName) {
  Labels of = LabelsOf(address);
  Labels pattern = LabelsOf(dnsName);
  const auto stars = std::count(dnsName.begin(), dnsName.end(), L'*');
  if (stars == 0) return of == pattern;
  if (stars > 1 || pattern.front() != L"*") return false;
  if (of.size() != pattern.size()) return false;
  of.erase(of.begin());
  pattern.erase(pattern.begin());
  return of == pattern;
}

/// Few characters, so that texts meet.
std::wstring AnyName(const std::wstring& characters) {
  const auto letter = rc::gen::elementOf(characters);
  return *rc::gen::resize(8, rc::gen::container<std::wstring>(letter));
}

bool Check(const std::wstring& address, const std::wstring& dnsName) {
  return IsAddrCompatibleWithCertDnsName(address, dnsName);
}

TEST_F(CertificateNamesProperty, AnyTwoTextsMatchLabelByLabel) {
  EXPECT_TRUE(rc::check([] {
    const std::wstring address = AnyName(L"aAb..");
    const std::wstring dnsName = AnyName(L"aAb..*");
    RC_CLASSIFY(Matches(address, dnsName));
    RC_ASSERT(Check(address, dnsName) == Matches(address, dnsName));
  }));
}

TEST_F(CertificateNamesProperty, WildcardOfANamesOwnTailMatchesIt) {
  EXPECT_TRUE(rc::check([] {
    const std::wstring label = AnyName(L"aAb-");
    const std::wstring tail = AnyName(L"aAb.-");
    RC_ASSERT(Check(label + L"." + tail, L"*." + tail));
    RC_ASSERT(!Check(label + L".x." + tail, L"*." + tail));
    RC_ASSERT(!Check(label + L"." + tail, L"*x." + tail));
  }));
}

TEST_F(CertificateNamesProperty, SecondStarMatchesNothing) {
  EXPECT_TRUE(rc::check([] {
    const std::wstring address = AnyName(L"ab.*");
    const std::wstring begin = AnyName(L"ab.");
    const std::wstring end = AnyName(L"ab.");
    RC_ASSERT(!Check(address, L"*" + begin + L"*" + end));
  }));
}

TEST_F(CertificateNamesProperty, IntersectionHoldsWhatBothHold) {
  EXPECT_TRUE(rc::check([] {
    NameSet a, b;
    for (int i = 0; i < 6; ++i) {
      a.insert(AnyName(L"ab"));
      b.insert(AnyName(L"ab"));
    }
    const NameSet both = IntersectSets(a, b);
    RC_ASSERT(both == IntersectSets(b, a));
    for (const std::wstring& member : a) RC_ASSERT(both.contains(member) == b.contains(member));
    for (const std::wstring& member : both) RC_ASSERT(a.contains(member));
  }));
}

}  // namespace
}  // namespace Halvard::Discovery
