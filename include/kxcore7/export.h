/*
 * Linkage of the library's public face. Every exported function is plain C with flat arguments;
 * everything not marked KX_API stays inside the library.
 *
 * KX_API      marks an exported function or data item. On Windows a program that links the library
 *             as an archive defines KXCORE7_STATIC.
 * KX_COMPONENT_EXPORT
 *             marks what a library of somebody else exports: a component library's
 *             DllGetClassObject.
 * KX_METHOD   is the calling convention of the operations in a component's table; it differs
 *             from the compiler's default on 32-bit Windows only.
 * KX_SYSTEM_HAS_GUID
 *             says that the system's headers define the type GUID.
 */
#ifndef KXCORE7_EXPORT_H
#define KXCORE7_EXPORT_H

#if defined(_WIN32)
#if defined(KXCORE7_STATIC)
#define KX_API
#elif defined(KXCORE7_BUILDING)
#define KX_API __declspec(dllexport)
#else
#define KX_API __declspec(dllimport)
#endif
#define KX_COMPONENT_EXPORT __declspec(dllexport)
#define KX_METHOD __stdcall
#define KX_SYSTEM_HAS_GUID
#else
#define KX_API __attribute__((visibility("default")))
#define KX_COMPONENT_EXPORT __attribute__((visibility("default")))
#define KX_METHOD
#endif

#if defined(__cplusplus)
#define KX_EXTERN_C_BEGIN extern "C" {
#define KX_EXTERN_C_END }
#else
#define KX_EXTERN_C_BEGIN
#define KX_EXTERN_C_END
#endif

#endif
