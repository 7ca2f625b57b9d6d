// The state of the registry's files.
#ifndef KXCORE7_TESTS_SUPPORT_REGISTRY_CHECK_H
#define KXCORE7_TESTS_SUPPORT_REGISTRY_CHECK_H

namespace kx::test {

// Whether the registry that KX_REGISTRY_DIR names is whole, by the word of whoever keeps it.
bool RegistryIsWhole();

}  // namespace kx::test

#endif
