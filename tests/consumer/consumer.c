/* Names a mechanism and reads a name back through the installed utility
 * library: exits 0 when both agree with the table. */
#include <stdio.h>
#include <string.h>

#include "morlin_util.h"

int main(void) {
    const char* name = strMechanism(CKM_AES_CBC);
    if (strcmp(name, "AES_CBC") != 0 || valMechanism("CKM_AES_CBC") != CKM_AES_CBC) {
        fprintf(stderr, "unexpected: %s\n", name);
        return 1;
    }
    puts(name);
    return 0;
}
