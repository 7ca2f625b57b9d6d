/*
 * Modules: the libraries of a product that announce themselves, and calls made on their behalf. A
 * module that has not announced itself, or that is going away, gets KX_CO_E_INIT_TLS instead of
 * loading libraries or making objects.
 *
 * A module announces itself when its own start-up is finished, and leaves at the start of its end.
 * Any thread may call these, from the library's start to its end. The guard covers only the test:
 * a call that has passed it is not stopped by the module's leaving.
 */
#ifndef KXCORE7_MODULE_H
#define KXCORE7_MODULE_H

#include "component.h"
#include "export.h"
#include "guid.h"
#include "library.h"
#include "types.h"

/* Any value unique to the module for its life, such as the address of its entry function. */
typedef uintptr_t KXModuleID;

KX_EXTERN_C_BEGIN

/*
 * Puts the module into the set (nonzero) or takes it out (zero). There is no count: one zero takes
 * out what many nonzero calls put in, and taking out what is not in is no error.
 * 0, or KX_E_OUTOFMEMORY.
 */
KX_API KXResult KXModuleSetInitialized(KXModuleID module, KXBool16 initialized);

/*
 * As KXComCreateObject, KXComGetClassObject, KXLibOpen and KXLibClose.
 * A module that is not in the set: KX_CO_E_INIT_TLS, and no output is touched.
 */
KX_API KXResult KXModuleComCreateObject(KXModuleID module, const KXGUID* clsid, IKXUnknown* outer,
                                        const KXGUID* iid, void** out);
KX_API KXResult KXModuleComGetClassObject(KXModuleID module, const KXGUID* clsid, const KXGUID* iid,
                                          void** out);
KX_API KXResult KXModuleLibOpen(KXModuleID module, const char16_t* path, KXLibraryHandle* out);
KX_API KXResult KXModuleLibClose(KXModuleID module, KXLibraryHandle handle);

KX_EXTERN_C_END

#endif
