#include "support/wine.h"

namespace kx::test {

bool IsWine() {
    return false;
}

}  // namespace kx::test
