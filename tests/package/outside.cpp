#include <kxcore7/kxcore7.h>

#include <iostream>
#include <string>

int main() {
    const KXGUID guid = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    char16_t text[KX_GUID_TEXT_SIZE];
    KXComStringFromGUID(&guid, text, KX_GUID_TEXT_SIZE);
    std::cout << std::string(text, text + KXStrLenW(text)) << '\n';
    KXMutexHandle mutex = KX_INVALID_HANDLE;
    const bool good = KXMutexCreate("outside", KX_MUTEX_CHECKED, &mutex) == KX_S_OK &&
                      KXMutexAcquire(mutex) == KX_S_OK && KXMutexRelease(mutex) == KX_S_OK &&
                      KXMutexDestroy(mutex) == KX_S_OK;
    return good ? 0 : 1;
}
