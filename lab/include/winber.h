// What the LDAP client hands out as places in an encoded message.
#pragma once

#include <winldap.h>

void LDAPAPI ber_free(BerElement* element, INT freeBuffer);
