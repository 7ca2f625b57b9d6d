/* What another library is linked to and then does not find. */
#include <kxcore7/export.h>

KX_COMPONENT_EXPORT int KxTestNobodyHasThis(void);
int KxTestNobodyHasThis(void) {
    return 1;
}
