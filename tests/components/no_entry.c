/* A library without the symbol that a component library has to export. */
#include <kxcore7/export.h>

KX_COMPONENT_EXPORT int SomethingElse(void);
int SomethingElse(void) {
    return 1;
}
