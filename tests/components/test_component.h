// What the test's component library does, by class, and the log that it keeps in the test program.
#ifndef KXCORE7_TESTS_COMPONENTS_TEST_COMPONENT_H
#define KXCORE7_TESTS_COMPONENTS_TEST_COMPONENT_H

#include <kxcore7/component.h>

#include <cstdint>

namespace kx::test {

// The program that loads the library announces its log's address in this variable, in decimal.
inline constexpr char kLogVariable[] = "KXTEST_COMPONENT_LOG";

struct ComponentLog {
    int loads = 0;
    int unloads = 0;
    int requests = 0;  // calls of DllGetClassObject
    int liveFactories = 0;
    int liveObjects = 0;
    bool factoryOutlivedLibrary = false;
};

constexpr KXGUID ClassId(std::uint32_t number) {
    return {number, 0xABCD, 0x4321, {0x80, 1, 2, 3, 4, 5, 6, 7}};
}

inline constexpr KXGUID kGoodClass = ClassId(1);
inline constexpr KXGUID kRefusedClass = ClassId(2);      // DllGetClassObject: kRefusal
inline constexpr KXGUID kBarrenClass = ClassId(3);       // CreateInstance: kBarren
inline constexpr KXGUID kReEntrantClass = ClassId(4);    // asks for the good class meanwhile
inline constexpr KXGUID kSelfEntrantClass = ClassId(5);  // asks for itself meanwhile, once
inline constexpr KXGUID kFlushingClass = ClassId(6);     // comes back when its factory goes
inline constexpr KXGUID kSlowClass = ClassId(7);         // takes a while to answer
inline constexpr KXGUID kUnknownInterface = ClassId(99);
inline constexpr KXGUID kUnknown = KX_IID_UNKNOWN;
inline constexpr KXGUID kClassFactory = KX_IID_CLASS_FACTORY;

inline constexpr KXResult kRefusal = static_cast<KXResult>(0x80001111u);
inline constexpr KXResult kBarren = static_cast<KXResult>(0x80002222u);
inline constexpr KXResult kNoInterface = static_cast<KXResult>(0x80003333u);

}  // namespace kx::test

#endif
