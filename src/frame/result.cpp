#include <kxcore7/result.h>

KXResult KXResultFromNative(uint32_t nativeError) {
    switch (nativeError) {
        case 0:
            return KX_S_OK;
        case 2:
        case 3:
            return KX_ERROR_FILE_NOT_FOUND;
        case 5:
        case 32:
            return KX_E_ACCESSDENIED;
        case 6:
            return KX_E_HANDLE;
        case 14:
            return KX_E_OUTOFMEMORY;
        case 183:
            return KX_ERROR_ALREADY_EXISTS;
        case 258:
            return KX_ERROR_TIMEOUT;
        default:
            return KX_E_FAIL;
    }
}
