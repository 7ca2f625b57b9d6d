#include <kxcore7/component.h>

KXResult IKXUnknown_QueryInterface(IKXUnknown* object, const KXGUID* iid, void** out) {
    return object->QueryInterface(iid, out);
}

uint32_t IKXUnknown_AddRef(IKXUnknown* object) {
    return object->AddRef();
}

uint32_t IKXUnknown_Release(IKXUnknown* object) {
    return object->Release();
}
