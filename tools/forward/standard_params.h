// Parameter structures as PKCS#11 2.40 publishes them, where the token
// library's own layout (include/cryptoki.h) differs. The forwarder hands
// these to standard modules; its tests read them back.
#ifndef MORLIN_FORWARD_STANDARD_PARAMS_H
#define MORLIN_FORWARD_STANDARD_PARAMS_H

#include "cryptoki.h"

// CK_GCM_PARAMS with the ulIvBits word that the token library's five-field
// CK_AES_GCM_PARAMS lacks.
struct StandardGcmParams {
    CK_BYTE_PTR pIv;
    CK_ULONG ulIvLen;
    CK_ULONG ulIvBits;
    CK_BYTE_PTR pAAD;
    CK_ULONG ulAADLen;
    CK_ULONG ulTagBits;
};
static_assert(sizeof(StandardGcmParams) == 48, "PKCS#11 2.40 CK_GCM_PARAMS on x86-64");

#endif
