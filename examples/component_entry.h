/*
 * The entry function of a component library: the only name that it exports. A library that holds
 * components includes this and defines the function.
 */
#ifndef COMPONENT_ENTRY_H
#define COMPONENT_ENTRY_H

#include <kxcore7/component.h>

KX_EXTERN_C_BEGIN

/*
 * The factory of a class, seen as iid; the caller owns a reference.
 * Failure stores null: KX_REGDB_E_CLASSNOTREG: the class is not in this library.
 */
KX_COMPONENT_EXPORT KXResult KX_METHOD DllGetClassObject(const KXGUID* clsid, const KXGUID* iid,
                                                         void** out);

KX_EXTERN_C_END

#endif
