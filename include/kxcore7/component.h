/*
 * The component model: the root interface, class factories, and the way from a class identifier or
 * a ProgID to a live object.
 *
 * An object is reached through its table of operations. C sees a structure of function pointers,
 * C++ an abstract class; both have the same layout, so either language can implement what the other
 * calls.
 *
 * A class is registered under root KX_HKEY_CLASSES by two default values:
 *   CLSID\{...}\InprocServer32   the path of the library that holds it, at most 259 units
 *   <ProgID>\CLSID               the class identifier as text
 * The library exports "DllGetClassObject", which hands out the class's factory.
 *
 * Any thread may call these, from the library's start to its end. One lock is held through a whole
 * class request, with the registry read, the load and the component library's own start-up in it;
 * only CreateInstance runs outside. A library start-up or DllGetClassObject may come back on the
 * same thread.
 */
#ifndef KXCORE7_COMPONENT_H
#define KXCORE7_COMPONENT_H

#include "export.h"
#include "guid.h"
#include "types.h"

/* {00000000-0000-0000-C000-000000000046} */
#define KX_IID_UNKNOWN                   \
    {                                    \
        0x00000000u, 0, 0, {             \
            0xC0, 0, 0, 0, 0, 0, 0, 0x46 \
        }                                \
    }
/* {00000001-0000-0000-C000-000000000046} */
#define KX_IID_CLASS_FACTORY             \
    {                                    \
        0x00000001u, 0, 0, {             \
            0xC0, 0, 0, 0, 0, 0, 0, 0x46 \
        }                                \
    }

#if defined(__cplusplus)

/*
 * The root interface. QueryInterface stores a pointer with a reference of its own, or stores null
 * and fails; AddRef and Release return the new count, and the object is gone at 0.
 */
class IKXUnknown {
  public:
    virtual KXResult KX_METHOD QueryInterface(const KXGUID* iid, void** out) = 0;
    virtual uint32_t KX_METHOD AddRef() = 0;
    virtual uint32_t KX_METHOD Release() = 0;

  protected:
    ~IKXUnknown() = default; /* not virtual: an object ends by Release alone */
};

/* Makes objects of one class. outer is the object that aggregates the new one, or null. */
class IKXClassFactory : public IKXUnknown {
  public:
    virtual KXResult KX_METHOD CreateInstance(IKXUnknown* outer, const KXGUID* iid, void** out) = 0;

  protected:
    ~IKXClassFactory() = default;
};

#else

typedef struct IKXUnknown IKXUnknown;
typedef struct IKXUnknownTable {
    KXResult(KX_METHOD* QueryInterface)(IKXUnknown* self, const KXGUID* iid, void** out);
    uint32_t(KX_METHOD* AddRef)(IKXUnknown* self);
    uint32_t(KX_METHOD* Release)(IKXUnknown* self);
} IKXUnknownTable;
struct IKXUnknown {
    const IKXUnknownTable* table;
};

typedef struct IKXClassFactory IKXClassFactory;
typedef struct IKXClassFactoryTable {
    KXResult(KX_METHOD* QueryInterface)(IKXClassFactory* self, const KXGUID* iid, void** out);
    uint32_t(KX_METHOD* AddRef)(IKXClassFactory* self);
    uint32_t(KX_METHOD* Release)(IKXClassFactory* self);
    KXResult(KX_METHOD* CreateInstance)(IKXClassFactory* self, IKXUnknown* outer, const KXGUID* iid,
                                        void** out);
} IKXClassFactoryTable;
struct IKXClassFactory {
    const IKXClassFactoryTable* table;
};

#endif

/*
 * What a component library exports as "DllGetClassObject", extern "C" and KX_COMPONENT_EXPORT:
 * stores the class's factory seen as iid, with a reference for the caller, or fails and stores
 * null.
 */
typedef KXResult(KX_METHOD* KXGetClassObjectFunction)(const KXGUID* clsid, const KXGUID* iid,
                                                      void** out);

KX_EXTERN_C_BEGIN

/* Each calls one operation of the object's table and returns what that returns. */
KX_API KXResult IKXUnknown_QueryInterface(IKXUnknown* object, const KXGUID* iid, void** out);
KX_API uint32_t IKXUnknown_AddRef(IKXUnknown* object);
KX_API uint32_t IKXUnknown_Release(IKXUnknown* object);

/*
 * The allocator that components share. Its blocks are not KXMalloc's.
 * KX_E_OUTOFMEMORY: KXComMalloc stores null, KXComRealloc leaves *block as it was and valid.
 * KXComRealloc with size 0 frees and stores null. KXComFree is always 0.
 */
KX_API KXResult KXComMalloc(size_t size, void** out);
KX_API KXResult KXComRealloc(void** block, size_t size);
KX_API KXResult KXComFree(void* block);

/*
 * The class's factory, from the cache or from its library, seen as iid; the caller owns a
 * reference. The cache keeps the factory and its library until KXComFlushFactoryCache.
 * Failure stores null: KX_REGDB_E_CLASSNOTREG: no registration; the codes of KXLibOpen and
 * KXLibGetSymbol; KX_CO_E_INIT_TLS when the library itself is shutting down; the factory's own
 * refusal; KX_E_OUTOFMEMORY.
 */
KX_API KXResult KXComGetClassObject(const KXGUID* clsid, const KXGUID* iid, void** out);

/*
 * A new object of the class, seen as iid; the caller owns a reference.
 * Failure: the codes of KXComGetClassObject, and *out is untouched; or the code of the factory's
 * CreateInstance, and *out is what that made of it.
 */
KX_API KXResult KXComCreateObject(const KXGUID* clsid, IKXUnknown* outer, const KXGUID* iid,
                                  void** out);

/* KXComClassIDFromProgID, then KXComCreateObject. */
KX_API KXResult KXComCreateObjectByProgID(const char16_t* progId, IKXUnknown* outer,
                                          const KXGUID* iid, void** out);

/*
 * The class identifier that a ProgID, at most 253 units, stands for.
 * KX_REGDB_E_CLASSNOTREG: no such ProgID. KX_E_INVALIDARG: its default value is no identifier.
 * Otherwise the registry's code, such as KX_E_FAIL for a value longer than an identifier.
 */
KX_API KXResult KXComClassIDFromProgID(const char16_t* progId, KXGUID* clsid);

/*
 * Releases every cached factory and closes its library. Call it when no object of those classes is
 * left: objects are not tracked, and their code may leave memory. Always 0.
 */
KX_API KXResult KXComFlushFactoryCache(void);

KX_EXTERN_C_END

#endif
