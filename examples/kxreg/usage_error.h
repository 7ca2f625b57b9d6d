// A command line that means nothing.
#ifndef KXREG_USAGE_ERROR_H
#define KXREG_USAGE_ERROR_H

#include <stdexcept>

class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

#endif
