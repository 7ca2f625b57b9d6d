// APR, started, and memory of its own.
#ifndef KXCORE7_BENCH_APR_H
#define KXCORE7_BENCH_APR_H

#include <apr_general.h>
#include <apr_pools.h>

#include "contest.h"

namespace bench {

class AprPool final {
  public:
    AprPool() {
        static const apr_status_t started = apr_initialize();
        Require(started == APR_SUCCESS, "APR's start");
        Require(apr_pool_create(&m_pool, nullptr) == APR_SUCCESS, "APR's pool");
    }
    ~AprPool() { apr_pool_destroy(m_pool); }
    AprPool(const AprPool&) = delete;
    AprPool& operator=(const AprPool&) = delete;

    apr_pool_t* Get() const { return m_pool; }

  private:
    apr_pool_t* m_pool = nullptr;
};

}  // namespace bench

#endif
