// Dynamic libraries, as one of the client's managers.
#ifndef KXCORE7_SRC_OS_LIB_MANAGER_H
#define KXCORE7_SRC_OS_LIB_MANAGER_H

#include <kxcore7/library.h>

// Carries the three operations and has no state: the loader's own count is the only one.
// Each throws EKXCoreException with the codes told in kxcore7/library.h.
class CKXLibManager final {
  public:
    void Open(const char16_t* path, KXLibraryHandle* out);
    void GetSymbol(KXLibraryHandle handle, const char16_t* name, void** address);
    void Close(KXLibraryHandle handle);
};

#endif
