#include <kxcore7/kxcore7.h>
#include <stdio.h>

int main(void) {
    const KXGUID guid = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    char16_t text[KX_GUID_TEXT_SIZE];
    KXComStringFromGUID(&guid, text, KX_GUID_TEXT_SIZE);
    for (const char16_t* unit = text; *unit != 0; ++unit) putchar(*unit);
    putchar('\n');
    return KXModuleSetInitialized((KXModuleID)&main, 1) == KX_S_OK ? 0 : 1;
}
