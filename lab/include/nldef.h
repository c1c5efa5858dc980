// Where the two halves of an address come from.
#pragma once

enum IP_PREFIX_ORIGIN {
  IpPrefixOriginOther,
  IpPrefixOriginManual,
  IpPrefixOriginWellKnown,
  IpPrefixOriginDhcp,
  IpPrefixOriginRouterAdvertisement,
  IpPrefixOriginUnchanged = 16,
};

enum IP_SUFFIX_ORIGIN {
  IpSuffixOriginOther,
  IpSuffixOriginManual,
  IpSuffixOriginWellKnown,
  IpSuffixOriginDhcp,
  IpSuffixOriginLinkLayerAddress,
  IpSuffixOriginRandom,
  IpSuffixOriginUnchanged = 16,
};
