/* A library that calls a function which nobody has. */
#include <kxcore7/export.h>

int KxTestNobodyHasThis(void);

KX_COMPONENT_EXPORT int CallNobody(void);
int CallNobody(void) {
    return KxTestNobodyHasThis();
}
