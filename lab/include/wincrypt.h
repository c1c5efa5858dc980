// Certificates as a connection hands them to the program.
#pragma once

#include <minwindef.h>

#define X509_ASN_ENCODING 0x1u

struct CERT_CONTEXT {
  DWORD dwCertEncodingType;
  BYTE* pbCertEncoded;
  DWORD cbCertEncoded;
};
using PCCERT_CONTEXT = const CERT_CONTEXT*;

BOOL WINAPI CertFreeCertificateContext(PCCERT_CONTEXT certificate);
